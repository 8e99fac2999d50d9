// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Text.h"

#include "WindowsApi.h"

namespace QvKit {
namespace {

// The system gets the sizes of the texts.
// NOLINTBEGIN(bugprone-suspicious-stringview-data-usage)
std::string Narrow(std::wstring_view aText, unsigned int aCodePage) {
    if (aText.empty()) return std::string();
    const int units = static_cast<int>(aText.size());
    const int size =
        ::WideCharToMultiByte(aCodePage, 0, aText.data(), units, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(aCodePage, 0, aText.data(), units, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::wstring Widen(std::string_view aBytes, unsigned int aCodePage) {
    if (aBytes.empty()) return std::wstring();
    const int bytes = static_cast<int>(aBytes.size());
    const int size = ::MultiByteToWideChar(aCodePage, 0, aBytes.data(), bytes, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(aCodePage, 0, aBytes.data(), bytes, text.data(), size);
    return text;
}
// NOLINTEND(bugprone-suspicious-stringview-data-usage)

}  // namespace

std::string ToUtf8(std::wstring_view aText) { return Narrow(aText, CP_UTF8); }

std::string FromLibraryText(const QvUserLib::String& aText) { return ToUtf8(aText.GetUnicode()); }

std::wstring FromUtf8(std::string_view aText) { return Widen(aText, CP_UTF8); }

bool IsWellFormed(std::wstring_view aText) { return FromUtf8(ToUtf8(aText)) == aText; }

QvUserLib::String ToLibraryText(std::string_view aText) {
    return QvUserLib::String(FromUtf8(aText).c_str());
}

std::optional<std::string> ToAnsi(std::string_view aText) {
    const std::wstring text = FromUtf8(aText);
    // The system can say which characters it replaced, but not for every code page.
    std::string ansi = Narrow(text, CP_ACP);
    if (Widen(ansi, CP_ACP) != text) return std::nullopt;
    return ansi;
}

}  // namespace QvKit
