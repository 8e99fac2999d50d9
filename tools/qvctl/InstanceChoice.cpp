// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "InstanceChoice.h"

#include "QvKit/DeviceInformation.h"

namespace Qvctl {

std::string ChooseInstance(const Options& aOptions) {
    const DeviceChoice& choice = aOptions.device;
    if (choice.kind == DeviceChoice::InstanceId) return choice.text;
    const QvKit::DeviceAddress device = FindDevice(aOptions.interfaceClass, choice).address;
    return device.instanceId.empty() ? QvKit::FindInstanceId(device.path) : device.instanceId;
}

}  // namespace Qvctl
