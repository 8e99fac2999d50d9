// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Utf8.h"

#include <cstdio>

#include "WindowsApi.h"

namespace Qvctl {
namespace {

std::string Narrow(const std::wstring& aText, unsigned int aCodePage) {
    if (aText.empty()) return std::string();
    const int units = static_cast<int>(aText.size());
    const int size =
        ::WideCharToMultiByte(aCodePage, 0, aText.data(), units, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(aCodePage, 0, aText.data(), units, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::wstring Widen(const std::string& aBytes, unsigned int aCodePage) {
    if (aBytes.empty()) return std::wstring();
    const int bytes = static_cast<int>(aBytes.size());
    const int size = ::MultiByteToWideChar(aCodePage, 0, aBytes.data(), bytes, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(aCodePage, 0, aBytes.data(), bytes, text.data(), size);
    return text;
}

bool IsControl(wchar_t aUnit) {
    return aUnit < 0x20 || (aUnit >= 0x7F && aUnit <= 0x9F)  // C0 and C1
           || (aUnit >= 0x200E && aUnit <= 0x200F)           // direction marks
           || (aUnit >= 0x2028 && aUnit <= 0x202E)           // separators, embeddings
           || (aUnit >= 0x2066 && aUnit <= 0x2069);          // isolates
}

}  // namespace

std::string ToUtf8(std::wstring_view aText) { return Narrow(std::wstring(aText), CP_UTF8); }

std::wstring FromUtf8(std::string_view aText) { return Widen(std::string(aText), CP_UTF8); }

bool IsWellFormed(std::wstring_view aText) { return FromUtf8(ToUtf8(aText)) == aText; }

std::string Utf8Of(const QvUserLib::String& aText) { return ToUtf8(aText.GetUnicode()); }

QvUserLib::String LibraryText(std::string_view aText) {
    return QvUserLib::String(FromUtf8(aText).c_str());
}

std::optional<std::string> ToAnsi(std::string_view aText) {
    const std::wstring text = FromUtf8(aText);
    // Asking the system which characters it replaced does not work for every code page.
    std::string ansi = Narrow(text, CP_ACP);
    if (Widen(ansi, CP_ACP) != text) return std::nullopt;
    return ansi;
}

std::string Printable(std::string_view aText) {
    std::wstring text;
    for (const wchar_t unit : FromUtf8(aText)) {
        if (!IsControl(unit)) {
            text += unit;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(unit));
        text += FromUtf8(escape);
    }
    return ToUtf8(text);
}

}  // namespace Qvctl
