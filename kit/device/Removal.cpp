// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Whether a device is still there.

#include "OpenDevice.h"
#include "QvKit/DeviceList.h"

namespace QvKit {
namespace {

// What requests end with on a device that is being removed, among other reasons.
bool IsSignOfRemoval(unsigned long aCode) {
    switch (aCode) {
        case ERROR_INVALID_FUNCTION:
        case ERROR_ACCESS_DENIED:
        case ERROR_NOT_READY:
        case ERROR_DELETE_PENDING:
        case ERROR_OPERATION_ABORTED:
        case ERROR_DEVICE_NOT_CONNECTED:
        case ERROR_DEVICE_REMOVED:
            return true;
        default:
            return false;
    }
}

// The device refuses requests before the system has taken its path away.
bool IsBeingRemoved(const DeviceAddress& aDevice) {
    constexpr int kLooks = 25;
    constexpr DWORD kPauseMs = 20;
    for (int look = 0; look < kLooks; ++look) {
        if (!IsPresent(aDevice)) return true;
        ::Sleep(kPauseMs);
    }
    return false;
}

}  // namespace

bool IsPresent(const DeviceAddress& aDevice) {
    const OpenedDevice probe = OpenDevice(aDevice, /*aAccess=*/0, /*aFlags=*/0);
    return probe.handle.IsValid() ||
           (probe.error != ERROR_FILE_NOT_FOUND && probe.error != ERROR_PATH_NOT_FOUND);
}

Error ExplainRemoval(const DeviceAddress& aDevice, const Error& aError) {
    const std::optional<unsigned long> code = aError.GetCode();
    if (!code || !IsSignOfRemoval(*code) || !IsBeingRemoved(aDevice)) return aError;
    return Error(ErrorKind::DeviceGone,
                 std::string("the device has been removed: ") + aError.what(), code);
}

}  // namespace QvKit
