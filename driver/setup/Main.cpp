// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Installs, lists and removes the sample devices.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include <setupapi.h>

#include <CLI/CLI.hpp>

#include "SampleDevices.h"
#include "WideText.h"

namespace QvSampleSetup {

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

constexpr std::chrono::seconds kStartTimeout(10);
constexpr std::chrono::milliseconds kPollInterval(20);
constexpr DWORD kOtherSetupTimeoutMs = 60 * 1000;

// Only one setup at a time looks at the devices and changes them.
class SetupLock {
public:
    SetupLock() : mutex_(::CreateMutexW(nullptr, FALSE, L"Global\\QvSampleSetup")) {
        const unsigned long code = ::GetLastError();
        if (mutex_ == nullptr) throw SetupError("cannot make sure that no other setup runs", code);
        const DWORD result = ::WaitForSingleObject(mutex_, kOtherSetupTimeoutMs);
        if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) {
            ::CloseHandle(mutex_);
            throw SetupError("another setup is running", ERROR_TIMEOUT);
        }
    }
    ~SetupLock() {
        ::ReleaseMutex(mutex_);
        ::CloseHandle(mutex_);
    }
    SetupLock(const SetupLock&) = delete;
    SetupLock& operator=(const SetupLock&) = delete;

private:
    HANDLE mutex_;
};

std::string SystemMessage(unsigned long aCode) {
    wchar_t text[512] = {};
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, HRESULT_FROM_SETUPAPI(aCode), 0, text, static_cast<DWORD>(std::size(text)),
        nullptr);
    std::wstring message(text, length);
    while (!message.empty() && message.back() == L' ') message.pop_back();
    return ToUtf8(message);
}

// What the user can do about a failure. Empty when the system's message is enough.
const char* Advice(unsigned long aCode) {
    switch (aCode) {
        case ERROR_ACCESS_DENIED:
            return "Run this program as administrator.";
        case ERROR_NO_CATALOG_FOR_OEM_INF:
        case ERROR_SIGNATURE_OSATTRIBUTE_MISMATCH:
        case ERROR_AUTHENTICODE_TRUST_NOT_ESTABLISHED:
        case ERROR_AUTHENTICODE_PUBLISHER_NOT_TRUSTED:
        case static_cast<unsigned long>(CERT_E_UNTRUSTEDROOT):
        case static_cast<unsigned long>(TRUST_E_NOSIGNATURE):
            return "The driver is not signed for this machine: sign it and switch on test signing.";
        case ERROR_IN_WOW64:
            return "Run the 64-bit program.";
        default:
            return "";
    }
}

void PrintError(const SetupError& aError) {
    std::fprintf(stderr, "error: %s: %s (0x%lx)\n", aError.what(),
                 SystemMessage(aError.GetCode()).c_str(), aError.GetCode());
    const char* const advice = Advice(aError.GetCode());
    if (*advice != '\0') std::fprintf(stderr, "%s\n", advice);
}

void PrintRestart(bool aNeeded) {
    if (aNeeded) std::printf("Restart the machine to finish this.\n");
}

void PrintDevices(const std::vector<SampleDevice>& aDevices) {
    for (std::size_t i = 0; i < aDevices.size(); ++i) {
        const SampleDevice& device = aDevices[i];
        std::printf("%zu  %s  ", i, ToUtf8(device.instanceId).c_str());
        if (device.IsStarted()) {
            std::printf("started  %s\n", ToUtf8(device.interfacePath).c_str());
        } else if (device.problem != 0) {
            std::printf("not started, problem code %lu\n", device.problem);
        } else {
            std::printf("not started\n");
        }
    }
}

std::size_t CountStarted(const std::vector<SampleDevice>& aDevices) {
    return static_cast<std::size_t>(
        std::count_if(aDevices.begin(), aDevices.end(),
                      [](const SampleDevice& aDevice) { return aDevice.IsStarted(); }));
}

// Devices start in the background, after the installation has returned.
std::vector<SampleDevice> WaitUntilStarted(std::size_t aCount) {
    const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    std::vector<SampleDevice> devices = FindDevices();
    while (CountStarted(devices) < aCount && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kPollInterval);
        devices = FindDevices();
    }
    return devices;
}

std::filesystem::path InfBesideProgram() {
    wchar_t path[32768] = {};
    ::GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path) - 1));
    return std::filesystem::path(path).replace_filename(L"QvSampleDriver.inf");
}

// Devices that were registered for an installation that has failed since. They would stay behind
// without a driver.
void TakeBack(const std::vector<std::wstring>& aInstanceIds) {
    for (const std::wstring& id : aInstanceIds) {
        try {
            (void)RemoveDevice(id);
        } catch (const SetupError& error) {
            // The failure that led here is the one to report; this one only adds to it.
            PrintError(error);
        }
    }
}

// Removes devices and prints which. Returns whether a restart is needed.
bool RemoveDevices(const std::vector<SampleDevice>& aDevices) {
    bool restart = false;
    for (const SampleDevice& device : aDevices) {
        restart = RemoveDevice(device.instanceId) || restart;
        std::printf("Removed %s.\n", ToUtf8(device.instanceId).c_str());
    }
    if (FindDevices().empty()) DiscardDriver();
    return restart;
}

