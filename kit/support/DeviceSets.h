// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What SetupAPI's sets of devices and interfaces tell. (The configuration manager's lists do not
// work everywhere.)

#ifndef QVKIT_SUPPORT_DEVICESETS_H
#define QVKIT_SUPPORT_DEVICESETS_H

#include <functional>
#include <string>
#include <vector>

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

// The device that has an interface.
SP_DEVINFO_DATA OwnerOf(HDEVINFO aSet, SP_DEVICE_INTERFACE_DATA& aInterface);

// Empty when the system does not tell it.
std::wstring InstanceIdOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice);

// A property of texts, such as SPDRP_HARDWAREID; one text is a list of one. Empty when the device
// does not have it.
std::vector<std::wstring> TextsOf(HDEVINFO aSet, SP_DEVINFO_DATA& aDevice, DWORD aProperty);

}  // namespace QvKit

#endif
