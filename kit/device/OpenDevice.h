// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Opens devices: for requests, and for a short look.

#ifndef QVKIT_DEVICE_OPENDEVICE_H
#define QVKIT_DEVICE_OPENDEVICE_H

#include <optional>
#include <string>

#include "QvKit/DeviceList.h"
#include "QvKit/Setting.h"
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

// The address of a device that the system lists with this path.
DeviceAddress MakeListedAddress(const std::wstring& aPath);

// What one parameter of a device is now; nothing when the device does not have it. Opens the device
// and loads its parameters, with the errors of `Device`.
std::optional<Setting> ReadSetting(const DeviceAddress& aDevice, const std::string& aName,
                                   const RequestLimits& aLimits);

// Whether there is a file, a directory or a disk at the path.
bool IsFile(const DeviceAddress& aDevice);

// The error of one, by this error of the system.
Error NotADevice(const DeviceAddress& aDevice, unsigned long aSystemError);

}  // namespace QvKit

#endif
