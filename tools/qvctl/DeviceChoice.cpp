// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceChoice.h"

#include <charconv>

#include "InterfaceId.h"
#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

using QvKit::DeviceAddress;
using QvKit::Error;
using QvKit::ErrorKind;

Error NoSuchIndex(const std::string& aIndex, std::size_t aCount) {
    const std::string present = aCount == 1
                                    ? "the only one present is device 0"
                                    : "those present are 0 to " + std::to_string(aCount - 1);
    return Error(ErrorKind::NoSuchDevice, "there is no device " + aIndex + "; " + present);
}

}  // namespace

DeviceChoice ParseDeviceChoice(const std::string& aText) {
    const bool isIndex =
        !aText.empty() && aText.find_first_not_of("0123456789") == std::string::npos;
    const bool isPath = aText.rfind("\\\\?\\", 0) == 0 || aText.rfind("\\\\.\\", 0) == 0;
    if (!isIndex && !isPath) {
        throw WrongUsage("--device: '" + aText +
                         "' is neither a number nor a path that begins with \\\\?\\ or \\\\.\\");
    }
    return DeviceChoice{isIndex, aText};
}

std::vector<DeviceAddress> ListPresentDevices(const GUID& aInterface) {
    std::vector<DeviceAddress> devices = QvKit::ListDevices(aInterface);
    if (devices.empty()) throw NoDevicePresent(aInterface);
    return devices;
}

Error NoDevicePresent(const GUID& aInterface) {
    std::string message =
        "no device with the interface " + InterfaceText(aInterface) + " is present";
    if (::IsEqualGUID(aInterface, SampleInterface())) {
        message += "; install the sample driver with \"qvctl driver install QvSampleDriver.inf\"";
    }
    return Error(ErrorKind::NoSuchDevice, message);
}

ChosenDevice FindDevice(const GUID& aInterface, const DeviceChoice& aChoice) {
    if (!aChoice.isIndex) return ChosenDevice{std::nullopt, QvKit::MakeAddress(aChoice.text)};

    const std::vector<DeviceAddress> devices = ListPresentDevices(aInterface);
    const char* const end = aChoice.text.data() + aChoice.text.size();
    unsigned int index = 0;
    const std::errc error = std::from_chars(aChoice.text.data(), end, index).ec;
    if (error != std::errc() || index >= devices.size()) {
        throw NoSuchIndex(aChoice.text, devices.size());
    }
    return ChosenDevice{index, devices[index]};
}

}  // namespace Qvctl
