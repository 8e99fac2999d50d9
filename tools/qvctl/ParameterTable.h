// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Parameters as a table for the terminal.

#ifndef QVCTL_PARAMETERTABLE_H
#define QVCTL_PARAMETERTABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include "QvUserLib/Parameter.h"

namespace Qvctl {

// `aWithDescriptions` puts each parameter's description below its row.
std::string FormatParameters(const std::vector<QvUserLib::Parameter*>& aParameters,
                             bool aWithDescriptions, std::size_t aWidth);

}  // namespace Qvctl

#endif
