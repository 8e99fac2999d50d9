// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The system's lock that needs neither memory nor a handle. A mutex of the C++ runtime takes both
// and does not give them back.

#ifndef QVKIT_SUPPORT_SLIMLOCK_H
#define QVKIT_SUPPORT_SLIMLOCK_H

#include <chrono>

#include "Event.h"

namespace QvKit {

// Names of functions as `std::lock_guard` wants them.
class SlimLock {
public:
    SlimLock() = default;
    SlimLock(const SlimLock&) = delete;
    SlimLock& operator=(const SlimLock&) = delete;

    void lock() { ::AcquireSRWLockExclusive(&lock_); }
    void unlock() { ::ReleaseSRWLockExclusive(&lock_); }

    // Releases the lock, which is held, while it waits for `WakeAll`. Returns false when the time
    // was over. May return too early.
    bool WaitForWake(std::chrono::milliseconds aLimit) {
        return ::SleepConditionVariableSRW(&wake_, &lock_, ToSystemWait(aLimit), 0) != FALSE;
    }
    void WakeAll() { ::WakeAllConditionVariable(&wake_); }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
    CONDITION_VARIABLE wake_ = CONDITION_VARIABLE_INIT;
};

}  // namespace QvKit

#endif
