// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Text.h"

#include "QvKit/Error.h"
#include "WindowsApi.h"

namespace QvKit {
namespace {

// What a conversion of some text has returned; nothing comes of none.
std::size_t CheckConversion(int aUnits) {
    const DWORD error = ::GetLastError();
    if (aUnits > 0) return static_cast<std::size_t>(aUnits);
    throw Error(ErrorKind::SystemFailed, "the system cannot convert a text", error);
}

// The system gets the sizes of the texts.
// NOLINTBEGIN(bugprone-suspicious-stringview-data-usage)
std::string Narrow(std::wstring_view aText, unsigned int aCodePage) {
    if (aText.empty()) return std::string();
    const int units = static_cast<int>(aText.size());
    const int size =
        ::WideCharToMultiByte(aCodePage, 0, aText.data(), units, nullptr, 0, nullptr, nullptr);
    std::string bytes(CheckConversion(size), '\0');
    (void)CheckConversion(::WideCharToMultiByte(aCodePage, 0, aText.data(), units, bytes.data(),
                                                size, nullptr, nullptr));
    return bytes;
}

std::wstring Widen(std::string_view aBytes, unsigned int aCodePage) {
    if (aBytes.empty()) return std::wstring();
    const int bytes = static_cast<int>(aBytes.size());
    const int size = ::MultiByteToWideChar(aCodePage, 0, aBytes.data(), bytes, nullptr, 0);
    std::wstring text(CheckConversion(size), L'\0');
    (void)CheckConversion(
        ::MultiByteToWideChar(aCodePage, 0, aBytes.data(), bytes, text.data(), size));
    return text;
}
// NOLINTEND(bugprone-suspicious-stringview-data-usage)

constexpr std::size_t kEscapeUnits = 6;

bool IsHigh(wchar_t aUnit) { return aUnit >= 0xD800 && aUnit <= 0xDBFF; }
bool IsLow(wchar_t aUnit) { return aUnit >= 0xDC00 && aUnit <= 0xDFFF; }

// Moves the cursor, changes the terminal or reorders the line.
bool IsControl(wchar_t aUnit) {
    return aUnit < 0x20 || (aUnit >= 0x7F && aUnit <= 0x9F)  // C0 and C1
           || (aUnit >= 0x200E && aUnit <= 0x200F)           // direction marks
           || (aUnit >= 0x2028 && aUnit <= 0x202E)           // separators, embeddings
           || (aUnit >= 0x2066 && aUnit <= 0x2069);          // isolates
}

// The value of a hexadecimal digit; nothing for another character.
std::optional<unsigned int> DigitOf(wchar_t aUnit) {
    if (aUnit >= L'0' && aUnit <= L'9') return aUnit - L'0';
    if (aUnit >= L'a' && aUnit <= L'f') return aUnit - L'a' + 10;
    if (aUnit >= L'A' && aUnit <= L'F') return aUnit - L'A' + 10;
    return std::nullopt;
}

// The unit that the escape at the text's beginning stands for; nothing when there is no escape.
std::optional<wchar_t> EscapedUnit(std::wstring_view aText) {
    if (aText.size() < kEscapeUnits || aText[0] != L'\\' || aText[1] != L'u') return std::nullopt;
    unsigned int unit = 0;
    for (const wchar_t digit : aText.substr(2, 4)) {
        const std::optional<unsigned int> value = DigitOf(digit);
        if (!value) return std::nullopt;
        unit = unit * 16 + *value;
    }
    return static_cast<wchar_t>(unit);
}

std::wstring EscapeFor(wchar_t aUnit) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring escape = L"\\u";
    for (int shift = 12; shift >= 0; shift -= 4) escape += kDigits[aUnit >> shift & 15];
    return escape;
}

}  // namespace

std::string ToUtf8(std::wstring_view aText) { return Narrow(aText, CP_UTF8); }

std::string FromLibraryText(const QvUserLib::String& aText) { return ToUtf8(aText.GetUnicode()); }

std::wstring FromUtf8(std::string_view aText) { return Widen(aText, CP_UTF8); }

bool IsWellFormed(std::wstring_view aText) { return FromUtf8(ToUtf8(aText)) == aText; }

std::string Escape(std::wstring_view aText) {
    std::wstring escaped;
    for (std::size_t index = 0; index < aText.size(); ++index) {
        const wchar_t unit = aText[index];
        const bool isPair = IsHigh(unit) && index + 1 < aText.size() && IsLow(aText[index + 1]);
        if (isPair) {
            escaped += aText.substr(index++, 2);
        } else if (IsControl(unit) || IsHigh(unit) || IsLow(unit) ||
                   EscapedUnit(aText.substr(index))) {
            escaped += EscapeFor(unit);
        } else {
            escaped += unit;
        }
    }
    return ToUtf8(escaped);
}

std::wstring Unescape(std::string_view aText) {
    const std::wstring text = FromUtf8(aText);
    std::wstring plain;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::optional<wchar_t> unit = EscapedUnit(std::wstring_view(text).substr(index));
        plain += unit.value_or(text[index]);
        if (unit) index += kEscapeUnits - 1;
    }
    return plain;
}

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
