// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceEnumerator.h"

#include <cstddef>
#include <cstring>

#include "DeviceInterfaceSet.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

// The size of the longest detail, path included, that GetSymLink can read.
constexpr DWORD kDetailSize = 8192;

}  // namespace

DeviceEnumerator::DeviceEnumerator() : set_(INVALID_HANDLE_VALUE), interfaceClass_(nullptr) {}

DeviceEnumerator::~DeviceEnumerator() { Reset(); }

Result DeviceEnumerator::GetSymLink(unsigned int aIndex, String* aSymLink) {
    if (set_ == INVALID_HANDLE_VALUE) return Result(Code::NotAllowed);

    // Cleared, so that a path of odd length ends after the unit that holds its last character.
    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_A) unsigned char detail[kDetailSize] = {};
    const char* const path = QueryDevicePath(set_, static_cast<const GUID*>(interfaceClass_),
                                             aIndex, detail, sizeof detail);
    if (path == nullptr) return Result(Code::NoSuchDevice);
    if (aSymLink == nullptr) return Result(Code::InvalidArgument);

    // Callers rely on finding the path's 8-bit characters in pairs in the UTF-16 units.
    wchar_t pairs[kDetailSize / sizeof(wchar_t) + 1] = {};
    std::memcpy(pairs, path, detail + sizeof detail - reinterpret_cast<const unsigned char*>(path));
    *aSymLink = String(pairs);
    return Result(Code::Success);
}

Result DeviceEnumerator::Enumerate(const void* aInterfaceClass) {
    Reset();
    const HDEVINFO set = OpenPresentInterfaces(static_cast<const GUID*>(aInterfaceClass));
    if (set == INVALID_HANDLE_VALUE) return Result(Code::InvalidArgument);
    set_ = set;
    interfaceClass_ = aInterfaceClass;
    return Result(Code::Success);
}

void DeviceEnumerator::Reset() {
    if (set_ == INVALID_HANDLE_VALUE) return;
    ::SetupDiDestroyDeviceInfoList(set_);
    set_ = INVALID_HANDLE_VALUE;
    interfaceClass_ = nullptr;
}

}  // namespace QvUserLib
