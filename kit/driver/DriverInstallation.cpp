// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DriverInstallation.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <thread>

#include "DeviceTree.h"
#include "DriverService.h"
#include "QvKit/Clock.h"
#include "QvKit/Text.h"
#include "SystemFile.h"
#include "Turn.h"

// After windows.h, which it needs.
#include <newdev.h>

namespace QvKit {
namespace {

constexpr std::chrono::milliseconds kPollInterval(20);

// Lets one installation at a time look at the devices and change them.
class InstallationTurn {
public:
    explicit InstallationTurn(std::chrono::milliseconds aLimit)
        : turn_(L"Global\\QvKitDriverSetup", aLimit, /*aStop=*/nullptr) {
        const unsigned long code = turn_.GetError();
        if (code == ERROR_TIMEOUT)
            throw Error(ErrorKind::SystemFailed, "another installation is running", code);
        if (code != ERROR_SUCCESS)
            throw InstallationError("cannot make sure that no other installation runs", code);
    }

private:
    Turn turn_;
};

std::string ReadAll(const std::string& aPath) {
    SystemFile file = SystemFile::Open(aPath);
    std::string bytes(file.GetSize(), '\0');
    bytes.resize(file.Read(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size()));
    return bytes;
}

bool IsOtherDriverInstalled(const DriverPackage& aPackage) {
    std::error_code error;
    if (!std::filesystem::exists(FromUtf8(aPackage.installedFile), error)) return false;
    return ReadAll(aPackage.installedFile) != ReadAll(aPackage.driverFile);
}

std::size_t CountStarted(const std::vector<RootDevice>& aDevices) {
    return static_cast<std::size_t>(
        std::count_if(aDevices.begin(), aDevices.end(),
                      [](const RootDevice& aDevice) { return aDevice.isStarted; }));
}

// Devices start in the background, after the installation has returned.
std::vector<RootDevice> WaitUntilStarted(const std::string& aHardwareId, std::size_t aCount,
                                         std::chrono::milliseconds aLimit) {
    const Stopwatch watch;
    std::vector<RootDevice> devices = ListRootDevices(aHardwareId);
    while (CountStarted(devices) < aCount && watch.GetTime() < aLimit) {
        std::this_thread::sleep_for(kPollInterval);
        devices = ListRootDevices(aHardwareId);
    }
    return devices;
}

// Devices that were registered for an installation that has failed since. They would stay behind
// without a driver. Returns the failure, with those that stay all the same.
Error TakeBack(const std::vector<std::string>& aInstanceIds, const Error& aFailure) {
    std::string left;
    for (const std::string& id : aInstanceIds) {
        try {
            (void)RemoveDevice(id);
        } catch (const Error& error) {
            left += "; " + id + " stays: " + error.what();
        }
    }
    return Error(aFailure.GetKind(), aFailure.what() + left, aFailure.GetCode(),
                 aFailure.GetReason() + left);
}

// Returns whether a restart is needed. Two failures don't count. A loaded driver's file can't be
// written, but the same driver then starts the new devices. And for devices that don't start there
// may be nothing newer to install. Whether the devices start is checked afterwards.
bool InstallDriverFile(const DriverPackage& aPackage) {
    BOOL needsRestart = FALSE;
    const BOOL done = ::UpdateDriverForPlugAndPlayDevicesW(
        nullptr, FromUtf8(aPackage.hardwareId).c_str(), FromUtf8(aPackage.inf).c_str(),
        /*InstallFlags=*/0, &needsRestart);
    const unsigned long code = ::GetLastError();
    if (!done && code != ERROR_SHARING_VIOLATION && code != ERROR_NO_MORE_ITEMS)
        throw InstallationError("cannot install the driver", code);
    return done && needsRestart;
}

// Registers devices until there are `aWanted`, and installs the driver for them. Returns whether a
// restart is needed.
bool AddDevices(const DriverPackage& aPackage, std::size_t aPresent, std::size_t aWanted) {
    std::vector<std::string> added;
    try {
        while (aPresent + added.size() < aWanted) added.push_back(RegisterDevice(aPackage));
        return InstallDriverFile(aPackage);
    } catch (const Error& error) {
        throw TakeBack(added, error);
    }
}

// What is left when no device needs a driver.
void DiscardUnusedDrivers(const std::set<std::string>& aServices) {
    for (const std::string& name : aServices) {
        if (name.empty() || IsServiceInUse(name)) continue;
        const std::wstring service = FromUtf8(name);
        if (const auto found = FindDriverService(service)) DiscardDriver(service, found->file);
    }
}

void Remove(const std::vector<std::string>& aInstanceIds, DriverInstallation& aDone) {
    std::set<std::string> services;
    for (const std::string& id : aInstanceIds) {
        const RemovedDevice removed = RemoveDevice(id);
        aDone.needsRestart = aDone.needsRestart || removed.needsRestart;
        aDone.removed.push_back(id);
        services.insert(removed.service);
    }
    DiscardUnusedDrivers(services);
}

std::vector<std::string> IdsOf(const std::vector<RootDevice>& aDevices) {
    std::vector<std::string> ids;
    ids.reserve(aDevices.size());
    for (const RootDevice& device : aDevices) ids.push_back(device.instanceId);
    return ids;
}

// The machine has another driver file than the one to install.
void DiscardOtherDriver(const DriverPackage& aPackage, DriverInstallation& aDone) {
    Remove(IdsOf(aDone.devices), aDone);
    // It may have had no device.
    if (!IsServiceInUse(aPackage.service))
        DiscardDriver(FromUtf8(aPackage.service), FromUtf8(aPackage.installedFile));
    aDone.devices = ListRootDevices(aPackage.hardwareId);
}

std::optional<Error> ExplainMissing(const DriverPackage& aPackage,
                                    const std::vector<RootDevice>& aDevices, std::size_t aWanted) {
    if (IsOtherDriverInstalled(aPackage)) {
        return Error(ErrorKind::SystemFailed,
                     "another driver is in use; restart the machine and try again");
    }
    const std::size_t started = CountStarted(aDevices);
    if (started >= aWanted) return std::nullopt;
    std::string text = "only " + std::to_string(started) + " of " + std::to_string(aWanted) +
                       " devices have started";
    const auto first = std::find_if(aDevices.begin(), aDevices.end(),
                                    [](const RootDevice& aDevice) { return !aDevice.isStarted; });
    if (first != aDevices.end()) text += "; " + first->instanceId + ": " + first->problem;
    return Error(ErrorKind::DeviceFailed, text);
}

}  // namespace

DriverInstallation InstallDriver(const DriverPackage& aPackage,
                                 const InstallationSettings& aSettings) {
    if (aSettings.devices == 0)
        throw Error(ErrorKind::WrongUse, "a driver is installed for at least one device");
    (void)SystemFile::Open(
        aPackage.driverFile);  // A failure later on would leave things half done.
    const InstallationTurn turn(aSettings.turnLimit);
    DriverInstallation done;
    done.devices = ListRootDevices(aPackage.hardwareId);
    const std::size_t wanted = std::max(aSettings.devices, done.devices.size());
    done.hasReplacedDriver = IsOtherDriverInstalled(aPackage);
    if (done.hasReplacedDriver) DiscardOtherDriver(aPackage, done);
    if (CountStarted(done.devices) < wanted) {
        done.needsRestart = AddDevices(aPackage, done.devices.size(), wanted) || done.needsRestart;
        done.devices = done.needsRestart
                           ? ListRootDevices(aPackage.hardwareId)
                           : WaitUntilStarted(aPackage.hardwareId, wanted, aSettings.startLimit);
    }
    if (!done.needsRestart) done.error = ExplainMissing(aPackage, done.devices, wanted);
    return done;
}

DriverInstallation RemoveRootDevices(const std::vector<std::string>& aInstanceIds,
                                     std::chrono::milliseconds aTurnLimit) {
    const InstallationTurn turn(aTurnLimit);
    for (const std::string& id : aInstanceIds) CheckRemovable(id);
    DriverInstallation done;
    Remove(aInstanceIds, done);
    return done;
}

}  // namespace QvKit
