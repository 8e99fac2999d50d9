// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SETTINGEVENT_H
#define QVKIT_SETTINGEVENT_H

#include <chrono>
#include <optional>

#include "QvKit/Error.h"
#include "QvKit/Setting.h"

namespace QvKit {

/// What happened to a setting of a device, or to the device. It is a value.
struct SettingEvent {
    /// What has happened.
    enum class Kind {
        Present,   ///< The setting was there when the subscription began.
        Arrival,   ///< The device has it now.
        Gone,      ///< The device has it no longer.
        Entries,   ///< An enumeration has other entries.
        Range,     ///< The minimum, maximum, default or unit is another one.
        Marks,     ///< One of the marks, such as read-only, is another one.
        Value,     ///< The value is another one.
        Failure,   ///< The device could not be read. The poller goes on trying.
        Recovery,  ///< It can be read again. What changed meanwhile comes next.
        Removal    ///< The device has been removed. This is the last event.
    };

    Kind kind;                                   ///< What has happened.
    std::chrono::system_clock::time_point time;  ///< When it was noticed.

    /// The whole setting as it was; nothing if it was not there, or if the event is the device's.
    std::optional<Setting> before;
    /// The same as it is now.
    std::optional<Setting> after;

    std::optional<Error> error;  ///< Of a failure and a removal.
};

}  // namespace QvKit

#endif
