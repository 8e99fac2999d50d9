// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Moment.h"

#include "QvKit/Clock.h"

namespace Qvctl {

Moment Moment::Now() {
    Moment now = {};
    ::GetSystemTime(&now.utc);
    if (!::SystemTimeToTzSpecificLocalTime(/*lpTimeZoneInformation=*/nullptr, &now.utc,
                                           &now.local)) {
        now.local = now.utc;
    }
    return now;
}

std::string UtcText(const Moment& aMoment) { return QvKit::CalendarText(aMoment.utc) + "Z"; }

std::string LocalText(const Moment& aMoment, const Moment& aBegin) {
    constexpr std::size_t kDate = sizeof "2026-01-31" - 1;
    std::string text = QvKit::CalendarText(aMoment.local);
    const bool isSameDay = QvKit::CalendarText(aBegin.local).compare(0, kDate, text, 0, kDate) == 0;
    if (isSameDay) return text.substr(kDate + 1);
    text[kDate] = ' ';
    return text;
}

}  // namespace Qvctl
