// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceInterfaceSet.h"

namespace QvUserLib {

// The system recognises the versions of the structures by these sizes.
static_assert(sizeof(SP_DEVICE_INTERFACE_DATA) == 32, "as 64-bit Windows has it");
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) == 8, "as 64-bit Windows has it");

HDEVINFO OpenPresentInterfaces(const GUID* aInterfaceClass) {
    return ::SetupDiGetClassDevsA(aInterfaceClass, /*Enumerator=*/nullptr, /*hwndParent=*/nullptr,
                                  DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
}

const char* QueryDevicePath(HDEVINFO aSet, const GUID* aInterfaceClass, DWORD aIndex, void* aDetail,
                            DWORD aDetailSize) {
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof data;
    if (!::SetupDiEnumDeviceInterfaces(aSet, /*DeviceInfoData=*/nullptr, aInterfaceClass, aIndex,
                                       &data)) {
        return nullptr;
    }

    auto* const detail = static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(aDetail);
    detail->cbSize = sizeof *detail;
    if (!::SetupDiGetDeviceInterfaceDetailA(aSet, &data, detail, aDetailSize,
                                            /*RequiredSize=*/nullptr,
                                            /*DeviceInfoData=*/nullptr)) {
        return nullptr;
    }
    return detail->DevicePath;
}

}  // namespace QvUserLib
