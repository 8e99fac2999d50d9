// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Watching devices come and go.

#ifndef QVCTL_VERBS_DEVICEWATCH_H
#define QVCTL_VERBS_DEVICEWATCH_H

#include <chrono>
#include <cstdint>
#include <optional>

#include "Context.h"

namespace Qvctl {

struct DeviceWatchSettings {
    std::optional<GUID> interfaceClass;  // All classes if there is none.
    bool initial;                        // Whether to print what is there at the beginning.
    std::optional<std::uint64_t> count;  // After how many arrivals and removals to end.
    std::optional<double> seconds;
};

// How long a watch of so many seconds waits; without a number it has no limit.
std::chrono::milliseconds ToLimit(const std::optional<double>& aSeconds);

// Prints each device that comes or goes. Throws `QvKit::Error`, also when the user ends it.
void WatchDevices(const Context& aContext, const DeviceWatchSettings& aSettings);

}  // namespace Qvctl

#endif
