// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceChoice.h"

#include <algorithm>
#include <charconv>

#include "InterfaceId.h"
#include "QvKit/Guid.h"
#include "output/Assignment.h"
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

bool IsInstanceId(const std::string& aText) {
    return aText.front() != '\\' && std::count(aText.begin(), aText.end(), '\\') >= 2 &&
           aText.find(':') == std::string::npos;
}

std::size_t FindIndex(const std::vector<DeviceAddress>& aDevices, const std::string& aText) {
    const char* const end = aText.data() + aText.size();
    std::size_t index = 0;
    const std::errc error = std::from_chars(aText.data(), end, index).ec;
    if (error != std::errc() || index >= aDevices.size()) {
        throw NoSuchIndex(aText, aDevices.size());
    }
    return index;
}

std::size_t FindInstance(const std::vector<DeviceAddress>& aDevices, const std::string& aText) {
    const std::optional<std::size_t> index = QvKit::FindByInstanceId(aDevices, aText);
    if (!index) throw Error(ErrorKind::NoSuchDevice, "there is no device '" + aText + "'");
    return *index;
}

std::size_t FindValue(const std::vector<DeviceAddress>& aDevices, const std::string& aText,
                      const QvKit::RequestLimits& aLimits) {
    const Assignment wanted = ParseAssignment(aText);
    const std::vector<std::size_t> found =
        QvKit::FindByParameter(aDevices, wanted.name, wanted.value, aLimits);
    if (found.size() == 1) return found.front();
    throw Error(ErrorKind::NoSuchDevice,
                (found.empty() ? "no device has " : "several devices have ") + ("'" + aText + "'"));
}

std::size_t Find(const std::vector<DeviceAddress>& aDevices, const DeviceChoice& aChoice,
                 const QvKit::RequestLimits& aLimits) {
    switch (aChoice.kind) {
        case DeviceChoice::InstanceId:
            return FindInstance(aDevices, aChoice.text);
        case DeviceChoice::Parameter:
            return FindValue(aDevices, aChoice.text, aLimits);
        default:
            return FindIndex(aDevices, aChoice.text);
    }
}

}  // namespace

DeviceChoice ParseDeviceChoice(const std::string& aText) {
    const bool isIndex =
        !aText.empty() && aText.find_first_not_of("0123456789") == std::string::npos;
    if (isIndex) return DeviceChoice{DeviceChoice::Index, aText};
    if (aText.rfind("\\\\?\\", 0) == 0 || aText.rfind("\\\\.\\", 0) == 0) {
        return DeviceChoice{DeviceChoice::Path, aText};
    }
    if (aText.find('=') != std::string::npos) return DeviceChoice{DeviceChoice::Parameter, aText};
    if (!aText.empty() && IsInstanceId(aText)) return DeviceChoice{DeviceChoice::InstanceId, aText};
    throw WrongUsage(
        "--device: '" + aText +
        "' is neither a number, a path that begins with \\\\?\\ or \\\\.\\, an instance "
        "ID, nor NAME=VALUE");
}

std::vector<DeviceAddress> ListPresentDevices(const GUID& aInterface) {
    std::vector<DeviceAddress> devices = QvKit::ListDevices(aInterface);
    if (devices.empty()) throw NoDevicePresent(aInterface);
    return devices;
}

Error NoDevicePresent(const GUID& aInterface) {
    std::string message =
        "no device with the interface " + QvKit::GuidToText(aInterface) + " is present";
    if (::IsEqualGUID(aInterface, SampleInterface())) {
        message += "; install the sample driver with \"qvctl driver install QvSampleDriver.inf\"";
    }
    return Error(ErrorKind::NoSuchDevice, message);
}

ChosenDevice FindDevice(const GUID& aInterface, const DeviceChoice& aChoice,
                        const QvKit::RequestLimits& aLimits) {
    if (aChoice.kind == DeviceChoice::Path) {
        return ChosenDevice{std::nullopt, QvKit::MakeAddress(aChoice.text)};
    }
    const std::vector<DeviceAddress> devices = ListPresentDevices(aInterface);
    const std::size_t index = Find(devices, aChoice, aLimits);
    return ChosenDevice{static_cast<unsigned int>(index), devices[index]};
}

}  // namespace Qvctl
