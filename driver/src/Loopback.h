// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The loop-back buffer: a ring of bytes that were written and not read yet. The lock that guards it
// is held by the caller.

#ifndef QVSAMPLE_LOOPBACK_H
#define QVSAMPLE_LOOPBACK_H

#include "Kernel.h"

typedef struct QV_LOOPBACK {
    UCHAR* bytes;  // Nonpaged; null while the device is not started.
    ULONG capacity;
    ULONG first;  // Index of the oldest byte.
    ULONG count;
} QV_LOOPBACK;

// Appends bytes for which there is room.
void PutBytes(QV_LOOPBACK* loopback, const UCHAR* bytes, ULONG count);

// Takes up to `limit` bytes, and returns how many it took.
ULONG TakeBytes(QV_LOOPBACK* loopback, UCHAR* bytes, ULONG limit);

#endif
