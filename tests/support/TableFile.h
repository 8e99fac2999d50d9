// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Tables that tests read from files.

#ifndef QVTESTS_TABLEFILE_H
#define QVTESTS_TABLEFILE_H

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace QvTests {

/// The rows of a file whose columns are separated by tabs, without the comments, which begin with
/// #, and the titles, which come first. Fails the test when a row does not have `aColumns` columns.
inline std::vector<std::vector<std::string>> ReadTable(const std::string& aPath,
                                                       std::size_t aColumns) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream file(aPath);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream text(line);
        std::vector<std::string> row;
        for (std::string field; std::getline(text, field, '\t');) row.push_back(field);
        EXPECT_EQ(aColumns, row.size()) << aPath << ": " << line;
        row.resize(aColumns);
        rows.push_back(row);
    }
    if (rows.empty()) {
        ADD_FAILURE() << aPath << " has no rows";
        return rows;
    }
    rows.erase(rows.begin());
    return rows;
}

}  // namespace QvTests

#endif
