// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What SetupAPI's sets of devices and interfaces tell. (The configuration manager's lists do not
// work everywhere.)

#ifndef QVKIT_SUPPORT_DEVICESETS_H
#define QVKIT_SUPPORT_DEVICESETS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "PropertyData.h"
#include "UniqueDeviceSet.h"

namespace QvKit {

template <typename Data>
Data EmptyData() {
    Data data = {};
    data.cbSize = sizeof data;
    return data;
}

// The interface classes of this machine. Throws `Error`, kind `SystemFailed`.
std::vector<GUID> ListInterfaceClasses();

// Gets the set, an interface in it, and its path.
using UseInterface = std::function<void(HDEVINFO, SP_DEVICE_INTERFACE_DATA&, const std::wstring&)>;

// The interfaces of a class that are present. Throws `Error`, kind `SystemFailed`.
void ForEachPresentInterface(const GUID& aClass, const UseInterface& aUse);

// Those that the system knows, whether their devices are there or not. Throws as above.
void ForEachKnownInterface(const GUID& aClass, const UseInterface& aUse);

using UseDevice = std::function<void(HDEVINFO, SP_DEVINFO_DATA&)>;

// The devices that the system knows, present or not. Throws `Error`, kind `SystemFailed`.
//
// @param aEnumerator  Null for the devices of all.
void ForEachDevice(const wchar_t* aEnumerator, const UseDevice& aUse);

// The device with this instance ID, present or not. Returns the system's error, which is
// ERROR_SUCCESS if there is one. Throws `Error`, kind `SystemFailed`.
DWORD UseOneDevice(const std::wstring& aInstanceId, const UseDevice& aUse);

// The device that has an interface.
SP_DEVINFO_DATA OwnerOf(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface);

// Throws `Error`, kind `SystemFailed`.
std::wstring InstanceIdOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice);

// A property such as SPDRP_HARDWAREID or DEVPKEY_Device_Parent, or a value of the registry key of
// the device's driver. Nothing when the device does not have it, or it is larger than any real one.
std::optional<PropertyData> ReadProperty(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty);
std::optional<PropertyData> ReadProperty(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice,
                                         const DEVPROPKEY& aKey);
std::optional<PropertyData> ReadDriverValue(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice,
                                            const wchar_t* aName);

// The texts of a property such as SPDRP_HARDWAREID; one text is a list of one. Empty when the
// device does not have it.
std::vector<std::wstring> TextsOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty);

struct NodeStatus {
    bool isTold = false;  // Wine does not tell the rest.
    bool isStarted = false;
    unsigned long problem = 0;
};

// Nothing when the device is not present.
std::optional<NodeStatus> StatusOf(const SP_DEVINFO_DATA& aDevice);

// Whether what was done with a device takes effect only when the machine is restarted.
bool NeedsMachineRestart(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice);

}  // namespace QvKit

#endif
