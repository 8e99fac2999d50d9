// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verbs, and what their help says.

#include "verbs/Verb.h"

namespace Qvctl {

namespace {

constexpr unsigned kCommon = InterfaceOption | DeviceOption | JsonOption | VerboseOption;
constexpr unsigned kAll = kCommon | TimeoutOption | WaitOption;

constexpr const char* kListDetails =
    R"(Prints the number of each device, which --device takes, and its path.

With --all it lists the devices of all drivers, whatever --interface says: each
interface class of which a device is present, with the number, the path and the
name of each device. The numbers go with --interface for that class.

With --all --present=no it lists the devices that were there once and are not
present now, with the instance IDs that --device takes.

Examples:
  qvctl list
  qvctl list --all
  qvctl list --all --present=no)";

constexpr const char* kInfoDetails =
    R"(Prints what the system knows of a device of any driver, without opening it:
names, IDs, driver, location, the devices that it is connected to, the device
manager's problem code in words, and the paths of all its interfaces. What the
system does not know is left out.

An instance ID may be that of a device without any interface, or of one that is
not present. "qvctl list --all" shows paths and instance IDs.

Examples:
  qvctl info
  qvctl info --device ROOT\QVSAMPLE\0001 --json)";

constexpr const char* kShowDetails =
    R"(Named parameters are shown even if they are hidden or advanced. With --verbose
each parameter's description is shown. The marks:
  read-only   cannot be set
  volatile    changes by itself
  restart     takes effect when the device starts again
  not saved   is lost when the device starts again
  advanced    for experts
  hidden      not for daily use

Examples:
  qvctl show
  qvctl show Gain OperatingMode --device 1)";

constexpr const char* kGetDetails =
    R"(The lines can be given to set as they are: an escape such as \u000a stands for a
control character, here and there. --json prints texts without escapes of ours.

Examples:
  qvctl get Gain OperatingMode
  qvctl get --value Gain)";

constexpr const char* kSetDetails =
    R"(An integer is decimal, or hexadecimal with 0x; its unit may follow. An entry of
an enumeration is given by its name, or by its index when no entry has that
name. A text may be empty. An escape such as \u000a stands for one character,
as in the lines of get; \u005c is a backslash in front of such a text. A
parameter may be given only once.

All values are checked first: if one is refused, nothing is sent. When the
device has taken the change, its parameters are loaded again and compared with
what was asked for. The report says which values were rounded or not kept, and
the exit code is 1 then. A device may refuse the request and still take a part:
with --all-or-nothing the former values are restored unless all were kept. A
rounded number counts as kept.

Another program may change the device at the same time. A parameter that it
changed between the first look and the request is reported; with --if-unchanged
it is refused, and nothing is sent.

Examples:
  qvctl set SamplingInterval=250 OperatingMode=Triggered "Label=Bench 2"
  qvctl set Gain=12 FilterOrder=4 --all-or-nothing
  qvctl set Gain=12 --dry-run)";

constexpr const char* kResetDetails =
    R"(Without names all parameters that are not read-only are reset, including
hidden and advanced ones. They are sent in one request, and reported, as by set.

Examples:
  qvctl reset
  qvctl reset Gain Label)";

constexpr const char* kRestartDetails =
    R"(Stops the device and starts it again, for parameters marked "restart". Then it
waits until the device has started and can be opened again. It needs the rights
of an administrator. While a program has the device open, it cannot be stopped.
Wine 8 cannot restart devices.

Example:
  qvctl restart --device 1 --timeout 30s)";

constexpr const char* kSaveDetails =
    R"(Without names all parameters are saved. Left out are those that are read-only,
that the driver changes by itself or does not keep, and values that no file can
hold exactly; --verbose and --json name them. The file is JSON, with a parameter
in each line. An earlier one is replaced as a whole, or stays as it is.

Examples:
  qvctl save bench.json
  qvctl save gain.json Gain Resolution)";

constexpr const char* kLoadDetails =
    R"(All values are checked first, against the device as it is now: if one does not
fit exactly, nothing is sent, and every refusal names the line in the file. All
are sent in one request, and reported, as by set. Parameters that are read-only
on this device are passed over.

Examples:
  qvctl load bench.json --dry-run
  qvctl load bench.json --only Gain Resolution)";

constexpr const char* kKeepDetails =
    R"(Applies the file as load does, to each device that is there, and to each one
that arrives or comes back. Prints a line for each, with what was changed, or
why not; with --json an object a line. A device that does not open, or does not
return its parameters, is tried again for 10 seconds. Failures of devices do not
end it. Without --count and --seconds it runs until Ctrl-C, which makes the exit
code 130.

Example:
  qvctl keep bench.json)";

constexpr const char* kDiffDetails =
    R"(Compares two files; with one file, the device with it; with --defaults, the
