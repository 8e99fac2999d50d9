// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/Verb.h"

namespace Qvctl {

namespace {

constexpr struct {
    const char* name;
    const char* summary;
    std::unique_ptr<Verb> (*make)();
} kVerbs[] = {
    {"list", "List the devices that are present", MakeListVerb},
    {"show", "Show parameters as a table", MakeShowVerb},
    {"get", "Print values, one NAME=VALUE a line", MakeGetVerb},
    {"set", "Change parameters, all in one request", MakeSetVerb},
    {"reset", "Set parameters to their defaults", MakeResetVerb},
    {"save", "Save parameters in a file", MakeSaveVerb},
    {"load", "Set parameters to what a file holds", MakeLoadVerb},
    {"diff", "Compare a file with another one or the device", MakeDiffVerb},
    {"watch", "Print parameters or devices as they change", MakeWatchVerb},
    {"wait", "Wait until a device comes or goes", MakeWaitVerb},
    {"stream", "Read packets and account for each of them", MakeStreamVerb},
    {"write", "Send a file to the device", MakeWriteVerb},
    {"md5", "Print or check MD5 digests of files", MakeMd5Verb},
    {"driver", "Install a driver, list its devices, remove them", MakeDriverVerb},
    {"doctor", "Check what usually goes wrong", MakeDoctorVerb},
    {"version", "Print the versions of tool and libraries", MakeVersionVerb},
    {"completion", "Print a completion script for a shell", MakeCompletionVerb},
    {"help", "Print the help of qvctl or of a verb", MakeHelpVerb},
    {"manual", "Print the manual page", MakeManualVerb},
};

}  // namespace

Verbs MakeAllVerbs() {
    Verbs verbs;
    for (const auto& row : kVerbs) verbs.push_back({row.name, row.summary, row.make()});
    return verbs;
}

}  // namespace Qvctl
