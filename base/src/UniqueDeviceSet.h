// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The owner of a device information set.

#ifndef QVBASELIB_UNIQUEDEVICESET_H
#define QVBASELIB_UNIQUEDEVICESET_H

#include "UniqueHandle.h"

// After windows.h, which it needs.
#include <setupapi.h>

namespace QvBaseLib {

struct DeviceSetPolicy {
    using Type = HDEVINFO;
    static Type Empty() { return INVALID_HANDLE_VALUE; }
    static bool IsValid(Type aSet) { return aSet != INVALID_HANDLE_VALUE; }
    static void Close(Type aSet) { ::SetupDiDestroyDeviceInfoList(aSet); }
};
using UniqueDeviceSet = UniqueHandle<DeviceSetPolicy>;

}  // namespace QvBaseLib

#endif
