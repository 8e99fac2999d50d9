// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_TEXT_H
#define QVKIT_TEXT_H

#include <optional>
#include <string>
#include <string_view>

#include "QvUserLib/String.h"

namespace QvKit {

// The kit's texts are UTF-8. Here they come from the system's and the library's forms, and go back.

/// A surrogate without its partner becomes U+FFFD.
std::string ToUtf8(std::wstring_view aText);

/// A text of the library, through its UTF-16 form, which is exact where the library got the text
/// in UTF-16.
std::string FromLibraryText(const QvUserLib::String& aText);

/// Bytes that are not UTF-8 become U+FFFD.
std::wstring FromUtf8(std::string_view aText);

/// Whether every surrogate has its partner, so that the text comes back from UTF-8 unchanged.
bool IsWellFormed(std::wstring_view aText);

/// A text in one line, in UTF-8, that is safe to show: an escape such as `\u000a` stands for each
/// control character, each direction mark, and each surrogate without its partner. A backslash that
/// would begin such an escape is one itself, `\u005c`; others stay as they are.
std::string Escape(std::wstring_view aText);

/// The text that `Escape` returned this for. In other texts only what looks like an escape changes.
std::wstring Unescape(std::string_view aText);

/// A library text that keeps every character, also those that the code page lacks.
QvUserLib::String ToLibraryText(std::string_view aText);

/// The text in the ANSI code page; nothing when it does not come back from there unchanged.
std::optional<std::string> ToAnsi(std::string_view aText);

}  // namespace QvKit

#endif
