// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Scripts by which shells complete the tool's command line.

#ifndef QVCTL_COMMANDLINE_COMPLETION_H
#define QVCTL_COMMANDLINE_COMPLETION_H

#include <string>

#include "commandline/ProgramDescription.h"

namespace Qvctl {

std::string BashCompletion(const ProgramDescription& aProgram);

std::string PowerShellCompletion(const ProgramDescription& aProgram);

}  // namespace Qvctl

#endif
