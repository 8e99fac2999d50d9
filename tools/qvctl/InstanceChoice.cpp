// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "InstanceChoice.h"

#include "QvKit/DeviceInformation.h"

namespace Qvctl {

std::string ChooseInstance(const Context& aContext) {
    const DeviceChoice& choice = aContext.options.device;
    if (choice.kind == DeviceChoice::InstanceId && !aContext.options.wait) return choice.text;
    const QvKit::DeviceAddress device = aContext.FindDevice().address;
    return device.instanceId.empty() ? QvKit::FindInstanceId(device.path) : device.instanceId;
}

}  // namespace Qvctl
