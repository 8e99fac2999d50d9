// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSets.h"

#include <algorithm>
#include <cstddef>

#include "QvKit/Error.h"
#include "QvKit/Guid.h"
#include "QvKit/Text.h"
#include "UniqueHandle.h"

// After windows.h, which it needs.
#include <cfgmgr32.h>

namespace QvKit {
namespace {

using QvBaseLib::UniqueDeviceSet;

constexpr wchar_t kInterfaceClasses[] = L"SYSTEM\\CurrentControlSet\\Control\\DeviceClasses";

Error CannotList(DWORD aError) {
    return SystemError(ErrorKind::SystemFailed, "the system cannot list its devices", aError);
}

Error CannotListClasses(LSTATUS aCode) {
    return SystemError(ErrorKind::SystemFailed, "the system cannot list its interface classes",
                       static_cast<DWORD>(aCode));
}

bool IsGone(DWORD aError) {
    return aError == ERROR_NO_SUCH_DEVINST || aError == ERROR_NO_SUCH_DEVICE_INTERFACE;
}

// Whether an error says nothing about what was asked for.
bool IsSystemsFailure(DWORD aError) {
    return aError == ERROR_NOT_ENOUGH_MEMORY || aError == ERROR_OUTOFMEMORY ||
           aError == ERROR_NO_SYSTEM_RESOURCES || aError == ERROR_ACCESS_DENIED;
}

// How many bytes the path takes; 0 for an interface that has gone meanwhile. There is no room for
// it yet, but the system stores the device that has the interface all the same.
DWORD SizeOfDetail(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface, SP_DEVINFO_DATA* aOwner) {
    DWORD size = 0;
    ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, &size, aOwner);
    const DWORD error = ::GetLastError();
    if (error != ERROR_INSUFFICIENT_BUFFER && !IsGone(error)) throw CannotList(error);
    return size;
}

// Empty for an interface that has gone meanwhile.
std::wstring PathOf(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    const DWORD size = SizeOfDetail(aSet, aInterface, /*aOwner=*/nullptr);
    std::vector<std::max_align_t> buffer(size / sizeof(std::max_align_t) + 1);
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof *detail;
    const BOOL done = ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, detail, size, nullptr,
                                                         /*DeviceInfoData=*/nullptr);
    const DWORD error = ::GetLastError();
    if (!done && !IsGone(error)) throw CannotList(error);
    return done ? detail->DevicePath : std::wstring();
}

UniqueDeviceSet Own(HDEVINFO aSet) {
    const DWORD error = ::GetLastError();
    if (aSet != INVALID_HANDLE_VALUE) return UniqueDeviceSet(aSet);
    throw CannotList(error);
}

// To be called with the error that ended a list: it is complete only when there is nothing more.
void CheckEnd(DWORD aError) {
    if (aError != ERROR_NO_MORE_ITEMS) throw CannotList(aError);
}

void ForEachInterface(const GUID& aClass, DWORD aFlags, const UseInterface& aUse) {
    const UniqueDeviceSet set = Own(::SetupDiGetClassDevsW(
        &aClass, /*Enumerator=*/nullptr, /*hwndParent=*/nullptr, aFlags | DIGCF_DEVICEINTERFACE));
    auto data = EmptyData<SP_DEVICE_INTERFACE_DATA>();
    for (DWORD index = 0; ::SetupDiEnumDeviceInterfaces(set.Get(), nullptr, &aClass, index, &data);
         ++index) {
        const std::wstring path = PathOf(set.Get(), data);
        if (!path.empty()) aUse(set.Get(), data, path);
    }
    CheckEnd(::GetLastError());
}

// Gets a buffer with its size, and stores the type and the size of the data; returns whether the
// data fits.
using Ask = std::function<bool(ULONG&, BYTE*, DWORD, DWORD&)>;

std::optional<PropertyData> Read(const Ask& aAsk) {
    constexpr DWORD kFirstTry = 512;
    constexpr DWORD kMost = 1048576;
    constexpr int kTries = 4;  // The data may grow in between.
    PropertyData data{DEVPROP_TYPE_EMPTY, {}};
    DWORD size = kFirstTry;
    for (int i = 0; i < kTries; ++i) {
        data.bytes.resize(size);
        DWORD needed = 0;
        if (aAsk(data.type, data.bytes.data(), size, needed)) {
            data.bytes.resize(std::min(needed, size));
            return data;
        }
        if (needed <= size || needed > kMost) return std::nullopt;
        size = needed;
    }
    return std::nullopt;
}

std::optional<PropertyData> ReadFromRegistry(const Ask& aAsk) {
    std::optional<PropertyData> data = Read(aAsk);
    if (data) data->type = FromRegistryType(data->type);
    return data;
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
    if (code != ERROR_SUCCESS) throw CannotListClasses(code);
    for (DWORD index = 0;; ++index) {
        wchar_t name[64];
        DWORD size = ARRAYSIZE(name);
        const LSTATUS result =
            ::RegEnumKeyExW(key.Get(), index, name, &size, nullptr, nullptr, nullptr, nullptr);
        if (result == ERROR_MORE_DATA) continue;  // The name is too long for a class.
        if (result == ERROR_NO_MORE_ITEMS) return classes;
        if (result != ERROR_SUCCESS) throw CannotListClasses(result);
        if (const auto one = ParseGuid(ToUtf8(name))) classes.push_back(*one);
    }
}

