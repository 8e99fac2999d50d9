// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Names and what belongs to them, a line each.

#ifndef QVCTL_OUTPUT_ROWS_H
#define QVCTL_OUTPUT_ROWS_H

#include <string>
#include <utility>
#include <vector>

#include "output/Output.h"

namespace Qvctl {

using Row = std::pair<std::string, std::string>;

void WriteRows(Output& aOut, const std::vector<Row>& aRows);

}  // namespace Qvctl

#endif
