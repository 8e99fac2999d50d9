// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What arguments of several verbs must be.

#ifndef QVCTL_VERBS_CHECKS_H
#define QVCTL_VERBS_CHECKS_H

#include <CLI/CLI.hpp>
#include <cstdint>

namespace Qvctl {

// A whole number in decimal, in a range.
CLI::Validator CheckWhole(std::uint64_t aMinimum, std::uint64_t aMaximum);

// A time that is longer than nothing, and that this program can wait for.
CLI::Validator CheckSeconds();

// A text that may name a file.
CLI::Validator CheckFileName();

}  // namespace Qvctl

#endif
