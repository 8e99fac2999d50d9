// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SUPPORT_TURN_H
#define QVKIT_SUPPORT_TURN_H

#include <chrono>

#include "UniqueHandle.h"

namespace QvKit {

class StopSignal;

// While one exists, other programs and threads wait for theirs with the same name.
class Turn {
public:
    // Waits until it has come, the time is over, or the signal was requested, which may be null.
    Turn(const wchar_t* aName, std::chrono::milliseconds aLimit, const StopSignal* aStop);
    ~Turn();

    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    // ERROR_SUCCESS when it has come, ERROR_TIMEOUT when it has not, otherwise why the system
    // denies it.
    unsigned long GetError() const { return error_; }

private:
    QvBaseLib::KernelHandle mutex_;
    unsigned long error_;
};

}  // namespace QvKit

#endif
