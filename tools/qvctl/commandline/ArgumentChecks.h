// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Checks of arguments that several verbs take.

#ifndef QVCTL_COMMANDLINE_ARGUMENTCHECKS_H
#define QVCTL_COMMANDLINE_ARGUMENTCHECKS_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace Qvctl {

// A whole number in decimal, in a range.
CLI::Validator CheckWhole(std::uint64_t aMinimum, std::uint64_t aMaximum);

// A time above 0 that this program can wait for.
CLI::Validator CheckSeconds();

// A text that may name a file.
CLI::Validator CheckFileName();

// Throws `QvKit::Error` for wrong usage when a parameter's name is empty or is given twice.
void RequireDistinctNames(const std::vector<std::string>& aNames);

}  // namespace Qvctl

#endif
