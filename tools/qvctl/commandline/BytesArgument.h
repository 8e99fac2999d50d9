// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Bytes as the user gives them: in hexadecimal, in a file, or on standard input.

#ifndef QVCTL_COMMANDLINE_BYTESARGUMENT_H
#define QVCTL_COMMANDLINE_BYTESARGUMENT_H

#include <cstdint>
#include <string>
#include <vector>

namespace Qvctl {

using Bytes = std::vector<unsigned char>;

// The largest request that a verb sends, in bytes.
constexpr std::uint64_t kLargestRequest = 16777216;

// Reads pairs of hexadecimal digits, with blanks between them if you like. Throws `QvKit::Error`
// for wrong usage.
Bytes ParseHex(const std::string& aText);

// Reads HEX, @FILE or - for standard input. Throws `QvKit::Error`.
Bytes ReadBytesArgument(const std::string& aText);

}  // namespace Qvctl

#endif
