// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICERESTART_H
#define QVKIT_DEVICERESTART_H

#include <chrono>
#include <string>
#include <vector>

#include "QvKit/Error.h"

namespace QvKit {

class DeviceRecords;
class StopSignal;

/// How long to wait, and who may end the wait.
struct RestartSettings {
    std::chrono::milliseconds limit{10000};  ///< Until the device is back.
    const StopSignal* stop = nullptr;        ///< Borrowed; null for nobody.
};

/// Stops a device and starts it again, so that parameters take effect which ask for that. Waits
/// until it has started and programs can open it again. Needs the rights of an administrator. Any
/// thread may call it.
///
/// @param aInstanceId  In any case.
/// @return the paths that programs can open afterwards.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice` when it is not there; `ErrorKind::AccessDenied`;
/// `ErrorKind::DeviceInUse` when it cannot be stopped, as while a program has it open;
/// `ErrorKind::DeviceFailed` when it does not start again; `ErrorKind::TimedOut`;
/// `ErrorKind::Cancelled`; `ErrorKind::SystemFailed` when the system refuses, or cannot restart
/// devices, as Wine 8.
std::vector<std::string> RestartDevice(const std::string& aInstanceId,
                                       const RestartSettings& aSettings = RestartSettings());

/// The same on a system with scripted answers, for the kit's own tests.
std::vector<std::string> RestartDevice(const std::string& aInstanceId,
                                       const RestartSettings& aSettings,
                                       const DeviceRecords& aRecords);

}  // namespace QvKit

#endif
