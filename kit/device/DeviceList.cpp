// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceList.h"

#include "DeviceSets.h"
#include "OpenDevice.h"
#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {

DeviceAddress MakeListedAddress(const std::wstring& aPath) {
    // A path with characters that the code page lacks has a link that does not open.
    return DeviceAddress{QvUserLib::String(aPath.c_str()).GetAscii(), ToUtf8(aPath),
                         /*isListed=*/true};
}

std::vector<DeviceAddress> ListDevices(const GUID& aInterface) {
    std::vector<DeviceAddress> devices;
    ForEachPresentInterface(
        aInterface, [&](HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aData, const std::wstring& aPath) {
            SP_DEVINFO_DATA owner = OwnerOf(aSet, aData);
            devices.push_back(MakeListedAddress(aPath));
            devices.back().instanceId = ToUtf8(InstanceIdOf(aSet, owner));
        });
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
    std::size_t count = 0;
    try {
        ForEachKnownInterface(
            aInterface, [&](HDEVINFO, SP_DEVICE_INTERFACE_DATA&, const std::wstring&) { ++count; });
    } catch (const Error&) {
        return 0;
    }
    return count;
}

DeviceAddress MakeAddress(const std::string& aPath) {
    const std::optional<std::string> link = ToAnsi(aPath);
    if (!link) throw Error(ErrorKind::NoSuchDevice, "there is no device '" + aPath + "'");
    return DeviceAddress{*link, aPath, /*isListed=*/false};
}

}  // namespace QvKit
