// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSystem.h"

#include <cstring>
#include <optional>
#include <utility>

#include "DeviceSets.h"
#include "QvKit/Error.h"
#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

std::vector<DeviceInterface> ListInterfaces(const GUID* aClass) {
    std::vector<DeviceInterface> interfaces;
    for (const GUID& one :
         aClass != nullptr ? std::vector<GUID>{*aClass} : ListInterfaceClasses()) {
        ForEachPresentInterface(
            one, [&](HDEVINFO, SP_DEVICE_INTERFACE_DATA&, const std::wstring& aPath) {
                interfaces.push_back({one, aPath});
            });
    }
    return interfaces;
}

DeviceDescription ReadDescription(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    SP_DEVINFO_DATA device = OwnerOf(aSet, aInterface);
    DeviceDescription description{InstanceIdOf(aSet, device), {}};
    for (const DWORD property : {SPDRP_LOCATION_INFORMATION, SPDRP_LOCATION_PATHS}) {
        for (std::wstring& text : TextsOf(aSet, device, property)) {
            description.locations.push_back(std::move(text));
        }
    }
    return description;
}

DeviceDescription DescribeDevice(const DeviceInterface& aInterface) {
    std::optional<DeviceDescription> description;
    ForEachPresentInterface(
        aInterface.interfaceClass,
        [&](HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aData, const std::wstring& aPath) {
            if (IsSameText(aPath, aInterface.path)) description = ReadDescription(aSet, aData);
        });
    if (description && !description->instancePath.empty()) return *description;
    throw Error(ErrorKind::SystemFailed,
                "the system has no device for '" + ToUtf8(aInterface.path) + "'");
}

// Null when this Windows has no such function.
FARPROC FindAddress(const char* aName) {
    // It stays loaded: notifications need it until the process ends.
    static const HMODULE manager = ::LoadLibraryW(L"cfgmgr32.dll");
    return manager == nullptr ? nullptr : ::GetProcAddress(manager, aName);
}

template <typename Function>
Function FindFunction(const char* aName) {
    const FARPROC function = FindAddress(aName);
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

}  // namespace QvKit