void ForEachPresentInterface(const GUID& aClass, const UseInterface& aUse) {
    ForEachInterface(aClass, DIGCF_PRESENT, aUse);
}

void ForEachKnownInterface(const GUID& aClass, const UseInterface& aUse) {
    ForEachInterface(aClass, /*aFlags=*/0, aUse);
}

void ForEachDevice(const wchar_t* aEnumerator, const UseDevice& aUse) {
    const UniqueDeviceSet set =
        Own(::SetupDiGetClassDevsW(nullptr, aEnumerator, nullptr, DIGCF_ALLCLASSES));
    auto data = EmptyData<SP_DEVINFO_DATA>();
    for (DWORD i = 0; ::SetupDiEnumDeviceInfo(set.Get(), i, &data); ++i) aUse(set.Get(), data);
    CheckEnd(::GetLastError());
}

DWORD UseOneDevice(const std::wstring& aInstanceId, const UseDevice& aUse) {
    const UniqueDeviceSet set = Own(::SetupDiCreateDeviceInfoList(nullptr, nullptr));
    auto data = EmptyData<SP_DEVINFO_DATA>();
    const BOOL isThere = ::SetupDiOpenDeviceInfoW(set.Get(), aInstanceId.c_str(), nullptr,
                                                  /*OpenFlags=*/0, &data);
    const DWORD error = ::GetLastError();
    if (!isThere && IsSystemsFailure(error)) throw CannotList(error);
    if (!isThere) return error;
    aUse(set.Get(), data);
    return ERROR_SUCCESS;
}

SP_DEVINFO_DATA OwnerOf(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    auto device = EmptyData<SP_DEVINFO_DATA>();
    (void)SizeOfDetail(aSet, aInterface, &device);  // Only the device is wanted.
    return device;
}

std::wstring InstanceIdOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    wchar_t id[MAX_DEVICE_ID_LEN] = {};
    const BOOL done = ::SetupDiGetDeviceInstanceIdW(aSet, &aDevice, id, MAX_DEVICE_ID_LEN, nullptr);
    const DWORD error = ::GetLastError();
    if (!done) throw CannotList(error);
    return id;
}

std::optional<PropertyData> ReadProperty(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty) {
    return ReadFromRegistry([&](ULONG& aType, BYTE* aBuffer, DWORD aSize, DWORD& aNeeded) {
        return ::SetupDiGetDeviceRegistryPropertyW(aSet, &aDevice, aProperty, &aType, aBuffer,
                                                   aSize, &aNeeded) != FALSE;
    });
}

std::optional<PropertyData> ReadProperty(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice,
                                         const DEVPROPKEY& aKey) {
    return Read([&](ULONG& aType, BYTE* aBuffer, DWORD aSize, DWORD& aNeeded) {
        return ::SetupDiGetDevicePropertyW(aSet, &aDevice, &aKey, &aType, aBuffer, aSize, &aNeeded,
                                           /*Flags=*/0) != FALSE;
    });
}

std::optional<PropertyData> ReadDriverValue(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice,
                                            const wchar_t* aName) {
    const HKEY opened = ::SetupDiOpenDevRegKey(aSet, &aDevice, DICS_FLAG_GLOBAL, /*HwProfile=*/0,
                                               DIREG_DRV, KEY_READ);
    if (opened == INVALID_HANDLE_VALUE) return std::nullopt;
    const QvBaseLib::UniqueRegistryKey key(opened);
    return ReadFromRegistry([&](ULONG& aType, BYTE* aBuffer, DWORD aSize, DWORD& aNeeded) {
        aNeeded = aSize;
        return ::RegQueryValueExW(key.Get(), aName, nullptr, &aType, aBuffer, &aNeeded) ==
               ERROR_SUCCESS;
    });
}

std::vector<std::wstring> TextsOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty) {
    return TextsIn(ReadProperty(aSet, aDevice, aProperty));
}

std::optional<NodeStatus> StatusOf(const SP_DEVINFO_DATA& aDevice) {
    ULONG status = 0;
    ULONG problem = 0;
    if (::CM_Get_DevNode_Status(&status, &problem, aDevice.DevInst, 0) != CR_SUCCESS)
        return std::nullopt;
    return NodeStatus{status != 0, (status & DN_STARTED) != 0,
                      (status & DN_HAS_PROBLEM) != 0 ? problem : 0};
}

bool NeedsMachineRestart(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    auto parameters = EmptyData<SP_DEVINSTALL_PARAMS_W>();
    if (!::SetupDiGetDeviceInstallParamsW(aSet, &aDevice, &parameters)) return false;
    return (parameters.Flags & (DI_NEEDREBOOT | DI_NEEDRESTART)) != 0;
}

}  // namespace QvKit
