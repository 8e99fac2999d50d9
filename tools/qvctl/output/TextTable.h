// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Columns of text that fit a given width.

#ifndef QVCTL_OUTPUT_TEXTTABLE_H
#define QVCTL_OUTPUT_TEXTTABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace Qvctl {

// The text in lines of at most `aWidth` columns, one line at least. Lines are broken at blanks
// only: a longer word has a line of its own.
std::vector<std::string> Wrap(const std::string& aText, std::size_t aWidth);

// Nothing is cut: a cell that is too wide for its column continues on further lines.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> aHeadings);

    // As many cells as there are headings, in UTF-8 without control characters. The note, if it is
    // not empty, follows on lines of its own.
    void AddRow(std::vector<std::string> aCells, std::string aNote = std::string());

    // The table in lines of at most `aWidth` columns of a terminal, or longer where a word would
    // have to be broken.
    std::string Format(std::size_t aWidth) const;

private:
    struct Row {
        std::vector<std::string> cells;
        std::string note;
    };

    std::vector<std::size_t> FitColumns(std::size_t aWidth) const;

    std::vector<Row> rows_;  // The headings first.
};

}  // namespace Qvctl

#endif
