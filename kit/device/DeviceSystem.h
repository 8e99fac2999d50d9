// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the kit asks the system for to follow devices. Tests give it scripted answers.

#ifndef QVKIT_DEVICE_DEVICESYSTEM_H
#define QVKIT_DEVICE_DEVICESYSTEM_H

#include <functional>
#include <string>
#include <vector>

#include "ConfigurationManager.h"

namespace QvKit {

struct DeviceInterface {
    GUID interfaceClass;
    std::wstring path;  // The system spells it differently at different times; see `ToLower`.
};

// Where a device is, and what the system calls it.
struct DeviceDescription {
    std::wstring instancePath;
    std::vector<std::wstring> locations;
};

struct DeviceSystem {
    // Both are empty where the system lacks them.
    std::function<CONFIGRET(PCM_NOTIFY_FILTER, void*, PCM_NOTIFY_CALLBACK, PHCMNOTIFICATION)>
        registerNotification;
    std::function<CONFIGRET(HCMNOTIFICATION)> unregisterNotification;

    // The interfaces of a class that are present, or of all classes for null. Throws `Error`.
    std::function<std::vector<DeviceInterface>(const GUID*)> list;

    // The device that has an interface. Throws `Error`.
    std::function<DeviceDescription(const DeviceInterface&)> describe;

    // The functions of the system that this program runs on.
    static DeviceSystem Load();
};

}  // namespace QvKit

#endif
