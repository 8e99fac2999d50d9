// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICEINVENTORY_H
#define QVKIT_DEVICEINVENTORY_H

#include <string>
#include <vector>

#include "QvKit/Error.h"

namespace QvKit {

class DeviceRecords;

/// A device of this machine, of any driver. All texts are UTF-8.
struct MachineDevice {
    std::string instanceId;  ///< Such as `ROOT\NAME\0000`.
    std::string name;        ///< What people call it; empty when the system does not know.
    std::string path;        ///< What programs open; empty when they cannot.
};

/// The present devices that have an interface of one class, in the order of `ListDevices`.
struct MachineClass {
    std::string interfaceClass;          ///< Its GUID, with braces and lower-case digits.
    std::string name;                    ///< See `InterfaceClassName`.
    std::vector<MachineDevice> devices;  ///< One at least.
};

/// The interface classes of which a device is present. A device stands in each of its classes.
///
/// Throws `Error`: `ErrorKind::SystemFailed`.
std::vector<MachineClass> ListPresentDevices();

/// The devices that were there once and are not present now, in the order of their instance IDs.
///
/// Throws as above.
std::vector<MachineDevice> ListAbsentDevices();

/// The same of a system with scripted answers, for the kit's own tests.
std::vector<MachineClass> ListPresentDevices(const DeviceRecords& aRecords);
std::vector<MachineDevice> ListAbsentDevices(const DeviceRecords& aRecords);

}  // namespace QvKit

#endif
