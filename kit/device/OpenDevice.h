// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Opens devices without the library, where the library's connection does not give the handle away.

#ifndef QVKIT_DEVICE_OPENDEVICE_H
#define QVKIT_DEVICE_OPENDEVICE_H

#include "QvKit/DeviceList.h"
#include "UniqueHandle.h"

namespace QvKit {

struct OpenedDevice {
    QvBaseLib::KernelHandle handle;
    DWORD error;  // The system's, when the handle is not valid.
};

// By default as the library opens a device.
inline OpenedDevice OpenDevice(const DeviceAddress& aDevice,
                               DWORD aAccess = GENERIC_READ | GENERIC_WRITE,
                               DWORD aFlags = FILE_FLAG_OVERLAPPED) {
    const HANDLE handle =
        ::CreateFileA(aDevice.link.c_str(), aAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                      OPEN_EXISTING, aFlags, /*hTemplateFile=*/nullptr);
    const DWORD error = ::GetLastError();
    return OpenedDevice{QvBaseLib::KernelHandle(handle), error};
}

// Whether there is a file, a directory or a disk at the path.
bool IsFile(const DeviceAddress& aDevice);

// The error of one, by this error of the system.
Error NotADevice(const DeviceAddress& aDevice, unsigned long aSystemError);

}  // namespace QvKit

#endif
