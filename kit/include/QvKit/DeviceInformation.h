// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICEINFORMATION_H
#define QVKIT_DEVICEINFORMATION_H

#include <optional>
#include <string>
#include <vector>

#include "QvKit/Error.h"

namespace QvKit {

class DeviceRecords;

/// The driver of a device. What the system does not know is empty.
struct DriverInformation {
    std::string service;   ///< Its name.
    std::string file;      ///< The path of the driver.
    std::string provider;  ///< Who made it.
    std::string version;   ///< That of the driver's file, or of its package.
    std::string date;      ///< Such as 2026-01-31.
};

/// One interface of a device.
struct InterfaceInformation {
    std::string interfaceClass;  ///< Its GUID, with braces and lower-case digits.
    std::string className;       ///< See `InterfaceClassName`.
    std::string path;            ///< What programs open.
    bool isActive = false;       ///< Whether they can open it now.
};

/// What the system knows of one device. All texts are UTF-8. What it does not know is empty:
/// nothing is made up.
struct DeviceInformation {
    std::string instanceId;                  ///< Such as `ROOT\NAME\0000`.
    std::string friendlyName;                ///< What people call it.
    std::string description;                 ///< What kind of device it is.
    std::string manufacturer;                ///< Who made it.
    std::string setupClass;                  ///< The name of the class that it was installed in.
    std::string setupClassId;                ///< The GUID of that class.
    std::vector<std::string> hardwareIds;    ///< What drivers are chosen by.
    std::vector<std::string> compatibleIds;  ///< The same, less exactly.
    std::string location;                    ///< On its bus, for people.
    std::vector<std::string> locationPaths;  ///< From the root of the machine.
    std::vector<std::string> parents;        ///< Instance IDs; that of the nearest device first.
    std::optional<bool> isPresent;           ///< Nothing when nothing tells.
    std::optional<unsigned long> problem;    ///< The device manager's code; nothing for none.
    std::string problemText;                 ///< "problem 28: no driver is installed".
    DriverInformation driver;                ///< Empty when it has none.
    std::vector<InterfaceInformation> interfaces;  ///< Of all classes.
};

/// Reads what the system knows of a device, from the first source that has it: the device's
/// properties, the registry, the driver's file. The device is not opened. It may be one without any
/// interface, and one that is not present. Any thread may call it.
///
/// @param aInstanceId  In any case.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice`; `ErrorKind::DeviceGone` when it was removed
/// meanwhile; `ErrorKind::SystemFailed`.
DeviceInformation ReadDeviceInformation(const std::string& aInstanceId);

/// The same of a system with scripted answers, for the kit's own tests.
DeviceInformation ReadDeviceInformation(const std::string& aInstanceId,
                                        const DeviceRecords& aRecords);

/// The driver alone, which takes less time. All is empty when there is no such device.
DriverInformation ReadDriverInformation(const std::string& aInstanceId);

/// The instance ID of the device with this path, of any interface class, present or not.
///
/// @param aPath  In any case, with \\?\ or \\.\ in front.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice`, also for a path that is no interface's, such as
/// \\.\NAME; `ErrorKind::SystemFailed`.
std::string FindInstanceId(const std::string& aPath);

/// What devices of an interface class are, as in "disk"; empty for a class that is not well known.
///
/// @param aClass  The GUID, with braces and lower-case digits.
std::string InterfaceClassName(const std::string& aClass);

}  // namespace QvKit

#endif
