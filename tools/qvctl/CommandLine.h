// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the command line asks for.

#ifndef QVCTL_COMMANDLINE_H
#define QVCTL_COMMANDLINE_H

#include <string>
#include <vector>

#include "Context.h"
#include "ProgramDescription.h"
#include "Verbs/Verb.h"

namespace Qvctl {

struct Command {
    Verb* verb;        // With its arguments; null when only a text was asked for.
    std::string text;  // The help, or the version.
    Options options;
};

// Reads the arguments, without the program's name, in UTF-8. Throws `Failure` for wrong usage.
Command ParseCommandLine(const std::vector<std::string>& aArguments, const Verbs& aVerbs);

// What can be given there.
ProgramDescription DescribeProgram(const Verbs& aVerbs);

// Whether --json stands among the arguments, for those that could not be read.
bool AsksForJson(const std::vector<std::string>& aArguments);

}  // namespace Qvctl

#endif
