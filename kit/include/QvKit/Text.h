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

/// A library text that keeps every character, also those that the code page lacks.
QvUserLib::String ToLibraryText(std::string_view aText);

/// The text in the ANSI code page; nothing when it does not come back from there unchanged.
std::optional<std::string> ToAnsi(std::string_view aText);

}  // namespace QvKit

#endif
