// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Keeps two runs of the tool from taking each other's packets.

#ifndef QVCTL_DEVICEUSE_H
#define QVCTL_DEVICEUSE_H

#include <string>

#include "QvKit/DeviceList.h"
#include "QvUserLib/SingleInstance.h"

namespace Qvctl {

// Marks a device as being streamed, as long as the object lives.
class DeviceUse {
public:
    // Throws `QvKit::Error` when the device is marked already.
    explicit DeviceUse(const QvKit::DeviceAddress& aDevice);

    // The name of the mark. It is the same for all spellings of a path.
    static std::string NameFor(const QvKit::DeviceAddress& aDevice);

private:
    QvUserLib::SingleInstance instance_;
};

}  // namespace Qvctl

#endif
