// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Texts that are safe to show.

#ifndef QVCTL_OUTPUT_PRINTABLE_H
#define QVCTL_OUTPUT_PRINTABLE_H

#include <string>
#include <string_view>

namespace Qvctl {

// The text with the escapes of `QvKit::Escape`.
std::string Printable(std::string_view aText);

}  // namespace Qvctl

#endif
