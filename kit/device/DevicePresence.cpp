// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DevicePresence.h"

#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

// DEVPKEY_Device_IsPresent, which mingw-w64's headers only declare.
constexpr DEVPROPKEY kIsPresent = {
    {0x540b947e, 0x8b40, 0x45bc, {0xa8, 0xa2, 0x6a, 0x0b, 0x89, 0x4c, 0xbd, 0xa2}}, 5};

}  // namespace

std::optional<bool> IsPresent(const DeviceRecords& aRecords, const std::wstring& aId,
                              const std::vector<KnownInterface>& aInterfaces) {
    if (const auto told = BooleanIn(aRecords.ReadNew(aId, kIsPresent))) return told;
    const std::optional<NodeStatus> status = aRecords.ReadStatus(aId);
    if (!status || status->isTold) return status.has_value();
    // A device that programs can open is there; one that they could open once has gone.
    std::optional<bool> hasActive;
    for (const KnownInterface& one : aInterfaces) {
        if (IsSameText(one.instanceId, aId)) hasActive = hasActive.value_or(false) || one.isActive;
    }
    return hasActive;
}

std::string DeviceNameOf(const DeviceRecords& aRecords, const std::wstring& aId) {
    const std::wstring name = TextIn(aRecords.ReadOld(aId, SPDRP_FRIENDLYNAME));
    return ToUtf8(name.empty() ? TextIn(aRecords.ReadOld(aId, SPDRP_DEVICEDESC)) : name);
}

}  // namespace QvKit
