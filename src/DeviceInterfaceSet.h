// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_DEVICEINTERFACESET_H
#define QVUSERLIB_SRC_DEVICEINTERFACESET_H

#include "WindowsApi.h"

#include <setupapi.h>

namespace QvUserLib {

// Opens the set of present device interfaces of a class. The caller closes it with
// SetupDiDestroyDeviceInfoList. INVALID_HANDLE_VALUE when the system refuses.
HDEVINFO OpenPresentInterfaces(const GUID* aInterfaceClass);

// Returns the device path of the interface at aIndex. The path is stored in aDetail, a buffer of
// aDetailSize bytes, aligned for SP_DEVICE_INTERFACE_DETAIL_DATA_A. Null when there is no such
// interface or its path does not fit.
const char* QueryDevicePath(HDEVINFO aSet, const GUID* aInterfaceClass, DWORD aIndex, void* aDetail,
                            DWORD aDetailSize);

}  // namespace QvUserLib

#endif
