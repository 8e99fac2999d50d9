// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "CurrentTime.h"

// The time is that of the performance counter. The system's other clocks advance in steps of up to
// 16 ms, and many packets become due in one of them.
LONGLONG CurrentTime(void) {
    LARGE_INTEGER frequency;
    const LONGLONG ticks = KeQueryPerformanceCounter(&frequency).QuadPart;
    // In two parts: the product of all ticks overflows after some days.
    return ticks / frequency.QuadPart * QV_SECOND +
           ticks % frequency.QuadPart * QV_SECOND / frequency.QuadPart;
}

// The system keeps its time at an address that is not a multiple of eight. A sanitizer of undefined
// behaviour objects to that.
#ifdef __GNUC__
#define QV_AT_ANY_ADDRESS __attribute__((no_sanitize("alignment")))
#else
#define QV_AT_ANY_ADDRESS
#endif

QV_AT_ANY_ADDRESS LONGLONG SystemTime(void) {
    LARGE_INTEGER time = {.QuadPart = 0};
    KeQuerySystemTime(&time);
    return time.QuadPart;
}
