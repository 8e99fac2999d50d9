// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the parser takes, as plain texts: for all that is generated from it.

#ifndef QVCTL_PROGRAMDESCRIPTION_H
#define QVCTL_PROGRAMDESCRIPTION_H

#include <string>
#include <vector>

namespace Qvctl {

struct OptionDescription {
    std::string name;   // With its hyphens; of an argument without an option, its name in capitals.
    std::string value;  // What stands behind the name, as in the help; empty for none.
    std::string summary;  // In one line.
    bool isRequired;

    // "bash|powershell" in small letters stands for the words themselves.
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
    std::vector<VerbDescription> verbs;

    // Whether every verb has this option.
    bool IsShared(const OptionDescription& aOption) const;
};

}  // namespace Qvctl

#endif
