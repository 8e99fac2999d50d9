// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSystem.h"

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <optional>
#include <utility>

#include "QvKit/Error.h"
#include "QvKit/Text.h"
#include "UniqueDeviceSet.h"

namespace QvKit {
namespace {

using QvBaseLib::UniqueDeviceSet;

struct RegistryKeyPolicy {
    using Type = HKEY;
    // What SetupAPI returns for a failure.
    static Type Empty() { return static_cast<HKEY>(INVALID_HANDLE_VALUE); }
    static bool IsValid(Type aKey) { return aKey != Empty(); }
    static void Close(Type aKey) { ::RegCloseKey(aKey); }
};
using UniqueKey = QvBaseLib::UniqueHandle<RegistryKeyPolicy>;

std::vector<std::wstring> SplitTexts(const wchar_t* aTexts) {
    std::vector<std::wstring> texts;
    for (const wchar_t* text = aTexts; *text != L'\0'; text += std::wcslen(text) + 1) {
        texts.emplace_back(text);
    }
    return texts;
}

template <typename Data>
Data EmptyData() {
    Data data = {};
    data.cbSize = sizeof data;
    return data;
}

std::wstring ReadPath(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    DWORD size = 0;
    ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, &size, nullptr);
    std::vector<std::max_align_t> buffer(size / sizeof(std::max_align_t) + 1);
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof *detail;
    const BOOL done = ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, detail, size, nullptr,
                                                         /*DeviceInfoData=*/nullptr);
    return done ? detail->DevicePath : std::wstring();
}

