// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceList.h"

#include <charconv>

#include "InterfaceId.h"
#include "LibraryError.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

using QvUserLib::Result;

// The enumerator hands the link's 8-bit characters over in the bytes of UTF-16 units, two in each.
std::string DecodeLink(const QvUserLib::String& aLink) {
    return reinterpret_cast<const char*>(aLink.GetUnicode());
}

Failure NoSuchIndex(const std::string& aIndex, std::size_t aCount) {
    const std::string present = aCount == 1
                                    ? "the only one present is device 0"
                                    : "those present are 0 to " + std::to_string(aCount - 1);
    return Failure(ExitCode::NoSuchDevice, "there is no device " + aIndex + "; " + present);
}

}  // namespace

DeviceChoice ParseDeviceChoice(const std::string& aText) {
    const bool isIndex =
        !aText.empty() && aText.find_first_not_of("0123456789") == std::string::npos;
    const bool isPath = aText.rfind("\\\\?\\", 0) == 0 || aText.rfind("\\\\.\\", 0) == 0;
    if (!isIndex && !isPath) {
        throw Failure(ExitCode::WrongUsage,
                      "--device: '" + aText +
                          "' is neither a number nor a path that begins with \\\\?\\ or \\\\.\\");
    }
    return DeviceChoice{isIndex, aText};
}

Failure NoDevicePresent(const GUID& aInterface) {
    std::string message =
        "no device with the interface " + InterfaceText(aInterface) + " is present";
    if (::IsEqualGUID(aInterface, SampleInterface())) {
        message += "; install the sample driver with \"QvSampleSetup install --devices 2\"";
    }
    return Failure(ExitCode::NoSuchDevice, message);
}

std::vector<Device> ListDevices(const GUID& aInterface) {
    QvUserLib::DeviceEnumerator enumerator;
    const Result opened = enumerator.Enumerate(&aInterface);
    if (opened.IsFailure()) {
        throw Failure(ExitCode::Failed, "the system cannot list its devices", opened.GetCode());
    }

    std::vector<Device> devices;
    QvUserLib::String link;
    for (unsigned int index = 0; enumerator.GetSymLink(index, &link).IsSuccess(); ++index) {
        const std::string bytes = DecodeLink(link);
        devices.push_back(Device{index, bytes, Utf8Of(QvUserLib::String(bytes.c_str()))});
    }
    if (devices.empty()) throw NoDevicePresent(aInterface);
    return devices;
}

Device FindDevice(const GUID& aInterface, const DeviceChoice& aChoice) {
    if (!aChoice.isIndex) {
        const std::optional<std::string> link = ToAnsi(aChoice.text);
        if (!link) {
            throw Failure(ExitCode::NoSuchDevice, "there is no device '" + aChoice.text + "'");
        }
        return Device{std::nullopt, *link, aChoice.text};
    }

    const std::vector<Device> devices = ListDevices(aInterface);
    const char* const end = aChoice.text.data() + aChoice.text.size();
    std::size_t index = 0;
    const std::errc error = std::from_chars(aChoice.text.data(), end, index).ec;
    if (error != std::errc() || index >= devices.size()) {
        throw NoSuchIndex(aChoice.text, devices.size());
    }
    return devices[index];
}

}  // namespace Qvctl
