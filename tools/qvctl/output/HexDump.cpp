// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/HexDump.h"

#include <cstddef>
#include <cstdio>

namespace Qvctl {
namespace {

constexpr std::size_t kBytesOfALine = 16;

void AppendHex(std::string& aText, unsigned char aByte) {
    constexpr char kDigits[] = "0123456789abcdef";
    aText += kDigits[aByte >> 4];
    aText += kDigits[aByte & 15];
}

char ToPrintable(unsigned char aByte) {
    return aByte >= ' ' && aByte <= '~' ? static_cast<char>(aByte) : '.';
}

void AppendLine(std::string& aText, const std::vector<unsigned char>& aBytes, std::size_t aOffset) {
    char offset[16];
    std::snprintf(offset, sizeof offset, "%08zx ", aOffset);
    aText += offset;
    std::string characters;
    for (std::size_t index = 0; index < kBytesOfALine; ++index) {
        aText += index == kBytesOfALine / 2 ? "  " : " ";
        if (aOffset + index < aBytes.size()) {
            AppendHex(aText, aBytes[aOffset + index]);
            characters += ToPrintable(aBytes[aOffset + index]);
        } else {
            aText += "  ";
        }
    }
    aText += "  |" + characters + "|\n";
}

}  // namespace

std::string HexDump(const std::vector<unsigned char>& aBytes) {
    std::string text;
    for (std::size_t offset = 0; offset < aBytes.size(); offset += kBytesOfALine) {
        AppendLine(text, aBytes, offset);
    }
    return text;
}

std::string ToHex(const std::vector<unsigned char>& aBytes) {
    std::string text;
    text.reserve(2 * aBytes.size());
    for (const unsigned char byte : aBytes) AppendHex(text, byte);
    return text;
}

}  // namespace Qvctl
