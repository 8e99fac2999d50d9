// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Texts that are safe to show.

#ifndef QVCTL_OUTPUT_PRINTABLE_H
#define QVCTL_OUTPUT_PRINTABLE_H

#include <string>
#include <string_view>

namespace Qvctl {

// The text, with an escape such as \u000a for each character that would move the cursor, change the
// terminal or reorder the line. For people, not for programs: they cannot distinguish an escape
// from the same text.
std::string Printable(std::string_view aText);

}  // namespace Qvctl

#endif
