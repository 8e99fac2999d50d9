// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Printable.h"

#include <cstdio>

#include "QvKit/Text.h"

namespace Qvctl {
namespace {

bool IsControl(wchar_t aUnit) {
    return aUnit < 0x20 || (aUnit >= 0x7F && aUnit <= 0x9F)  // C0 and C1
           || (aUnit >= 0x200E && aUnit <= 0x200F)           // direction marks
           || (aUnit >= 0x2028 && aUnit <= 0x202E)           // separators, embeddings
           || (aUnit >= 0x2066 && aUnit <= 0x2069);          // isolates
}

}  // namespace

std::string Printable(std::string_view aText) {
    std::wstring text;
    for (const wchar_t unit : QvKit::FromUtf8(aText)) {
        if (!IsControl(unit)) {
            text += unit;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(unit));
        text += QvKit::FromUtf8(escape);
    }
    return QvKit::ToUtf8(text);
}

}  // namespace Qvctl
