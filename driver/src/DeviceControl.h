// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The I/O-control requests.

#ifndef QVSAMPLE_DEVICECONTROL_H
#define QVSAMPLE_DEVICECONTROL_H

#include "Kernel.h"

DRIVER_DISPATCH QvSampleDeviceControl;

#endif
