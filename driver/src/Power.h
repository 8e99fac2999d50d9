// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Power and system-control requests. The device has no power states of its own, and offers nothing
// through WMI, so both go to the driver below.

#ifndef QVSAMPLE_POWER_H
#define QVSAMPLE_POWER_H

#include "Kernel.h"

DRIVER_DISPATCH QvSamplePower;
DRIVER_DISPATCH QvSampleSystemControl;

#endif
