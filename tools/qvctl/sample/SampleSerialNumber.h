// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Where the sample driver's devices have their serial numbers.

#ifndef QVCTL_SAMPLE_SAMPLESERIALNUMBER_H
#define QVCTL_SAMPLE_SAMPLESERIALNUMBER_H

#include <optional>
#include <string>

#include "QvKit/Snapshot.h"
#include "WindowsApi.h"

namespace Qvctl {

// Nothing for a device of another class.
std::optional<std::string> SerialNumberOf(const GUID& aInterface, const QvKit::Snapshot& aSnapshot);

}  // namespace Qvctl

#endif
