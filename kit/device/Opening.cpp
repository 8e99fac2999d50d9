// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Why a device does not open.

#include "OpenDevice.h"
#include "QvKit/DeviceList.h"

namespace QvKit {
namespace {

// ERROR_NO_SUCH_DEVICE, which some headers lack.
constexpr DWORD kNoSuchDevice = 433;

}  // namespace

bool IsFile(const DeviceAddress& aDevice) {
    // Directories open only with this flag.
    const OpenedDevice probe = OpenDevice(aDevice, /*aAccess=*/0, FILE_FLAG_BACKUP_SEMANTICS);
    return probe.handle.IsValid() && ::GetFileType(probe.handle.Get()) == FILE_TYPE_DISK;
}

Error NotADevice(const DeviceAddress& aDevice, unsigned long aSystemError) {
    return SystemError(ErrorKind::NoSuchDevice,
                       "'" + aDevice.path + "' is a file, a directory or a disk", aSystemError);
}

Error ExplainOpening(const DeviceAddress& aDevice, unsigned long aSystemError) {
    const std::string name = "'" + aDevice.path + "'";
    switch (aSystemError) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case kNoSuchDevice:
            if (aDevice.isListed) {
                return SystemError(ErrorKind::DeviceGone, "the device " + name + " was removed",
                                   aSystemError);
            }
            return SystemError(ErrorKind::NoSuchDevice, "there is no device " + name, aSystemError);
        case ERROR_INVALID_NAME:
        case ERROR_BAD_PATHNAME:
            return SystemError(ErrorKind::NoSuchDevice, name + " is no path of a device",
                               aSystemError);
        case ERROR_SHARING_VIOLATION:
        case ERROR_BUSY:
            return SystemError(ErrorKind::DeviceInUse,
                               "another program has the device " + name + " for itself",
                               aSystemError);
        case ERROR_ACCESS_DENIED:
            // The system denies access to directories as well.
            if (IsFile(aDevice)) return NotADevice(aDevice, aSystemError);
            return SystemError(ErrorKind::AccessDenied, "no access to the device " + name,
                               aSystemError);
        default:
            return SystemError(ErrorKind::DeviceFailed, "cannot open the device " + name,
                               aSystemError);
    }
}

}  // namespace QvKit
