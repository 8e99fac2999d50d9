// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_DEVICEINTERFACESET_H
#define QVUSERLIB_SRC_DEVICEINTERFACESET_H

#include "WindowsApi.h"

#include <setupapi.h>

namespace QvUserLib {

// Opens the set of present device interfaces of a class; INVALID_HANDLE_VALUE when the system
// refuses it. To be closed with SetupDiDestroyDeviceInfoList.
HDEVINFO OpenPresentInterfaces(const GUID* aInterfaceClass);

// Gives the device path of the interface at aIndex, which lies in aDetail: room of aDetailSize
// bytes, aligned for SP_DEVICE_INTERFACE_DETAIL_DATA_A. The size needed is not asked for first: a
// path that does not fit fails. Null when there is no such interface.
const char* QueryDevicePath(HDEVINFO aSet, const GUID* aInterfaceClass, DWORD aIndex, void* aDetail,
                            DWORD aDetailSize);

}  // namespace QvUserLib

#endif
