// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Rows.h"

#include <algorithm>
#include <cstddef>

namespace Qvctl {

void WriteRows(Output& aOut, const std::vector<Row>& aRows) {
    std::size_t width = 0;
    for (const Row& row : aRows) width = std::max(width, row.first.size());
    for (const Row& row : aRows) {
        aOut.WriteLine(row.first + std::string(width - row.first.size() + 2, ' ') + row.second);
    }
}

}  // namespace Qvctl
