// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The driver's own thread. It works when the time for something has come, rather than when a
// request comes in. What the work is belongs to its owner.

#ifndef QVSAMPLE_CLOCK_H
#define QVSAMPLE_CLOCK_H

#include "Kernel.h"

// What a clock asks of its owner.
typedef struct QV_CLOCK_CALLS {
    // Does what is to be done now. Runs at PASSIVE_LEVEL, on the clock's thread, no lock held.
    void (*work)(void* owner);
    // When there is work to do next, or QV_NEVER. The lock is held.
    LONGLONG (*nextTime)(void* owner);
} QV_CLOCK_CALLS;

typedef struct QV_CLOCK {
    const QV_CLOCK_CALLS* calls;
    void* owner;
    void* thread;  // Its object, null while there is none. Only used by start and stop.
    KEVENT wake;

    // Guards everything below. Taken at any IRQL up to DISPATCH_LEVEL.
    KSPIN_LOCK* lock;
    BOOLEAN isStopping;
    LONGLONG sleepsUntil;  // 0 while it is awake, or about to be.
} QV_CLOCK;

// `lock` has to live as long as the clock.
void InitializeClock(QV_CLOCK* clock, KSPIN_LOCK* lock, const QV_CLOCK_CALLS* calls, void* owner);

NTSTATUS StartClock(QV_CLOCK* clock);

// Lets the thread work once more and waits until it has ended. May be called again.
void StopClock(QV_CLOCK* clock);

// Wakes the thread if it sleeps for too long. To be called after a change that may bring work
// forward. IRQL <= DISPATCH_LEVEL, no lock held.
void WakeClockInTime(QV_CLOCK* clock);

#endif
