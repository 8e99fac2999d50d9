// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/// @file
/// Everything that `QvBaseLib64.dll` offers.

#ifndef QVBASELIB_QVBASELIB_H
#define QVBASELIB_QVBASELIB_H

#include "QvBaseLib/DeviceParameter.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvBaseLib/Gate.h"
#include "QvBaseLib/ILockable.h"
#include "QvBaseLib/Result.h"
#include "QvBaseLib/Shareable.h"

#endif
