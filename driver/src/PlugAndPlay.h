// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The life of a device, from AddDevice to its removal.

#ifndef QVSAMPLE_PLUGANDPLAY_H
#define QVSAMPLE_PLUGANDPLAY_H

#include "Kernel.h"

DRIVER_ADD_DEVICE QvSampleAddDevice;
DRIVER_DISPATCH QvSamplePnp;

#endif
