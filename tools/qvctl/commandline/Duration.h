// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Lengths of time as the user writes them.

#ifndef QVCTL_COMMANDLINE_DURATION_H
#define QVCTL_COMMANDLINE_DURATION_H

#include <chrono>
#include <string>

namespace Qvctl {

// Reads "500ms", "30s" or "2min"; a number alone is in ms. Throws `QvKit::Error` for wrong usage.
std::chrono::milliseconds ParseDuration(const std::string& aText);

}  // namespace Qvctl

#endif
