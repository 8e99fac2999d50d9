// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_CLOCK_H
#define QVKIT_CLOCK_H

#include <chrono>
#include <string>

struct _SYSTEMTIME;

namespace QvKit {

/// A moment of the calendar in the form of ISO 8601, without its time zone:
/// "2026-01-31T12:00:00.123".
std::string CalendarText(const _SYSTEMTIME& aMoment);

/// Where the kit's operations take the time from. Tests give them a clock of their own.
class Clock {
public:
    virtual ~Clock() = default;

    /// The time since some fixed moment. It never goes back. Any thread may call it.
    virtual std::chrono::nanoseconds GetTime() const = 0;

    /// The system's. It lives as long as the process.
    static const Clock& GetSystemClock();
};

/// How much time has passed since the object was made. The clock is borrowed.
class Stopwatch {
public:
    /// Starts. The clock is borrowed.
    explicit Stopwatch(const Clock& aClock = Clock::GetSystemClock())
        : clock_(&aClock), start_(aClock.GetTime()) {}

    /// The time since the start.
    std::chrono::nanoseconds GetTime() const { return clock_->GetTime() - start_; }
    /// The same in seconds.
    double GetSeconds() const { return std::chrono::duration<double>(GetTime()).count(); }

private:
    const Clock* clock_;
    std::chrono::nanoseconds start_;
};

}  // namespace QvKit

#endif
