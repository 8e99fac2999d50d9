// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/TextTable.h"

#include <algorithm>
#include <numeric>
#include <sstream>
#include <utility>

namespace Qvctl {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNoteIndent = 4;

struct Range {
    char32_t first;
    char32_t last;
};

// What terminals draw over the character before it.
constexpr Range kZeroWidth[] = {
    {0x300, 0x36F}, {0x200B, 0x200D}, {0x20D0, 0x20F0}, {0xFE00, 0xFE0F}};

// What terminals draw two columns wide.
constexpr Range kDoubleWidth[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                                  {0xF900, 0xFAFF}, {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                                  {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <std::size_t Count>
bool IsIn(const Range (&aRanges)[Count], char32_t aCharacter) {
    return std::any_of(std::begin(aRanges), std::end(aRanges), [=](const Range& aRange) {
        return aCharacter >= aRange.first && aCharacter <= aRange.last;
    });
}

std::size_t ColumnsOf(char32_t aCharacter) {
    if (IsIn(kZeroWidth, aCharacter)) return 0;
    return IsIn(kDoubleWidth, aCharacter) ? 2 : 1;
}

// The character at `aPosition` of a well-formed text. Moves the position past it.
char32_t NextCharacter(const std::string& aText, std::size_t& aPosition) {
    const unsigned char lead = static_cast<unsigned char>(aText[aPosition++]);
    char32_t character = lead < 0x80 ? lead : lead & (lead < 0xE0 ? 0x1F : lead < 0xF0 ? 0xF : 0x7);
    while (aPosition < aText.size() &&
           (static_cast<unsigned char>(aText[aPosition]) & 0xC0) == 0x80) {
        character = character << 6 | (static_cast<unsigned char>(aText[aPosition++]) & 0x3F);
    }
    return character;
}

std::size_t WidthOf(const std::string& aText) {
    std::size_t width = 0;
    for (std::size_t position = 0; position < aText.size();) {
        width += ColumnsOf(NextCharacter(aText, position));
    }
    return width;
}

std::size_t LongestWord(const std::string& aText) {
    std::size_t longest = 0;
    std::istringstream words(aText);
    for (std::string word; words >> word;) longest = std::max(longest, WidthOf(word));
    return longest;
}

// Makes the widest column narrower again and again, so that narrow ones stay whole. None gets
// narrower than its least width.
void Narrow(std::vector<std::size_t>& aWidths, const std::vector<std::size_t>& aLeast,
            std::size_t aTotal) {
    std::size_t total = std::accumulate(aWidths.begin(), aWidths.end(), std::size_t{0});
    while (total > aTotal) {
        std::size_t* widest = nullptr;
        for (std::size_t column = 0; column < aWidths.size(); ++column) {
            if (aWidths[column] <= aLeast[column]) continue;
            if (widest == nullptr || aWidths[column] >= *widest) widest = &aWidths[column];
        }
        if (widest == nullptr) return;
        --*widest;
        --total;
    }
}

void AppendLine(std::string& aOut, std::string aLine) {
    aLine.erase(aLine.find_last_not_of(' ') + 1);
    aOut += aLine + '\n';
}

void AppendCells(std::string& aOut, const std::vector<std::string>& aCells,
                 const std::vector<std::size_t>& aWidths) {
    std::vector<std::vector<std::string>> wrapped;
    std::size_t height = 0;
    for (std::size_t column = 0; column < aCells.size(); ++column) {
        wrapped.push_back(Wrap(aCells[column], aWidths[column]));
        height = std::max(height, wrapped.back().size());
    }
    for (std::size_t index = 0; index < height; ++index) {
        std::string line;
        for (std::size_t column = 0; column < wrapped.size(); ++column) {
            const std::string part =
                index < wrapped[column].size() ? wrapped[column][index] : std::string();
            const std::size_t width = WidthOf(part);
            const std::size_t padding = aWidths[column] > width ? aWidths[column] - width : 0;
            line += part + std::string(padding + kGap, ' ');
        }
        AppendLine(aOut, line);
    }
}

}  // namespace

std::vector<std::string> Wrap(const std::string& aText, std::size_t aWidth) {
    std::vector<std::string> lines(1);
    std::istringstream words(aText);
    for (std::string word; std::getline(words, word, ' ');) {
        std::string& line = lines.back();
        if (line.empty()) {
            line = word;
        } else if (WidthOf(line) + 1 + WidthOf(word) <= aWidth) {
            line += ' ' + word;
        } else {
            lines.push_back(word);
        }
    }
    return lines;
}

TextTable::TextTable(std::vector<std::string> aHeadings) {
    rows_.push_back(Row{std::move(aHeadings), std::string()});
}

void TextTable::AddRow(std::vector<std::string> aCells, std::string aNote) {
    rows_.push_back(Row{std::move(aCells), std::move(aNote)});
}

std::string TextTable::Format(std::size_t aWidth) const {
    const std::vector<std::size_t> widths = FitColumns(aWidth);
    const std::size_t noteWidth = std::max(aWidth, kNoteIndent) - kNoteIndent;
    std::string out;
    for (const Row& row : rows_) {
        AppendCells(out, row.cells, widths);
        if (row.note.empty()) continue;
        for (const std::string& line : Wrap(row.note, noteWidth)) {
            AppendLine(out, std::string(kNoteIndent, ' ') + line);
        }
    }
    return out;
}

// Each column is as wide as its widest cell. When they do not fit together, columns are made as
// narrow as their longest word.
std::vector<std::size_t> TextTable::FitColumns(std::size_t aWidth) const {
    const std::size_t columns = rows_.front().cells.size();
    std::vector<std::size_t> widths(columns, 0);
    std::vector<std::size_t> words(columns, 0);
    for (const Row& row : rows_) {
        for (std::size_t column = 0; column < columns; ++column) {
            widths[column] = std::max(widths[column], WidthOf(row.cells[column]));
            words[column] = std::max(words[column], LongestWord(row.cells[column]));
        }
    }
    const std::size_t gaps = kGap * (columns - 1);
    Narrow(widths, words, aWidth > gaps ? aWidth - gaps : 0);
    return widths;
}

}  // namespace Qvctl
