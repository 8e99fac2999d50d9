// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Clock.h"

#include <cstdio>

#include "WindowsApi.h"

namespace QvKit {
namespace {

class SystemClock final : public Clock {
public:
    std::chrono::nanoseconds GetTime() const override {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
};

}  // namespace

std::string CalendarText(const SYSTEMTIME& aMoment) {
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03u", aMoment.wYear,
                  aMoment.wMonth, aMoment.wDay, aMoment.wHour, aMoment.wMinute, aMoment.wSecond,
                  aMoment.wMilliseconds);
    return text;
}

const Clock& Clock::GetSystemClock() {
    static const SystemClock clock;
    return clock;
}

}  // namespace QvKit