// Calls `aVisit` with the set, each interface that is present, and its path. By SetupAPI, as the
// list of the configuration manager does not work everywhere.
template <typename Visit>
void VisitInterfaces(const GUID& aClass, Visit aVisit) {
    const UniqueDeviceSet set(::SetupDiGetClassDevsW(&aClass, /*Enumerator=*/nullptr,
                                                     /*hwndParent=*/nullptr,
                                                     DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    const DWORD error = ::GetLastError();
    if (!set.IsValid()) {
        throw SystemError(ErrorKind::SystemFailed, "the system cannot list its devices", error);
    }
    auto data = EmptyData<SP_DEVICE_INTERFACE_DATA>();
    for (DWORD index = 0; ::SetupDiEnumDeviceInterfaces(set.Get(), nullptr, &aClass, index, &data);
         ++index) {
        std::wstring path = ReadPath(set.Get(), data);
        // One without a path has gone meanwhile.
        if (!path.empty()) aVisit(set.Get(), data, std::move(path));
    }
}

// Nothing for a text that is none. (The system's own function for it is in a DLL that nothing else
// here needs.)
std::optional<GUID> ParseGuid(const wchar_t* aText) {
    unsigned int parts[11] = {};
    if (std::swscanf(aText, L"{%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x}", &parts[0], &parts[1],
                     &parts[2], &parts[3], &parts[4], &parts[5], &parts[6], &parts[7], &parts[8],
                     &parts[9], &parts[10]) != 11) {
        return std::nullopt;
    }
    GUID guid = {parts[0], static_cast<WORD>(parts[1]), static_cast<WORD>(parts[2]), {}};
    for (std::size_t index = 0; index < 8; ++index) {
        guid.Data4[index] = static_cast<unsigned char>(parts[3 + index]);
    }
    return guid;
}

std::vector<GUID> ListClasses() {
    const UniqueKey key(::SetupDiOpenClassRegKeyExW(/*ClassGuid=*/nullptr, KEY_READ,
                                                    DIOCR_INTERFACE, /*MachineName=*/nullptr,
                                                    /*Reserved=*/nullptr));
    const DWORD error = ::GetLastError();
    if (!key.IsValid()) {
        throw SystemError(ErrorKind::SystemFailed, "the system cannot list its interface classes",
                          error);
    }
    std::vector<GUID> classes;
    for (DWORD index = 0;; ++index) {
        wchar_t name[64];
        DWORD size = ARRAYSIZE(name);
        const LSTATUS result =
            ::RegEnumKeyExW(key.Get(), index, name, &size, nullptr, nullptr, nullptr, nullptr);
        if (result == ERROR_MORE_DATA) continue;  // The name is too long for a class.
        if (result != ERROR_SUCCESS) break;
        if (const auto interfaceClass = ParseGuid(name)) classes.push_back(*interfaceClass);
    }
    return classes;
}

std::vector<DeviceInterface> ListInterfaces(const GUID* aClass) {
    std::vector<DeviceInterface> interfaces;
    for (const GUID& interfaceClass :
         aClass != nullptr ? std::vector<GUID>{*aClass} : ListClasses()) {
        VisitInterfaces(interfaceClass,
                        [&](HDEVINFO, SP_DEVICE_INTERFACE_DATA&, std::wstring aPath) {
                            interfaces.push_back({interfaceClass, std::move(aPath)});
                        });
    }
    return interfaces;
}

// Empty when the device has no such property. One text is a list of one.
std::vector<std::wstring> GetTexts(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty) {
    DWORD size = 0;
    ::SetupDiGetDeviceRegistryPropertyW(aSet, &aDevice, aProperty, nullptr, nullptr, 0, &size);
    std::vector<wchar_t> texts(size / sizeof(wchar_t) + 2);
    if (size == 0 || !::SetupDiGetDeviceRegistryPropertyW(aSet, &aDevice, aProperty, nullptr,
                                                          reinterpret_cast<BYTE*>(texts.data()),
                                                          size, nullptr)) {
        return {};
    }
    return SplitTexts(texts.data());
}

DeviceDescription ReadDescription(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    auto device = EmptyData<SP_DEVINFO_DATA>();
    // It has no room for the path, but stores the device all the same.
    ::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, nullptr, 0, nullptr, &device);
    wchar_t instancePath[MAX_DEVICE_ID_LEN] = {};
    ::SetupDiGetDeviceInstanceIdW(aSet, &device, instancePath, ARRAYSIZE(instancePath), nullptr);
    DeviceDescription description{instancePath, {}};
    for (const DWORD property : {SPDRP_LOCATION_INFORMATION, SPDRP_LOCATION_PATHS}) {
        for (std::wstring& text : GetTexts(aSet, device, property)) {
            description.locations.push_back(std::move(text));
        }
    }
    return description;
}

DeviceDescription DescribeDevice(const DeviceInterface& aInterface) {
    const std::wstring wanted = ToLower(aInterface.path);
    std::optional<DeviceDescription> description;
    VisitInterfaces(aInterface.interfaceClass,
                    [&](HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aData, std::wstring aPath) {
                        if (ToLower(std::move(aPath)) == wanted) {
                            description = ReadDescription(aSet, aData);
                        }
                    });
    if (description && !description->instancePath.empty()) return *description;
    throw Error(ErrorKind::SystemFailed,
                "the system has no device for '" + ToUtf8(aInterface.path) + "'");
}

template <typename Function>
Function FindFunction(const char* aName) {
    // It stays loaded: notifications need it until the process ends.
    static const HMODULE manager = ::LoadLibraryW(L"cfgmgr32.dll");
    const FARPROC function = manager == nullptr ? nullptr : ::GetProcAddress(manager, aName);
    Function typed = nullptr;
    static_assert(sizeof typed == sizeof function);
    std::memcpy(&typed, &function, sizeof typed);
    return typed;
}

}  // namespace

DeviceSystem DeviceSystem::Load() {
    using Register =
        CONFIGRET(WINAPI*)(PCM_NOTIFY_FILTER, void*, PCM_NOTIFY_CALLBACK, PHCMNOTIFICATION);
    using Unregister = CONFIGRET(WINAPI*)(HCMNOTIFICATION);
    DeviceSystem system;
    const auto registerNotification = FindFunction<Register>("CM_Register_Notification");
    const auto unregisterNotification = FindFunction<Unregister>("CM_Unregister_Notification");
    if (registerNotification != nullptr && unregisterNotification != nullptr) {
        system.registerNotification = registerNotification;
        system.unregisterNotification = unregisterNotification;
    }
    system.list = ListInterfaces;
    system.describe = DescribeDevice;
    return system;
}

std::wstring ToLower(std::wstring aText) {
    ::CharLowerBuffW(aText.data(), static_cast<DWORD>(aText.size()));
    return aText;
}

}  // namespace QvKit
