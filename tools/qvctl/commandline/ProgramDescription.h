// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the command line takes, as plain texts, for what is generated from it: the manual page and
// the completion scripts.

#ifndef QVCTL_COMMANDLINE_PROGRAMDESCRIPTION_H
#define QVCTL_COMMANDLINE_PROGRAMDESCRIPTION_H

#include <string>
#include <vector>

namespace Qvctl {

struct OptionDescription {
    std::string name;   // With its hyphens; of an argument without an option, its name in capitals.
    std::string value;  // What follows the name, as in the help; empty for none.
    std::string summary;  // In one line.
    bool isRequired;

    // The words of a value such as "bash|powershell"; empty for other values.
    std::vector<std::string> GetChoices() const;

    bool IsFile() const;
};

struct VerbDescription {
    std::string name;
    std::string summary;
    std::string details;
    std::vector<OptionDescription> arguments;  // In their places on the command line.
    std::vector<OptionDescription> options;
};

struct ProgramDescription {
    std::string summary;
    std::string details;
    std::vector<OptionDescription> options;
    std::vector<OptionDescription> sharedOptions;  // Of most verbs.
    std::vector<VerbDescription> verbs;

    // Whether it is one of them. A verb may have one of its own by the same name.
    bool IsShared(const OptionDescription& aOption) const;
};

// Whether an option has this name.
bool HasOption(const std::vector<OptionDescription>& aOptions, const std::string& aName);

}  // namespace Qvctl

#endif
