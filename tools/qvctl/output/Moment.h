// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Moments of the calendar, as people and programs read them.

#ifndef QVCTL_OUTPUT_MOMENT_H
#define QVCTL_OUTPUT_MOMENT_H

#include <string>

#include "WindowsApi.h"

namespace Qvctl {

// One moment in both times.
struct Moment {
    static Moment Now();

    SYSTEMTIME utc;
    SYSTEMTIME local;
};

// "2026-11-22T08:15:00.123Z", in the form of ISO 8601.
std::string UtcText(const Moment& aMoment);

// "09:15:00.123"; if the day is not that of `aBegin`, "2026-11-23 00:00:01.234".
std::string LocalText(const Moment& aMoment, const Moment& aBegin);

}  // namespace Qvctl

#endif
