// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Whether devices are there.

#ifndef QVKIT_DEVICE_DEVICEPRESENCE_H
#define QVKIT_DEVICE_DEVICEPRESENCE_H

#include <optional>
#include <string>
#include <vector>

#include "DeviceRecords.h"

namespace QvKit {

// Nothing when the system does not tell.
//
// @param aInterfaces  Those of the device, or of more devices.
std::optional<bool> IsPresent(const DeviceRecords& aRecords, const std::wstring& aId,
                              const std::vector<KnownInterface>& aInterfaces);

// What people call a device: its own name or, without one, what it is. Empty when it has neither.
std::string DeviceNameOf(const DeviceRecords& aRecords, const std::wstring& aId);

}  // namespace QvKit

#endif
