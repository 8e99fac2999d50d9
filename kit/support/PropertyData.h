// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Properties of devices as the system stores them. Drivers and installers write them, so nothing of
// their form is certain.

#ifndef QVKIT_SUPPORT_PROPERTYDATA_H
#define QVKIT_SUPPORT_PROPERTYDATA_H

#include <optional>
#include <string>
#include <vector>

#include "WindowsApi.h"

// After windows.h, which it needs.
#include <devpropdef.h>

namespace QvKit {

struct PropertyData {
    DEVPROPTYPE type;  // Of values of the registry, the type that comes nearest.
    std::vector<unsigned char> bytes;
};

DEVPROPTYPE FromRegistryType(DWORD aType);

// What data holds. Each is empty when there is no data, or data of another type or size.

// The texts of a list; one text is a list of one. A list ends at an empty text or with the data, a
// text also where its terminator is missing.
std::vector<std::wstring> TextsIn(const std::optional<PropertyData>& aData);

// The first of them; empty when there is none.
std::wstring TextIn(const std::optional<PropertyData>& aData);

std::optional<bool> BooleanIn(const std::optional<PropertyData>& aData);
std::optional<unsigned long> NumberIn(const std::optional<PropertyData>& aData);

// The day of a time, as in "2026-01-31".
std::string DateIn(const std::optional<PropertyData>& aData);

}  // namespace QvKit

#endif
