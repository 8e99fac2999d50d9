// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceTree.h"

#include <algorithm>
#include <map>
#include <vector>

#include "DeviceSets.h"
#include "DriverService.h"
#include "ProblemCodes.h"
#include "QvKit/DriverInstallation.h"
#include "QvKit/Guid.h"
#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

using QvBaseLib::UniqueDeviceSet;

constexpr wchar_t kRootEnumerator[] = L"ROOT";

// DEVPKEY_Device_DriverInfPath, which mingw-w64's headers only declare.
constexpr DEVPROPKEY kDriverInfPath = {
    {0xa8b865dd, 0x2e3d, 0x4094, {0xad, 0x97, 0xe5, 0x93, 0xa7, 0x0c, 0x75, 0xd6}}, 5};

void Check(BOOL aDone, const char* aWhat) {
    const unsigned long code = ::GetLastError();
    if (!aDone) throw InstallationError(aWhat, code);
}

UniqueDeviceSet Own(HDEVINFO aSet) {
    Check(aSet != INVALID_HANDLE_VALUE, "the system cannot list its devices");
    return UniqueDeviceSet(aSet);
}

std::wstring ServiceOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    return TextIn(ReadProperty(aSet, aDevice, SPDRP_SERVICE));
}

// By instance ids in lower case.
using Interfaces = std::map<std::wstring, std::vector<std::string>>;

// The paths of the interfaces that are switched on.
Interfaces ActiveInterfaces() {
    Interfaces interfaces;
    for (const GUID& one : ListInterfaceClasses()) {
        ForEachPresentInterface(
            one, [&](HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aData, const std::wstring& aPath) {
                if ((aData.Flags & SPINT_ACTIVE) == 0) return;
                SP_DEVINFO_DATA owner = OwnerOf(aSet, aData);
                interfaces[ToLower(InstanceIdOf(aSet, owner))].push_back(ToUtf8(aPath));
            });
    }
    return interfaces;
}

void UseDeviceOf(const std::string& aInstanceId, const UseDevice& aUse) {
    const DWORD error = UseOneDevice(FromUtf8(aInstanceId), aUse);
    if (error != ERROR_SUCCESS) {
        throw SystemError(ErrorKind::NoSuchDevice, "there is no device '" + aInstanceId + "'",
                          error);
    }
}

// What is wrong with the driver of a device that has not started.
std::string ExplainDriver(const std::wstring& aService) {
    if (aService.empty()) return "no driver is installed for it";
    const std::string name = "'" + ToUtf8(aService) + "'";
    const std::optional<DriverService> service = FindDriverService(aService);
    if (!service) return "its driver's service " + name + " is missing";
    std::error_code error;
    if (!std::filesystem::exists(service->file, error))
        return "its driver's file '" + ToUtf8(service->file.wstring()) + "' is missing";
    if (service->isRunning) return "its driver " + name + " runs, but the device has no interface";
    return "its driver " + name + " is not loaded" +
           (service->exitCode == 0 ? "" : " (" + SystemErrorText(service->exitCode) + ")");
}

std::string ExplainProblem(unsigned long aProblem, const std::wstring& aService) {
    if (aProblem == 0) return ExplainDriver(aService);
    return ProblemText(aProblem) + (aService.empty() ? "" : "; " + ExplainDriver(aService));
}

bool HasHardwareId(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, const std::wstring& aId) {
    const std::vector<std::wstring> ids = TextsOf(aSet, aDevice, SPDRP_HARDWAREID);
    return std::any_of(ids.begin(), ids.end(),
                       [&](const std::wstring& aOther) { return IsSameText(aOther, aId); });
}

// Drivers that were installed later have an INF named oemNN.inf. Wine does not tell the name.
bool IsPartOfWindows(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    const std::optional<PropertyData> inf = ReadProperty(aSet, aDevice, kDriverInfPath);
    return inf && !StartsWith(TextIn(inf), L"oem");
}

}  // namespace

Error InstallationError(const std::string& aWhat, unsigned long aCode) {
    const std::string advice = AdviceFor(aCode);
    const std::string reason = SystemErrorText(aCode) + (advice.empty() ? "" : "; " + advice);
    return Error(ErrorKind::SystemFailed, aWhat + ": " + reason, aCode, reason);
}

