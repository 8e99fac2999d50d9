// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Waiting until devices come or go.

#ifndef QVCTL_VERBS_DEVICEWAIT_H
#define QVCTL_VERBS_DEVICEWAIT_H

#include <chrono>
#include <functional>
#include <vector>

#include "Context.h"
#include "QvKit/DeviceWatcher.h"

namespace Qvctl {

// Waits until what is there, or what comes or goes later, is what is waited for. Returns whether it
// was so in time. `aClass` is that of the devices; null for all. `aIsMetByEvent` is called on
// another thread, but not after the wait. Throws `QvKit::Error`, also when the user ends it.
bool WaitForDevices(const Context& aContext, const GUID* aClass, std::chrono::milliseconds aLimit,
                    const std::function<bool(const std::vector<QvKit::DeviceAddress>&)>& aIsMet,
                    const std::function<bool(const QvKit::DeviceEvent&)>& aIsMetByEvent);

// The device that the options name, as soon as it is there. Throws `QvKit::Error`.
ChosenDevice AwaitDevice(const Context& aContext, std::chrono::milliseconds aLimit);

}  // namespace Qvctl

#endif
