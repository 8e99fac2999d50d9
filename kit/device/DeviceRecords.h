// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the kit asks the system for about devices, by their instance IDs. Tests give scripted
// answers.

#ifndef QVKIT_DEVICE_DEVICERECORDS_H
#define QVKIT_DEVICE_DEVICERECORDS_H

#include <optional>
#include <string>
#include <vector>

#include "DeviceSets.h"
#include "QvKit/FileVersion.h"

namespace QvKit {

// An interface that the system knows.
struct KnownInterface {
    GUID interfaceClass;
    std::wstring path;
    std::wstring instanceId;  // Of its device.
    bool isActive;            // Whether programs can open it.
};

// How a restart went.
struct RestartAnswer {
    unsigned long error;       // The system's; 0 when it is done.
    bool needsMachineRestart;  // Whether the device could not be stopped.
};

// A device may vanish between two calls: then the later ones return nothing.
class DeviceRecords {
public:
    virtual ~DeviceRecords() = default;

    // The instance IDs of all devices, present or not. Throws `Error`, kind `SystemFailed`.
    virtual std::vector<std::wstring> ListDevices() const = 0;

    // The interfaces of all classes: those that are present, or all. Throws as above.
    virtual std::vector<KnownInterface> ListInterfaces(bool aArePresent) const = 0;

    // The instance ID as the system spells it; empty when there is no such device, present or not.
    virtual std::wstring Find(const std::wstring& aId) const = 0;

    // The sources of properties: SPDRP_…, DEVPKEY_…, and the registry key of the driver.
    virtual std::optional<PropertyData> ReadOld(const std::wstring& aId, DWORD aProperty) const = 0;
    virtual std::optional<PropertyData> ReadNew(const std::wstring& aId,
                                                const DEVPROPKEY& aKey) const = 0;
    virtual std::optional<PropertyData> ReadDriverValue(const std::wstring& aId,
                                                        const wchar_t* aName) const = 0;

    // Nothing when the device is not present.
    virtual std::optional<NodeStatus> ReadStatus(const std::wstring& aId) const = 0;

    // The instance ID of the device that this one is connected to; empty when there is none.
    virtual std::wstring FindParent(const std::wstring& aId) const = 0;

    // The file of a driver, by its service; empty when it is not known.
    virtual std::wstring FindDriverFile(const std::wstring& aService) const = 0;
    virtual FileVersion ReadVersion(const std::wstring& aFile) const = 0;

    virtual RestartAnswer Restart(const std::wstring& aId) const = 0;

    // Those of the system that this program runs on.
    static const DeviceRecords& OfSystem();
};

}  // namespace QvKit

#endif
