// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DRIVERINSTALLATION_H
#define QVKIT_DRIVERINSTALLATION_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QvKit/DriverPackage.h"
#include "QvKit/Error.h"

namespace QvKit {

/// A root-enumerated device of this machine. All texts are UTF-8.
struct RootDevice {
    std::string instanceId;               ///< Such as `ROOT\NAME\0000`.
    std::string service;                  ///< Of its driver; empty while it has none.
    std::vector<std::string> interfaces;  ///< The paths that programs open, of every class.
    bool isStarted = false;               ///< Whether it runs and programs can open it.
    std::string problem;                  ///< Why it has not started; empty when it has.
};

/// The root-enumerated devices with a hardware id, started or not, in the order of their instance
/// ids. Upper and lower case do not count. With an empty id, all of them.
///
/// Throws `Error`: `ErrorKind::SystemFailed`.
std::vector<RootDevice> ListRootDevices(const std::string& aHardwareId = std::string());

/// How a driver is installed.
struct InstallationSettings {
    std::size_t devices = 1;                      ///< How many there are to be, at least.
    std::chrono::milliseconds startLimit{10000};  ///< How long to wait until they have started.
    std::chrono::milliseconds turnLimit{60000};   ///< How long to wait for another installation.
};

/// What an installation or a removal did.
struct DriverInstallation {
    std::vector<RootDevice> devices;   ///< Those of the hardware id that are there afterwards.
    std::vector<std::string> removed;  ///< The instance ids of those that were removed.
    bool hasReplacedDriver = false;    ///< Whether another driver file was installed before.
    bool needsRestart = false;         ///< Whether the machine has to be restarted to finish.
    std::optional<Error> error;        ///< Why not all devices have started.
};

/// Creates root-enumerated devices until there are as many as wanted, installs the driver for them,
/// and waits until they have started. Devices that are there stay. If the installed driver is
/// another file, all devices of the hardware id are removed first, and created again.
///
/// One installation or removal runs on a machine at a time; others wait for their turn.
///
/// Throws `Error`: `ErrorKind::WrongUse` for 0 devices; `ErrorKind::SystemFailed` when the driver's
/// file cannot be read, another installation does not end in time, or the system refuses, as it
/// does without the rights of an administrator. The devices that were created for the installation
/// are removed again then.
DriverInstallation InstallDriver(const DriverPackage& aPackage,
                                 const InstallationSettings& aSettings = InstallationSettings());

/// Removes root-enumerated devices. When no device is left that needs the driver, the driver is
/// unloaded and its file deleted. The result has no devices: the ids may be of different drivers.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice` when a device is not there; `ErrorKind::WrongUse` when
/// its driver is a part of Windows; `ErrorKind::SystemFailed` when the system refuses. All ids are
/// checked before the first device is removed.
DriverInstallation RemoveRootDevices(
    const std::vector<std::string>& aInstanceIds,
    std::chrono::milliseconds aTurnLimit = InstallationSettings().turnLimit);

}  // namespace QvKit

#endif
