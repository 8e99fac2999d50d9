// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What time it is. All times are in units of 100 ns.

#ifndef QVSAMPLE_CURRENTTIME_H
#define QVSAMPLE_CURRENTTIME_H

#include "Kernel.h"

#define QV_SECOND 10000000

// A time that never comes.
#define QV_NEVER MAXLONGLONG

// The time since some moment in the past. It never goes back. Any IRQL.
LONGLONG CurrentTime(void);

// The system's time, since 1601. It goes back when somebody sets the clock. Any IRQL.
LONGLONG SystemTime(void);

#endif
