// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Output.h"

#include <algorithm>
#include <string>

#include "QvKit/Text.h"
#include "WindowsApi.h"

namespace Qvctl {
namespace {

constexpr std::size_t kDefaultWidth = 80;
constexpr std::size_t kLeastWidth = 40;

// Consoles of older systems take no more than 64 KiB at a time.
constexpr std::size_t kConsoleUnits = 8192;

bool IsHighSurrogate(wchar_t aUnit) { return aUnit >= 0xD800 && aUnit <= 0xDBFF; }

bool IsColourRefused() {
    // The size of the value with its terminator: 1 for an empty value, 0 for none.
    return ::GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1;
}

WORD AttributesFor(Output::Colour aColour) {
    switch (aColour) {
        case Output::Red:
            return FOREGROUND_RED | FOREGROUND_INTENSITY;
        case Output::Yellow:
            return FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_INTENSITY;
        default:
            return FOREGROUND_GREEN | FOREGROUND_INTENSITY;
    }
}

}  // namespace

Output::Output(Stream aStream)
    : handle_(::GetStdHandle(aStream == Standard ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE)),
      isConsole_(false),
      isColoured_(false),
      failed_(false) {
    DWORD mode = 0;
    isConsole_ = ::GetConsoleMode(handle_, &mode) != FALSE;
    isColoured_ = isConsole_ && !IsColourRefused();
}

void Output::Write(std::string_view aText) {
    if (failed_) return;
    failed_ = isConsole_ ? !WriteToConsole(aText) : !WriteBytes(aText);
}

void Output::WriteLine(std::string_view aText) { Write(std::string(aText) + '\n'); }

// By attributes: escape sequences are not understood by the consoles of older systems.
void Output::WriteColoured(Colour aColour, std::string_view aText) {
    constexpr WORD kForeground =
        FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_BLUE | FOREGROUND_INTENSITY;
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!isColoured_ || !::GetConsoleScreenBufferInfo(handle_, &info)) {
        Write(aText);
        return;
    }
    const WORD background = info.wAttributes & static_cast<WORD>(~kForeground);
    ::SetConsoleTextAttribute(handle_, background | AttributesFor(aColour));
    Write(aText);
    ::SetConsoleTextAttribute(handle_, info.wAttributes);
}

std::size_t Output::GetWidth() const {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!isConsole_ || !::GetConsoleScreenBufferInfo(handle_, &info)) return kDefaultWidth;
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return std::max(kLeastWidth, static_cast<std::size_t>(std::max(width, 0)));
}

bool Output::WriteToConsole(std::string_view aText) {
    std::wstring text = QvKit::FromUtf8(aText);
    while (!text.empty()) {
        std::size_t count = std::min(text.size(), kConsoleUnits);
        if (count < text.size() && IsHighSurrogate(text[count - 1])) --count;
        DWORD written = 0;
        if (!::WriteConsoleW(handle_, text.data(), static_cast<DWORD>(count), &written, nullptr) ||
            written == 0) {
            return false;
        }
        text.erase(0, written);
    }
    return true;
}

bool Output::WriteBytes(std::string_view aText) {
    while (!aText.empty()) {
        DWORD written = 0;
        if (!::WriteFile(handle_, aText.data(), static_cast<DWORD>(aText.size()), &written,
                         nullptr) ||
            written == 0) {
            return false;
        }
        aText.remove_prefix(written);
    }
    return true;
}

}  // namespace Qvctl
