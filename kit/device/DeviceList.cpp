// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceList.h"

#include <cstring>
#include <optional>

#include "QvKit/Device.h"
#include "QvKit/Text.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "UniqueDeviceSet.h"

namespace QvKit {
namespace {

// The enumerator hands the link's 8-bit characters over in the bytes of UTF-16 units, two in each.
std::string DecodeLink(const QvUserLib::String& aLink) {
    return reinterpret_cast<const char*>(aLink.GetUnicode());
}

// Nothing when the system does not tell them.
std::optional<DeviceAddress> PathAndInstance(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface) {
    constexpr DWORD kLongestPath = 32768;
    std::vector<unsigned char> buffer(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) +
                                      kLongestPath * sizeof(wchar_t));
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof *detail;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    wchar_t id[MAX_PATH];
    if (!::SetupDiGetDeviceInterfaceDetailW(aSet, &aInterface, detail,
                                            static_cast<DWORD>(buffer.size()), nullptr, &device) ||
        !::SetupDiGetDeviceInstanceIdW(aSet, &device, id, ARRAYSIZE(id), nullptr)) {
        return std::nullopt;
    }
    return DeviceAddress{std::string(), ToUtf8(detail->DevicePath), /*isListed=*/true, ToUtf8(id)};
}

bool IsSameAscii(const std::string& aLeft, const std::string& aRight) {
    return ::_stricmp(aLeft.c_str(), aRight.c_str()) == 0;
}

void AddInstanceIds(const GUID& aInterface, std::vector<DeviceAddress>& aDevices) {
    const QvBaseLib::UniqueDeviceSet set(::SetupDiGetClassDevsW(
        &aInterface, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    if (!set.IsValid()) return;
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof data;
    for (DWORD index = 0;
         ::SetupDiEnumDeviceInterfaces(set.Get(), nullptr, &aInterface, index, &data); ++index) {
        const std::optional<DeviceAddress> found = PathAndInstance(set.Get(), data);
        for (DeviceAddress& device : aDevices) {
            if (found && IsSameAscii(found->path, device.path)) {
                device.instanceId = found->instanceId;
            }
        }
    }
}

bool HasValue(const DeviceAddress& aDevice, const std::string& aName, const std::string& aValue) {
    try {
        const Snapshot snapshot = Device(aDevice).LoadParameters().GetSnapshot();
        const Setting* const setting = snapshot.Find(aName);
        return setting != nullptr && setting->ToEscapedText(setting->value) == aValue;
    } catch (const Error&) {
        return false;  // Another one may have it.
    }
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
        if (IsSameAscii(aDevices[index].instanceId, aInstanceId)) return index;
    }
    return std::nullopt;
}

std::vector<std::size_t> FindByParameter(const std::vector<DeviceAddress>& aDevices,
                                         const std::string& aName, const std::string& aValue) {
    std::vector<std::size_t> found;
    for (std::size_t index = 0; index < aDevices.size(); ++index) {
        if (HasValue(aDevices[index], aName, aValue)) found.push_back(index);
    }
    return found;
}

std::size_t CountKnownDevices(const GUID& aInterface) {
    const QvBaseLib::UniqueDeviceSet set(
        ::SetupDiGetClassDevsW(&aInterface, nullptr, nullptr, DIGCF_DEVICEINTERFACE));
    if (!set.IsValid()) return 0;
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof data;
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
