// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceInventory.h"

#include <algorithm>

#include "DevicePresence.h"
#include "QvKit/DeviceInformation.h"
#include "QvKit/Guid.h"
#include "QvKit/Text.h"

namespace QvKit {

std::vector<MachineClass> ListPresentDevices() {
    return ListPresentDevices(DeviceRecords::OfSystem());
}

std::vector<MachineDevice> ListAbsentDevices() {
    return ListAbsentDevices(DeviceRecords::OfSystem());
}

std::vector<MachineClass> ListPresentDevices(const DeviceRecords& aRecords) {
    std::vector<MachineClass> classes;
    for (const KnownInterface& known : aRecords.ListInterfaces(/*aArePresent=*/true)) {
        const std::string id = GuidToText(known.interfaceClass);
        auto found = std::find_if(classes.begin(), classes.end(), [&](const MachineClass& aOther) {
            return aOther.interfaceClass == id;
        });
        if (found == classes.end())
            found = classes.insert(found, MachineClass{id, InterfaceClassName(id), {}});
        found->devices.push_back({ToUtf8(known.instanceId),
                                  DeviceNameOf(aRecords, known.instanceId), ToUtf8(known.path)});
    }
    return classes;
}

std::vector<MachineDevice> ListAbsentDevices(const DeviceRecords& aRecords) {
    const std::vector<KnownInterface> known = aRecords.ListInterfaces(/*aArePresent=*/false);
    std::vector<std::wstring> ids = aRecords.ListDevices();
    std::sort(ids.begin(), ids.end());
    std::vector<MachineDevice> devices;
    for (const std::wstring& id : ids) {
        const bool isPresent = IsPresent(aRecords, id, known).value_or(true);
        // One that has vanished meanwhile is not known any more.
        if (isPresent || aRecords.Find(id).empty()) continue;
        devices.push_back({ToUtf8(id), DeviceNameOf(aRecords, id), std::string()});
    }
    return devices;
}

}  // namespace QvKit
