// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The devices that are present, and the one among them that the user means.

#ifndef QVCTL_DEVICELIST_H
#define QVCTL_DEVICELIST_H

#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "WindowsApi.h"

namespace Qvctl {

struct Device {
    std::optional<unsigned int> index;  // In the list; nothing when it was chosen by its path.
    std::string link;                   // In the ANSI code page, as a connection takes it.
    std::string path;                   // The same in UTF-8.
};

// Which device the user asked for: the number of one in the list, or a path.
struct DeviceChoice {
    bool isIndex;
    std::string text;
};

// Throws `Failure` for wrong usage when the text is neither a number nor a device path.
DeviceChoice ParseDeviceChoice(const std::string& aText);

// What to tell when there is none: for the sample driver's interface also how to get one.
Failure NoDevicePresent(const GUID& aInterface);

// Throws `Failure` when there is none.
std::vector<Device> ListDevices(const GUID& aInterface);

// Throws `Failure` when no such device is in the list. A path is not looked up there: only opening
// it tells.
Device FindDevice(const GUID& aInterface, const DeviceChoice& aChoice);

}  // namespace Qvctl

#endif
