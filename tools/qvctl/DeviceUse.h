// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Keeps two programs from taking each other's packets.

#ifndef QVCTL_DEVICEUSE_H
#define QVCTL_DEVICEUSE_H

#include <string>

#include "DeviceList.h"
#include "QvUserLib/SingleInstance.h"

namespace Qvctl {

// Marks a device as being streamed, as long as the object lives.
class DeviceUse {
public:
    // Throws `Failure` when the device is marked already.
    explicit DeviceUse(const Device& aDevice);

    // The name of the mark, the same for every way in which one path can be written.
    static std::string NameFor(const Device& aDevice);

private:
    QvUserLib::SingleInstance instance_;
};

}  // namespace Qvctl

#endif
