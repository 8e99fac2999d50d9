// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The tool's manual page.

#ifndef QVCTL_COMMANDLINE_MANUALPAGE_H
#define QVCTL_COMMANDLINE_MANUALPAGE_H

#include <string>

#include "commandline/ProgramDescription.h"

namespace Qvctl {

// In the language of man(7).
std::string ManualPage(const ProgramDescription& aProgram, const std::string& aVersion);

}  // namespace Qvctl

#endif
