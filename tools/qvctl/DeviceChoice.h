// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The device that the user means.

#ifndef QVCTL_DEVICECHOICE_H
#define QVCTL_DEVICECHOICE_H

#include <optional>
#include <string>
#include <vector>

#include "QvKit/DeviceList.h"
#include "QvKit/RequestLimits.h"
#include "WindowsApi.h"

namespace Qvctl {

// What the user gave.
struct DeviceChoice {
    enum Kind { Index, Path, InstanceId, Parameter };  // In the list; NAME=VALUE.

    Kind kind;
    std::string text;
};

struct ChosenDevice {
    std::optional<unsigned int> index;  // In the list; nothing when it was chosen by its path.
    QvKit::DeviceAddress address;
};

// All of these throw `QvKit::Error`.

// Wrong usage when the text is none of them.
DeviceChoice ParseDeviceChoice(const std::string& aText);

// The present devices, one at least.
std::vector<QvKit::DeviceAddress> ListPresentDevices(const GUID& aInterface);

// The error when there is none: for the sample driver's interface it says how to get one.
QvKit::Error NoDevicePresent(const GUID& aInterface);

// A path is not looked up in the list: opening it shows whether there is such a device. To find a
// parameter devices are asked, within the limits.
ChosenDevice FindDevice(const GUID& aInterface, const DeviceChoice& aChoice,
                        const QvKit::RequestLimits& aLimits = {});

}  // namespace Qvctl

#endif
