// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Root-enumerated devices through SetupAPI. All operations throw `Error`, kind `SystemFailed`
// unless stated.

#ifndef QVKIT_DRIVER_DEVICETREE_H
#define QVKIT_DRIVER_DEVICETREE_H

#include <string>

#include "QvKit/DriverPackage.h"

namespace QvKit {

// The failure of a system call, with what the user can do about it.
Error InstallationError(const std::string& aWhat, unsigned long aCode);

// Registers one more device, which has no driver yet, and returns its instance id.
std::string RegisterDevice(const DriverPackage& aPackage);

// Throws `Error`: `ErrorKind::NoSuchDevice` when it is not there; `ErrorKind::WrongUse` when its
// driver is a part of Windows.
void CheckRemovable(const std::string& aInstanceId);

struct RemovedDevice {
    std::string service;  // Of its driver; empty when it had none.
    bool needsRestart;    // Whether it goes away only when the machine is restarted.
};
RemovedDevice RemoveDevice(const std::string& aInstanceId);

// Whether a device of any kind has this service.
bool IsServiceInUse(const std::string& aService);

}  // namespace QvKit

#endif
