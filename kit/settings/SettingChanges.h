// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What is different between two looks at a device.

#ifndef QVKIT_SETTINGS_SETTINGCHANGES_H
#define QVKIT_SETTINGS_SETTINGCHANGES_H

#include <deque>
#include <string>
#include <vector>

#include "QvKit/SettingEvent.h"
#include "QvKit/Snapshot.h"

namespace QvKit {

// The settings with these names, in the order of the names; all of them when there is no name. They
// belong to the snapshot.
std::vector<const Setting*> FindSettings(const Snapshot& aSnapshot,
                                         const std::vector<std::string>& aNames);

// First what has gone, then what has come or changed.
std::deque<SettingEvent> FindChanges(const std::vector<const Setting*>& aBefore,
                                     const std::vector<const Setting*>& aAfter,
                                     std::chrono::system_clock::time_point aTime);

}  // namespace QvKit

#endif
