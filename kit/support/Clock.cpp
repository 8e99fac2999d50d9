// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Clock.h"

namespace QvKit {
namespace {

class SystemClock final : public Clock {
public:
    std::chrono::nanoseconds GetTime() const override {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
};

}  // namespace

const Clock& Clock::GetSystemClock() {
    static const SystemClock clock;
    return clock;
}

}  // namespace QvKit
