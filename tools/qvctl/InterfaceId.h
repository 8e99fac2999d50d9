// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Interface classes as the user writes them.

#ifndef QVCTL_INTERFACEID_H
#define QVCTL_INTERFACEID_H

#include <string>

#include "WindowsApi.h"

namespace Qvctl {

// The interface class of the sample driver's devices.
const GUID& SampleInterface();

// Reads the GUID of an option, with or without braces. Throws `QvKit::Error` for wrong usage.
GUID ParseInterface(const std::string& aText, const std::string& aOption = "--interface");

}  // namespace Qvctl

#endif
