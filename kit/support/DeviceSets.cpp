// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSets.h"

#include <cstddef>
#include <cwchar>

#include "QvKit/Error.h"
#include "QvKit/Guid.h"
#include "QvKit/Text.h"
#include "UniqueRegistryKey.h"

// After windows.h, which it needs.
#include <cfgmgr32.h>

namespace QvKit {
namespace {

constexpr wchar_t kInterfaceClasses[] = L"SYSTEM\\CurrentControlSet\\Control\\DeviceClasses";

// Empty for an interface that has gone meanwhile.
std::wstring PathOf(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    DWORD size = 0;
    ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, &size, nullptr);
    std::vector<std::max_align_t> buffer(size / sizeof(std::max_align_t) + 1);
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof *detail;
    const BOOL done = ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, detail, size, nullptr,
                                                         /*DeviceInfoData=*/nullptr);
    return done ? detail->DevicePath : std::wstring();
}

}  // namespace

std::vector<GUID> ListInterfaceClasses() {
    std::vector<GUID> classes;
    HKEY opened = nullptr;
    const LSTATUS code =
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kInterfaceClasses, 0, KEY_READ, &opened);
    const QvBaseLib::UniqueRegistryKey key(opened);
    // A system that has never had an interface has no list.
    if (code == ERROR_FILE_NOT_FOUND) return classes;
    if (code != ERROR_SUCCESS) {
        throw SystemError(ErrorKind::SystemFailed, "the system cannot list its interface classes",
                          static_cast<DWORD>(code));
    }
    for (DWORD index = 0;; ++index) {
        wchar_t name[64];
        DWORD size = ARRAYSIZE(name);
        const LSTATUS result =
            ::RegEnumKeyExW(key.Get(), index, name, &size, nullptr, nullptr, nullptr, nullptr);
        if (result == ERROR_MORE_DATA) continue;  // The name is too long for a class.
        if (result != ERROR_SUCCESS) return classes;
        if (const auto one = ParseGuid(ToUtf8(name))) classes.push_back(*one);
    }
}

void ForEachPresentInterface(const GUID& aClass, const UseInterface& aUse) {
    const QvBaseLib::UniqueDeviceSet set(
        ::SetupDiGetClassDevsW(&aClass, /*Enumerator=*/nullptr, /*hwndParent=*/nullptr,
                               DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    const DWORD error = ::GetLastError();
    if (!set.IsValid()) {
        throw SystemError(ErrorKind::SystemFailed, "the system cannot list its devices", error);
    }
    auto data = EmptyData<SP_DEVICE_INTERFACE_DATA>();
    for (DWORD index = 0; ::SetupDiEnumDeviceInterfaces(set.Get(), nullptr, &aClass, index, &data);
         ++index) {
        const std::wstring path = PathOf(set.Get(), data);
        if (!path.empty()) aUse(set.Get(), data, path);
    }
}

SP_DEVINFO_DATA OwnerOf(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    auto device = EmptyData<SP_DEVINFO_DATA>();
    // It has no room for the path, but stores the device all the same.
    ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, nullptr, &device);
    return device;
}

std::wstring InstanceIdOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    wchar_t id[MAX_DEVICE_ID_LEN] = {};
    const BOOL done = ::SetupDiGetDeviceInstanceIdW(aSet, &aDevice, id, MAX_DEVICE_ID_LEN, nullptr);
    return done ? id : std::wstring();
}

std::vector<std::wstring> TextsOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty) {
    DWORD size = 0;
    ::SetupDiGetDeviceRegistryPropertyW(aSet, &aDevice, aProperty, nullptr, nullptr, 0, &size);
    // Two zeros stay behind the texts.
    std::vector<wchar_t> buffer(size / sizeof(wchar_t) + 2);
    std::vector<std::wstring> texts;
    if (size == 0 || !::SetupDiGetDeviceRegistryPropertyW(aSet, &aDevice, aProperty, nullptr,
                                                          reinterpret_cast<BYTE*>(buffer.data()),
                                                          size, nullptr)) {
        return texts;
    }
    for (const wchar_t* text = buffer.data(); *text != L'\0'; text += std::wcslen(text) + 1) {
        texts.emplace_back(text);
    }
    return texts;
}

}  // namespace QvKit
