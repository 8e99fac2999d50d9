// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Settings as a table for the terminal.

#ifndef QVCTL_OUTPUT_SETTINGTABLE_H
#define QVCTL_OUTPUT_SETTINGTABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include "QvKit/Setting.h"

namespace Qvctl {

// The attributes that a user has to know of, in words: "read-only", "volatile" and so on.
std::vector<std::string> GetMarks(const QvKit::Setting& aSetting);

struct TableOptions {
    bool withDescriptions;  // Each below its row.
    bool withIds;
    bool isHexadecimal;  // Integers, without their units.
};

std::string FormatSettings(std::vector<QvKit::Setting> aSettings, const TableOptions& aOptions,
                           std::size_t aWidth);

}  // namespace Qvctl

#endif
