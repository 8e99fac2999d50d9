// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_WATCH_H
#define QVKIT_WATCH_H

#include <string>
#include <vector>

#include "QvKit/DeviceParameters.h"
#include "QvKit/Setting.h"

namespace QvKit {

/// Reads settings again and again, and returns what has changed. For one thread.
class Watch {
public:
    /// A setting whose value has changed.
    struct Difference {
        /// At the look before.
        Value before;
        Setting setting;  ///< As it is now.
    };

    /// Watches the settings with these names, or all of them when no name is given. What the
    /// parameters hold now is what the first look is compared with. They are borrowed.
    ///
    /// Throws `Error`: `ErrorKind::Refused` when there is no setting of a name.
    Watch(DeviceParameters& aParameters, const std::vector<std::string>& aNames);

    /// The settings that are watched, as they were at the last look.
    const std::vector<Setting>& GetSettings() const { return known_; }

    /// Reads the parameters from the driver, and returns the settings that differ from the look
    /// before.
    ///
    /// Throws `Error`: `ErrorKind::DeviceFailed` when the driver fails, or no longer has a setting
    /// that is watched.
    std::vector<Difference> Look();

private:
    DeviceParameters& parameters_;
    std::vector<Setting> known_;
};

}  // namespace QvKit

#endif