// Returns whether a restart is needed. Two failures don't count. A loaded driver's file can't be
// written, but the same driver then starts the new devices. And for devices that don't start there
// may be nothing newer to install. Whether the devices start is checked afterwards.
bool InstallDriverFile(const std::filesystem::path& aInf) {
    try {
        return InstallDriver(aInf);
    } catch (const SetupError& error) {
        const unsigned long code = error.GetCode();
        if (code != ERROR_SHARING_VIOLATION && code != ERROR_NO_MORE_ITEMS) throw;
        return false;
    }
}

// Registers devices until there are `aWanted`, and installs the driver for them. Returns whether a
// restart is needed.
bool AddDevices(std::size_t aPresent, std::size_t aWanted, const std::filesystem::path& aInf) {
    std::vector<std::wstring> added;
    try {
        while (aPresent + added.size() < aWanted) added.push_back(RegisterDevice());
        return InstallDriverFile(aInf);
    } catch (const SetupError&) {
        TakeBack(added);
        throw;
    }
}

ExitCode Install(std::size_t aCount, const std::filesystem::path& aInf) {
    if (!std::filesystem::exists(aInf)) {
        throw SetupError("cannot find " + ToUtf8(aInf.wstring()), ERROR_FILE_NOT_FOUND);
    }
    const SetupLock lock;
    std::vector<SampleDevice> devices = FindDevices();
    const std::size_t wanted = std::max(aCount, devices.size());
    if (IsOtherDriverInstalled(aInf)) {
        std::printf("Replacing the installed driver.\n");
        (void)RemoveDevices(devices);
        devices = FindDevices();
    }

    bool restart = false;
    if (CountStarted(devices) < wanted) {
        restart = AddDevices(devices.size(), wanted, aInf);
        devices = restart ? FindDevices() : WaitUntilStarted(wanted);
    }
    PrintDevices(devices);
    PrintRestart(restart);
    if (restart) return kDone;
    if (IsOtherDriverInstalled(aInf)) {
        std::fprintf(stderr,
                     "error: another driver is in use; restart the machine and try again\n");
        return kFailed;
    }
    const std::size_t started = CountStarted(devices);
    if (started >= wanted) return kDone;
    std::fprintf(stderr, "error: only %zu of %zu devices have started\n", started, wanted);
    return kFailed;
}

ExitCode Status() {
    const std::vector<SampleDevice> devices = FindDevices();
    if (devices.empty()) std::printf("No sample device is installed.\n");
    PrintDevices(devices);
    return kDone;
}

// A device is named by its number in the list that `status` prints, or by its instance id.
std::vector<SampleDevice> SelectDevice(const std::vector<SampleDevice>& aDevices,
                                       const std::string& aName) {
    const bool isNumber = aName.find_first_not_of("0123456789") == std::string::npos;
    for (std::size_t i = 0; i < aDevices.size(); ++i) {
        const bool isSelected =
            isNumber ? std::to_string(i) == aName
                     : ::lstrcmpiW(aDevices[i].instanceId.c_str(), ToWide(aName).c_str()) == 0;
        if (isSelected) return {aDevices[i]};
    }
    return {};
}

// Removes the named device, or all when there is no name.
ExitCode Remove(const std::optional<std::string>& aName) {
    const SetupLock lock;
    const std::vector<SampleDevice> devices = FindDevices();
    const std::vector<SampleDevice> selected = aName ? SelectDevice(devices, *aName) : devices;
    if (selected.empty() && aName) {
        std::fprintf(stderr, "error: there is no sample device %s\n", aName->c_str());
        return kFailed;
    }
    if (selected.empty()) std::printf("No sample device is installed.\n");
    PrintRestart(RemoveDevices(selected));
    return kDone;
}

ExitCode Run() {
    CLI::App app(
        "Installs, lists and removes the sample devices of QvUserLib.\n"
        "Exit codes: 0 done, 1 failed, 2 wrong usage.",
        "QvSampleSetup");
    app.require_subcommand(1);

    unsigned int count = 1;
    std::string inf;
    CLI::App* const install = app.add_subcommand("install",
                                                 "Makes devices present and starts them.\n"
                                                 "Example: QvSampleSetup install --devices 2");
    install
        ->add_option("--devices", count,
                     "How many devices there are to be, at least: 1 to 64;\n1 by default")
        ->check(CLI::Range(1, 64))
        ->option_text("N")
        ->capture_default_str();
    install->add_option("--inf", inf, "The driver's INF; that beside this program if not given")
        ->option_text("FILE");

    CLI::App* const status =
        app.add_subcommand("status",
                           "Lists the devices: number, instance id, state, interface path.\n"
                           "Example: QvSampleSetup status");

    std::optional<std::string> device;
    CLI::App* const remove = app.add_subcommand(
        "remove", "Removes all devices, or one.\nExample: QvSampleSetup remove --device 1");
    remove->add_option("--device", device, "The number that status shows, or an instance id");

    try {
        std::vector<std::string> arguments = CommandLineArguments();
        std::reverse(arguments.begin(), arguments.end());
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    }

    if (install->parsed()) {
        return Install(count,
                       inf.empty() ? InfBesideProgram() : std::filesystem::absolute(ToWide(inf)));
    }
    if (status->parsed()) return Status();
    return Remove(device);
}

}  // namespace

}  // namespace QvSampleSetup

int main() {
    try {
        const QvSampleSetup::Utf8Console console;
        return QvSampleSetup::Run();
    } catch (const QvSampleSetup::SetupError& error) {
        QvSampleSetup::PrintError(error);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
    }
    return QvSampleSetup::kFailed;
}
