// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Bytes as the user gives them: in hexadecimal, in a file, or on standard input.

#ifndef QVCTL_COMMANDLINE_BYTESOPTION_H
#define QVCTL_COMMANDLINE_BYTESOPTION_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
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

// Adds an option of that form, which is read into `aBytes`.
CLI::Option* AddBytesOption(CLI::App& aCommand, const std::string& aName,
                            std::optional<Bytes>& aBytes, const std::string& aSummary);

}  // namespace Qvctl

#endif
