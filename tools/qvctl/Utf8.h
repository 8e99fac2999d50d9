// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The tool's texts are UTF-8. This is where they come from the system's and the library's forms,
// and where they go back.

#ifndef QVCTL_UTF8_H
#define QVCTL_UTF8_H

#include <optional>
#include <string>
#include <string_view>

#include "QvUserLib/String.h"

namespace Qvctl {

// A surrogate without its partner becomes U+FFFD.
std::string ToUtf8(std::wstring_view aText);
std::wstring FromUtf8(std::string_view aText);

// Whether every surrogate has its partner, so that the text comes back from UTF-8 unchanged.
bool IsWellFormed(std::wstring_view aText);

// Through the library's UTF-16 form, which is exact where the library got it so.
std::string Utf8Of(const QvUserLib::String& aText);

// A library text that keeps every character, also those that the code page lacks.
QvUserLib::String LibraryText(std::string_view aText);

// The text in the ANSI code page; nothing when it does not come back from there unchanged.
std::optional<std::string> ToAnsi(std::string_view aText);

// The text with an escape such as \u000a in place of each character that would move the cursor,
// change the terminal or reorder the line. It is for eyes, not for programs.
std::string Printable(std::string_view aText);

}  // namespace Qvctl

#endif
