// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceList.h"

#include "DeviceSets.h"
#include "OpenDevice.h"
#include "QvKit/Text.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

// The enumerator hands the link's 8-bit characters over in the bytes of UTF-16 units, two in each.
std::string DecodeLink(const QvUserLib::String& aLink) {
    return reinterpret_cast<const char*>(aLink.GetUnicode());
}

void AddInstanceIds(const GUID& aInterface, std::vector<DeviceAddress>& aDevices) {
    ForEachPresentInterface(
        aInterface, [&](HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aData, const std::wstring& aPath) {
            for (DeviceAddress& device : aDevices) {
                if (!IsSameText(aPath, FromUtf8(device.path))) continue;
                SP_DEVINFO_DATA owner = OwnerOf(aSet, aData);
                device.instanceId = ToUtf8(InstanceIdOf(aSet, owner));
            }
        });
}

}  // namespace

std::vector<DeviceAddress> ListDevices(const GUID& aInterface) {
    QvUserLib::DeviceEnumerator enumerator;
    const QvUserLib::Result opened = enumerator.Enumerate(&aInterface);
    if (opened.IsFailure()) {
        throw Error(ErrorKind::SystemFailed, "the system cannot list its devices",
                    opened.GetCode());
    }
    std::vector<DeviceAddress> devices;
    QvUserLib::String link;
    for (unsigned int index = 0; enumerator.GetSymLink(index, &link).IsSuccess(); ++index) {
        const std::string bytes = DecodeLink(link);
        devices.push_back(DeviceAddress{bytes, FromLibraryText(QvUserLib::String(bytes.c_str())),
                                        /*isListed=*/true});
    }
    AddInstanceIds(aInterface, devices);
    return devices;
}

std::optional<std::size_t> FindByInstanceId(const std::vector<DeviceAddress>& aDevices,
                                            const std::string& aInstanceId) {
    for (std::size_t index = 0; index < aDevices.size(); ++index) {
        if (IsSameText(FromUtf8(aDevices[index].instanceId), FromUtf8(aInstanceId))) return index;
    }
    return std::nullopt;
}

std::vector<std::size_t> FindByParameter(const std::vector<DeviceAddress>& aDevices,
                                         const std::string& aName, const std::string& aValue,
                                         const RequestLimits& aLimits) {
    std::vector<std::size_t> found;
    std::optional<Error> timeout;
    for (std::size_t index = 0; index < aDevices.size(); ++index) {
        try {
            const std::optional<Setting> setting = ReadSetting(aDevices[index], aName, aLimits);
            if (setting && setting->ToEscapedText(setting->value) == aValue) found.push_back(index);
        } catch (const Error& error) {
            // Another one may have it.
            if (error.GetKind() == ErrorKind::Cancelled) throw;
            if (error.GetKind() == ErrorKind::TimedOut) timeout = error;
        }
    }
    if (found.empty() && timeout) throw Error(*timeout);
    return found;
}

std::size_t CountKnownDevices(const GUID& aInterface) {
    const QvBaseLib::UniqueDeviceSet set(
        ::SetupDiGetClassDevsW(&aInterface, nullptr, nullptr, DIGCF_DEVICEINTERFACE));
    if (!set.IsValid()) return 0;
    auto data = EmptyData<SP_DEVICE_INTERFACE_DATA>();
    DWORD count = 0;
    while (::SetupDiEnumDeviceInterfaces(set.Get(), nullptr, &aInterface, count, &data)) ++count;
    return count;
}

DeviceAddress MakeAddress(const std::string& aPath) {
    const std::optional<std::string> link = ToAnsi(aPath);
    if (!link) throw Error(ErrorKind::NoSuchDevice, "there is no device '" + aPath + "'");
    return DeviceAddress{*link, aPath, /*isListed=*/false};
}

}  // namespace QvKit
