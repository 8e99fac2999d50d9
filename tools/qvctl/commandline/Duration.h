// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Lengths of time as the user writes them.

#ifndef QVCTL_COMMANDLINE_DURATION_H
#define QVCTL_COMMANDLINE_DURATION_H

#include <CLI/CLI.hpp>
#include <chrono>
#include <optional>
#include <string>

namespace Qvctl {

// Reads "500ms", "30s" or "2min"; a number alone is in ms. Throws `QvKit::Error` for wrong usage.
std::chrono::milliseconds ParseDuration(const std::string& aText);

// Adds an option DURATION, which is read into `aDuration`.
CLI::Option* AddDurationOption(CLI::App& aCommand, const std::string& aName,
                               std::optional<std::chrono::milliseconds>& aDuration,
                               const std::string& aSummary);

}  // namespace Qvctl

#endif
