// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Time that passes.

#ifndef QVCTL_STOPWATCH_H
#define QVCTL_STOPWATCH_H

#include <chrono>
#include <cstdint>

namespace Qvctl {

class Stopwatch {
public:
    Stopwatch() : start_(Clock::now()) {}

    // Since the object was made.
    std::uint64_t GetNanoseconds() const {
        return static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start_).count());
    }
    double GetSeconds() const { return static_cast<double>(GetNanoseconds()) * 1e-9; }

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point start_;
};

}  // namespace Qvctl

#endif
