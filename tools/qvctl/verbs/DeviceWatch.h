// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Watching devices come and go.

#ifndef QVCTL_VERBS_DEVICEWATCH_H
#define QVCTL_VERBS_DEVICEWATCH_H

#include <optional>

#include "Context.h"
#include "verbs/LastingVerb.h"

namespace Qvctl {

struct DeviceWatchSettings {
    std::optional<GUID> interfaceClass;  // All classes if there is none.
    bool initial;                        // Whether to print what is there at the beginning.
    LastingEnd end;                      // The count is that of arrivals and removals.
};

// Prints each device that comes or goes. Throws `QvKit::Error`, also when the user ends it.
void WatchDevices(const Context& aContext, const DeviceWatchSettings& aSettings);

}  // namespace Qvctl

#endif
