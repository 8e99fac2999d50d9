// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the command line asks for.

#ifndef QVCTL_COMMANDLINE_COMMANDLINE_H
#define QVCTL_COMMANDLINE_COMMANDLINE_H

#include <string>
#include <vector>

#include "Context.h"
#include "commandline/ProgramDescription.h"
#include "verbs/Verb.h"

namespace Qvctl {

struct Command {
    const NamedVerb* verb;  // With its arguments; null when only a text was asked for.
    std::string text;       // The help, or the version.
    Options options;
};

// Reads the arguments, without the program's name, in UTF-8. Throws `QvKit::Error` for wrong usage.
Command ParseCommandLine(const std::vector<std::string>& aArguments, const Verbs& aVerbs);

// The help of the program, or of the verb if its name is not empty. Throws `QvKit::Error` for wrong
// usage when there is no such verb.
std::string HelpText(const Verbs& aVerbs, const std::string& aVerb);

// Describes all that the command line takes.
ProgramDescription DescribeProgram(const Verbs& aVerbs);

// Whether --json is among the arguments, also when they cannot be read.
bool AsksForJson(const std::vector<std::string>& aArguments);

}  // namespace Qvctl

#endif
