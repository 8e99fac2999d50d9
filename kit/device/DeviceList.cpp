// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceList.h"

#include <optional>

#include "QvKit/Text.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "UniqueDeviceSet.h"

namespace QvKit {
namespace {

// The enumerator hands the link's 8-bit characters over in the bytes of UTF-16 units, two in each.
std::string DecodeLink(const QvUserLib::String& aLink) {
    return reinterpret_cast<const char*>(aLink.GetUnicode());
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
    return devices;
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
