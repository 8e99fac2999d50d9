// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The owner of a device information set.

#ifndef QVBASELIB_UNIQUEDEVICESET_H
#define QVBASELIB_UNIQUEDEVICESET_H

#include "UniqueHandle.h"

// After windows.h, which it needs.
#include <setupapi.h>

namespace QvBaseLib {

using UniqueDeviceSet = UniqueHandle<HDEVINFO, &::SetupDiDestroyDeviceInfoList>;

}  // namespace QvBaseLib

#endif
