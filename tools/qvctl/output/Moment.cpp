// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Moment.h"

#include <cstdio>

namespace Qvctl {
namespace {

std::string DateText(const SYSTEMTIME& aTime) {
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", aTime.wYear, aTime.wMonth, aTime.wDay);
    return text;
}

std::string TimeText(const SYSTEMTIME& aTime) {
    char text[64];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u", aTime.wHour, aTime.wMinute,
                  aTime.wSecond, aTime.wMilliseconds);
    return text;
}

}  // namespace

Moment Moment::Now() {
    Moment now = {};
    ::GetSystemTime(&now.utc);
    if (!::SystemTimeToTzSpecificLocalTime(/*lpTimeZoneInformation=*/nullptr, &now.utc,
                                           &now.local)) {
        now.local = now.utc;
    }
    return now;
}

std::string UtcText(const Moment& aMoment) {
    return DateText(aMoment.utc) + "T" + TimeText(aMoment.utc) + "Z";
}

std::string LocalText(const Moment& aMoment, const Moment& aBegin) {
    const std::string date = DateText(aMoment.local);
    const std::string time = TimeText(aMoment.local);
    return date == DateText(aBegin.local) ? time : date + " " + time;
}

}  // namespace Qvctl
