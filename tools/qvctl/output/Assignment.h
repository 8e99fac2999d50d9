// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A parameter and its value in one line, as get prints it and set takes it.

#ifndef QVCTL_OUTPUT_ASSIGNMENT_H
#define QVCTL_OUTPUT_ASSIGNMENT_H

#include <string>

#include "QvKit/Setting.h"

namespace Qvctl {

struct Assignment {
    std::string name;   // Without escapes.
    std::string value;  // With them, for `QvKit::Change::SetEscaped`.
};

// "Gain=6". `ParseAssignment` reads every such line.
std::string FormatAssignment(const QvKit::Setting& aSetting);

// Throws `QvKit::Error` for wrong usage when the text has no equals sign.
Assignment ParseAssignment(const std::string& aText);

}  // namespace Qvctl

#endif
