// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceRecords.h"

#include <algorithm>
#include <utility>

#include "DriverService.h"
#include "QvKit/Text.h"

// After windows.h, which it needs.
#include <cfgmgr32.h>

namespace QvKit {
namespace {

// Whether it has the form ENUMERATOR\DEVICE\INSTANCE. Wine takes other texts for devices as well.
bool IsInstanceId(const std::wstring& aId) {
    const bool hasThreeParts = std::count(aId.begin(), aId.end(), L'\\') == 2;
    return hasThreeParts && aId.size() < MAX_DEVICE_ID_LEN && aId.front() != L'\\' &&
           aId.back() != L'\\' && aId.find(L"\\\\") == std::wstring::npos &&
           aId.find(L'\0') == std::wstring::npos;
}

DWORD CallRestart(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
    SP_PROPCHANGE_PARAMS change = {};
    change.ClassInstallHeader = EmptyData<SP_CLASSINSTALL_HEADER>();
    change.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    change.StateChange = DICS_PROPCHANGE;
    change.Scope = DICS_FLAG_GLOBAL;
    // Wine fails without a reason.
    ::SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    const BOOL done = ::SetupDiSetClassInstallParamsW(aSet, &aDevice, &change.ClassInstallHeader,
                                                      sizeof change) &&
                      ::SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, aSet, &aDevice);
    const DWORD error = ::GetLastError();
    return done ? ERROR_SUCCESS : error;
}

// What a function returns for the device; nothing when there is no such device.
template <typename Result, typename Function>
Result Ask(const std::wstring& aId, const Function& aFunction) {
    Result result;
    if (!IsInstanceId(aId)) return result;
    (void)UseOneDevice(
        aId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) { result = aFunction(aSet, aDevice); });
    return result;
}

class SystemRecords final : public DeviceRecords {
public:
    std::vector<std::wstring> ListDevices() const override;
    std::vector<KnownInterface> ListInterfaces(bool aArePresent) const override;
    std::wstring Find(const std::wstring& aId) const override;
    std::optional<PropertyData> ReadOld(const std::wstring& aId, DWORD aProperty) const override;
    std::optional<PropertyData> ReadNew(const std::wstring& aId,
                                        const DEVPROPKEY& aKey) const override;
    std::optional<PropertyData> ReadDriverValue(const std::wstring& aId,
                                                const wchar_t* aName) const override;
    std::optional<NodeStatus> ReadStatus(const std::wstring& aId) const override;
    std::wstring FindParent(const std::wstring& aId) const override;
    std::wstring FindDriverFile(const std::wstring& aService) const override;
    FileVersion ReadVersion(const std::wstring& aFile) const override;
    RestartAnswer Restart(const std::wstring& aId) const override;
};

std::vector<std::wstring> SystemRecords::ListDevices() const {
    std::vector<std::wstring> ids;
    ForEachDevice(nullptr, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        std::wstring id = InstanceIdOf(aSet, aDevice);
        if (!id.empty()) ids.push_back(std::move(id));
    });
    return ids;
}

std::vector<KnownInterface> SystemRecords::ListInterfaces(bool aArePresent) const {
    std::vector<KnownInterface> interfaces;
    const auto list = aArePresent ? ForEachPresentInterface : ForEachKnownInterface;
    for (const GUID& one : ListInterfaceClasses()) {
        list(one, [&](HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aData, const std::wstring& aPath) {
            SP_DEVINFO_DATA owner = OwnerOf(aSet, aData);
            interfaces.push_back(
                {one, aPath, InstanceIdOf(aSet, owner), (aData.Flags & SPINT_ACTIVE) != 0});
        });
    }
    return interfaces;
}

std::wstring SystemRecords::Find(const std::wstring& aId) const {
    return Ask<std::wstring>(aId, InstanceIdOf);
}

std::optional<PropertyData> SystemRecords::ReadOld(const std::wstring& aId, DWORD aProperty) const {
    return Ask<std::optional<PropertyData>>(aId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        return ReadProperty(aSet, aDevice, aProperty);
    });
}

std::optional<PropertyData> SystemRecords::ReadNew(const std::wstring& aId,
                                                   const DEVPROPKEY& aKey) const {
    return Ask<std::optional<PropertyData>>(aId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        return ReadProperty(aSet, aDevice, aKey);
    });
}

std::optional<PropertyData> SystemRecords::ReadDriverValue(const std::wstring& aId,
                                                           const wchar_t* aName) const {
    return Ask<std::optional<PropertyData>>(aId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        return QvKit::ReadDriverValue(aSet, aDevice, aName);
    });
}

std::optional<NodeStatus> SystemRecords::ReadStatus(const std::wstring& aId) const {
    return Ask<std::optional<NodeStatus>>(
        aId, [](HDEVINFO, SP_DEVINFO_DATA& aDevice) { return StatusOf(aDevice); });
}

std::wstring SystemRecords::FindParent(const std::wstring& aId) const {
    return Ask<std::wstring>(aId, [](HDEVINFO, SP_DEVINFO_DATA& aDevice) {
        DEVINST parent = 0;
        wchar_t id[MAX_DEVICE_ID_LEN + 1] = {};
        const bool isKnown = ::CM_Get_Parent(&parent, aDevice.DevInst, 0) == CR_SUCCESS &&
                             ::CM_Get_Device_IDW(parent, id, MAX_DEVICE_ID_LEN, 0) == CR_SUCCESS;
        return isKnown ? std::wstring(id) : std::wstring();
    });
}

std::wstring SystemRecords::FindDriverFile(const std::wstring& aService) const {
    return QvKit::FindDriverFile(aService).wstring();
}

FileVersion SystemRecords::ReadVersion(const std::wstring& aFile) const {
    return ReadFileVersion(ToUtf8(aFile));
}

RestartAnswer SystemRecords::Restart(const std::wstring& aId) const {
    RestartAnswer answer = {};
    const DWORD error = UseOneDevice(aId, [&](HDEVINFO aSet, SP_DEVINFO_DATA& aDevice) {
        answer.error = CallRestart(aSet, aDevice);
        answer.needsMachineRestart = NeedsMachineRestart(aSet, aDevice);
    });
    if (error != ERROR_SUCCESS) answer.error = error;
    return answer;
}

}  // namespace

const DeviceRecords& DeviceRecords::OfSystem() {
    static const SystemRecords records;
    return records;
}

}  // namespace QvKit
