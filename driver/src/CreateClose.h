// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Opening and closing handles. The only thing a handle has of its own is whether it has read.

#ifndef QVSAMPLE_CREATECLOSE_H
#define QVSAMPLE_CREATECLOSE_H

#include "Kernel.h"

DRIVER_DISPATCH QvSampleCreate;
DRIVER_DISPATCH QvSampleCleanup;
DRIVER_DISPATCH QvSampleClose;

#endif