file, or the device if there is none, with the device's defaults. Of the device
the parameters that the file has are looked at. Nothing is changed. Differences
make the exit code 1.

Examples:
  qvctl diff bench.json
  qvctl diff bench.json other.json
  qvctl diff --defaults)";

constexpr const char* kWatchDetails =
    R"(Reads the parameters from the driver again and again, and prints a line for
each change; with --json an object a line. A line is about a value, or says what
else it is about: marks, range or entries that are others now, or a parameter
that arrives or is gone. With --initial the values at the beginning come first;
--count does not count them. Each line has the local time, after midnight with
its date; in JSON it is UTC. A value that changes and changes back between two
looks is not noticed. Without --count and --seconds it runs until Ctrl-C, which
makes the exit code 130.

With --devices it prints the devices that come and go instead: those with an
interface of CLASS, a GUID, or any devices.

Examples:
  qvctl watch Temperature Gain --every 500
  qvctl watch --devices --json)";

constexpr const char* kWaitDetails =
    R"(For scripts: waits until the device of --device is there, or is not there any
more, and prints its path. If it is so from the beginning, it ends at once; a
device that was never there has no path to print. A number is that of the list:
the arrival of device 2 is that of a third one, and without --device that of any
one. When the time of --timeout is over before, the exit code is 4.

Examples:
  qvctl wait --for arrival --timeout 30s
  qvctl wait --for removal --device 1 --timeout 2min)";

constexpr const char* kStreamDetails =
    R"(It ends at whichever of --packets, --seconds and --timeout comes first, and
without them at Ctrl-C. --timeout is a silence: no byte has come for so long.
Progress goes to standard error, the report to standard output. Every byte that
is read goes to FILE, in order, whatever it is. With - for FILE the bytes go to
standard output, and the report to standard error, behind all else.

Of the sample driver's packets, format "sample", the report says what was lost:
gaps in the sequence, packets that the driver had to drop, and reads that held
no whole packet or not the one that was due. With --verify every byte of the
payload is checked, and a loss of any kind makes the exit code 1. What other
devices return, and what --raw asks for, is of format "raw": each read counts
as a packet, nothing can be verified, and the driver need not know parameters.
A device that is given by its path is one of the sample driver's if the path
has its interface in it.

When the device or the disk fails, the stream ends with the report and exit
code 1, and FILE holds what was received until then. Fewer packets than
--packets make it 1 as well. Ctrl-C cancels the reads that are pending, prints
the report and makes the exit code 130, unless something else went wrong; a
second Ctrl-C ends at once.

A device is streamed by one qvctl at a time.

Examples:
  qvctl stream --packets 10000 --verify
  qvctl stream --seconds 60 --depth 64 --out capture.bin --json
  qvctl stream --device \\.\COM3 --size 256 --timeout 2s --out - > capture.bin)";

constexpr const char* kControlDetails =
    R"(Any device will do: it need not know parameters. CODE is a number, decimal or
hexadecimal with 0x, or its parts, each a number or, of the last two, a name:
  METHOD  buffered, in-direct, out-direct, neither
  ACCESS  any, read, write, read-write
What the device returns is shown as a hex dump, with --json in hexadecimal.

Know what a code does before you send it: the driver takes any.

Examples:
  qvctl control 0x222000 --out 65536
  qvctl control 0x22:0x800:buffered:any --out 65536 --out-file block.bin
  qvctl control 0x222010 --in "01 00 00 00" --device \\.\MyDevice)";

constexpr const char* kReadDetails =
    R"(Any device will do: it need not know parameters. What it returns is shown as a
hex dump, with --json in hexadecimal.

Examples:
  qvctl read --size 65536
  qvctl read --device \\.\COM3 --size 16 --timeout 2s --out-file answer.bin)";

constexpr const char* kWriteDetails =
    R"(The requests are sent one after the other; the last one may be smaller. One
that the device refuses because it is busy (error 170) is sent again until the
device takes it, or until the time of --wait, 1s by default, is over: then the
exit code is 1, and the report says how much was sent. A request has no limit
without --timeout. Progress goes to standard error, the report to standard
output. Ctrl-C ends with the report and exit code 130.

With --in it is one request, which has to be taken within --timeout.

Examples, the first of which sends packets in the sizes in which they came:
  qvctl write capture.bin --size 4096
  qvctl write --in "0d 0a" --device \\.\COM3)";

constexpr const char* kMd5Details =
    R"(Digests are printed and read in the format of md5sum. Large files show their
progress on a console. No device is needed.

Examples:
  qvctl md5 firmware.bin settings.json > firmware.md5
  qvctl md5 --check firmware.md5)";