std::vector<RootDevice> ListRootDevices(const std::string& aHardwareId) {
    const Interfaces interfaces = ActiveInterfaces();
    const std::wstring hardwareId = FromUtf8(aHardwareId);
    std::vector<RootDevice> devices;
    ForEachDevice(kRootEnumerator, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        if (!hardwareId.empty() && !HasHardwareId(aSet, aDevice, hardwareId)) return;
        const std::wstring id = InstanceIdOf(aSet, aDevice);
        const std::wstring service = ServiceOf(aSet, aDevice);
        const NodeStatus status = StatusOf(aDevice).value_or(NodeStatus());
        RootDevice device;
        device.instanceId = ToUtf8(id);
        device.service = ToUtf8(service);
        const auto found = interfaces.find(ToLower(id));
        if (found != interfaces.end()) device.interfaces = found->second;
        // Wine does not tell which devices are started.
        device.isStarted = status.isStarted || !device.interfaces.empty();
        if (!device.isStarted) device.problem = ExplainProblem(status.problem, service);
        devices.push_back(device);
    });
    std::sort(devices.begin(), devices.end(),
              [](const RootDevice& aLeft, const RootDevice& aRight) {
                  return aLeft.instanceId < aRight.instanceId;
              });
    return devices;
}

std::string RegisterDevice(const DriverPackage& aPackage) {
    const std::optional<GUID> parsed = ParseGuid(aPackage.classId);
    if (!parsed) {
        throw Error(ErrorKind::WrongUse,
                    "the INF's ClassGuid '" + aPackage.classId + "' is no GUID");
    }
    const GUID classId = *parsed;
    std::wstring hardwareIds = FromUtf8(aPackage.hardwareId);
    // The hardware id without its enumerator names the device, followed by the next free number.
    const std::wstring name = hardwareIds.substr(hardwareIds.rfind(L'\\') + 1);
    // The list ends with an empty text.
    hardwareIds.append(2, L'\0');

    const UniqueDeviceSet set = Own(::SetupDiCreateDeviceInfoList(&classId, nullptr));
    auto data = EmptyData<SP_DEVINFO_DATA>();
    Check(::SetupDiCreateDeviceInfoW(set.Get(), name.c_str(), &classId,
                                     FromUtf8(aPackage.className).c_str(), nullptr,
                                     DICD_GENERATE_ID, &data),
          "cannot create a device");
    Check(::SetupDiSetDeviceRegistryPropertyW(
              set.Get(), &data, SPDRP_HARDWAREID, reinterpret_cast<const BYTE*>(hardwareIds.data()),
              static_cast<DWORD>(hardwareIds.size() * sizeof(wchar_t))),
          "cannot set a device's hardware id");
    Check(::SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set.Get(), &data),
          "cannot register a device");
    return ToUtf8(InstanceIdOf(set.Get(), data));
}

void CheckRemovable(const std::string& aInstanceId) {
    UseDeviceOf(aInstanceId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        if (!StartsWith(InstanceIdOf(aSet, aDevice), L"ROOT\\")) {
            throw Error(ErrorKind::WrongUse, "'" + aInstanceId + "' is no root-enumerated device");
        }
        if (IsPartOfWindows(aSet, aDevice)) {
            throw Error(ErrorKind::WrongUse,
                        "the driver of '" + aInstanceId + "' is a part of Windows");
        }
    });
}

RemovedDevice RemoveDevice(const std::string& aInstanceId) {
    RemovedDevice removed = {};
    UseDeviceOf(aInstanceId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        removed.service = ToUtf8(ServiceOf(aSet, aDevice));
        Check(::SetupDiCallClassInstaller(DIF_REMOVE, aSet, &aDevice), "cannot remove the device");
        removed.needsRestart = NeedsMachineRestart(aSet, aDevice);
    });
    return removed;
}

bool IsServiceInUse(const std::string& aService) {
    const std::wstring service = FromUtf8(aService);
    bool isInUse = false;
    ForEachDevice(nullptr, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        isInUse = isInUse || IsSameText(ServiceOf(aSet, aDevice), service);
    });
    return isInUse;
}

}  // namespace QvKit
