// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "WideText.h"

#include <memory>

#include <windows.h>

#include <shellapi.h>

namespace QvSampleSetup {

std::string ToUtf8(const std::wstring& aText) {
    const int units = static_cast<int>(aText.size());
    const int bytes =
        ::WideCharToMultiByte(CP_UTF8, 0, aText.data(), units, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, aText.data(), units, text.data(), bytes, nullptr, nullptr);
    return text;
}

std::wstring ToWide(const std::string& aText) {
    const int bytes = static_cast<int>(aText.size());
    const int units = ::MultiByteToWideChar(CP_UTF8, 0, aText.data(), bytes, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, aText.data(), bytes, text.data(), units);
    return text;
}

std::vector<std::string> CommandLineArguments() {
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> arguments(
        ::CommandLineToArgvW(::GetCommandLineW(), &count), &::LocalFree);
    std::vector<std::string> texts;
    for (int i = 1; arguments != nullptr && i < count; ++i) {
        texts.push_back(ToUtf8(arguments.get()[i]));
    }
    return texts;
}

Utf8Console::Utf8Console() : oldCodePage_(::GetConsoleOutputCP()) { ::SetConsoleOutputCP(CP_UTF8); }

Utf8Console::~Utf8Console() { ::SetConsoleOutputCP(oldCodePage_); }

}  // namespace QvSampleSetup