constexpr const char* kDriverDetails =
    R"(For drivers of root-enumerated devices, which need no hardware:
  install  creates devices until there are N, installs the driver of the INF
           for them, and waits until they have started; an installed driver
           that differs from the INF's is replaced
  status   lists the devices: number, instance id, state, interface paths
  remove   removes all of them, or one, and with the last one the driver

The INF or --id says which devices are meant. Without both, status lists all
root-enumerated devices, and remove needs --device. On Windows install and
remove need the rights of an administrator, and the driver a signature.

Examples:
  qvctl driver install QvSampleDriver.inf --devices 2
  qvctl driver status --id ROOT\QVSAMPLE
  qvctl driver remove --id ROOT\QVSAMPLE --device 1)";

constexpr const char* kDoctorDetails =
    R"(Looks at the versions of the DLLs, the driver, its devices, the access to them
and their parameters, and at log4cxx, and says what to do. Nothing is changed.
A problem makes the exit code 1; a warning does not.

Example:
  qvctl doctor --interface {0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30})";

constexpr const char* kVersionDetails = R"(Each library is listed with the file that is in use.

Example:
  qvctl version --json)";

constexpr const char* kCompletionDetails =
    R"(Verbs, options, file names and devices are completed, and the parameters and
entries of the device that is used by default.

In ~/.bashrc:
  source <(qvctl completion bash)
In PowerShell's profile:
  qvctl completion powershell | Out-String | Invoke-Expression)";

constexpr const char* kHelpDetails = R"(The same as "qvctl VERB --help".

Example:
  qvctl help set)";

constexpr const char* kManualDetails =
    R"(The page is in the language of man(7). It says what "qvctl VERB --help" says.

Example:
  qvctl manual > qvctl.1)";

constexpr struct {
    const char* name;
    const char* summary;
    const char* details;
    unsigned options;
    std::unique_ptr<Verb> (*make)();
} kVerbs[] = {
    {"list", "List the devices that are present", kListDetails, InterfaceOption | JsonOption,
     MakeListVerb},
    {"info", "Show what the system knows of a device", kInfoDetails, kCommon | WaitOption,
     MakeInfoVerb},
    {"show", "Show parameters as a table", kShowDetails, kAll, MakeShowVerb},
    {"get", "Print values, one NAME=VALUE a line", kGetDetails, kAll, MakeGetVerb},
    {"set", "Change parameters, all in one request", kSetDetails, kAll, MakeSetVerb},
    {"reset", "Set parameters to their defaults", kResetDetails, kAll, MakeResetVerb},
    {"restart", "Stop a device and start it again", kRestartDetails, kCommon | WaitOption,
     MakeRestartVerb},
    {"save", "Save parameters in a file", kSaveDetails, kAll, MakeSaveVerb},
    {"load", "Set parameters to what a file holds", kLoadDetails, kAll, MakeLoadVerb},
    {"keep", "Apply a file to each device that comes", kKeepDetails,
     InterfaceOption | JsonOption | VerboseOption | TimeoutOption, MakeKeepVerb},
    {"diff", "Compare a file with another one or the device", kDiffDetails, kAll, MakeDiffVerb},
    {"watch", "Print parameters or devices as they change", kWatchDetails, kAll, MakeWatchVerb},
    {"wait", "Wait until a device comes or goes", kWaitDetails, kCommon, MakeWaitVerb},
    {"stream", "Read packets and account for each of them", kStreamDetails, kCommon | WaitOption,
     MakeStreamVerb},
    {"write", "Send a file or a few bytes to the device", kWriteDetails, kAll, MakeWriteVerb},
    {"read", "Read bytes once and show them", kReadDetails, kAll, MakeReadVerb},
    {"control", "Send one I/O-control request", kControlDetails, kAll, MakeControlVerb},
    {"md5", "Print or check MD5 digests of files", kMd5Details, JsonOption | VerboseOption,
     MakeMd5Verb},
    {"driver", "Install a driver, list its devices, remove them", kDriverDetails,
     JsonOption | VerboseOption, MakeDriverVerb},
    {"doctor", "Check what usually goes wrong", kDoctorDetails,
     InterfaceOption | JsonOption | VerboseOption | TimeoutOption, MakeDoctorVerb},
    {"version", "Print the versions of tool and libraries", kVersionDetails, JsonOption,
     MakeVersionVerb},
    {"completion", "Print a completion script for a shell", kCompletionDetails, 0,
     MakeCompletionVerb},
    {"help", "Print the help of qvctl or of a verb", kHelpDetails, 0, MakeHelpVerb},
    {"manual", "Print the manual page", kManualDetails, 0, MakeManualVerb},
};

}  // namespace

Verbs MakeAllVerbs() {
    Verbs verbs;
    for (const auto& row : kVerbs) {
        verbs.push_back({row.name, row.summary, row.details, row.options, row.make()});
    }
    return verbs;
}

}  // namespace Qvctl
