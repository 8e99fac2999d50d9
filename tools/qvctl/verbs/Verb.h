// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// One verb of the command line. A new one is a source with a class and a function that makes it, a
// declaration and a row in Verbs.cpp, and nothing else.

#ifndef QVCTL_VERBS_VERB_H
#define QVCTL_VERBS_VERB_H

#include <memory>
#include <string>
#include <vector>

#include "Context.h"
#include "commandline/Arguments.h"
#include "output/Report.h"

namespace Qvctl {

// The options of most verbs, as bits.
enum SharedOption : unsigned {
    InterfaceOption = 1,
    DeviceOption = 2,
    JsonOption = 4,
    VerboseOption = 8,
    TimeoutOption = 16,
    WaitOption = 32
};

class Verb {
public:
    virtual ~Verb() = default;

    // Adds the arguments that only this verb has. They are filled in when the command line has been
    // read.
    virtual void AddArguments(Arguments&) {}

    // Does what was asked. What it throws as a `QvKit::Error` is how it failed without a report.
    virtual Outcome Run(const Context& aContext) = 0;
};

// Each is defined in the source of its verb.
std::unique_ptr<Verb> MakeCompletionVerb();
std::unique_ptr<Verb> MakeControlVerb();
std::unique_ptr<Verb> MakeDiffVerb();
std::unique_ptr<Verb> MakeDoctorVerb();
std::unique_ptr<Verb> MakeDriverVerb();
std::unique_ptr<Verb> MakeGetVerb();
std::unique_ptr<Verb> MakeHelpVerb();
std::unique_ptr<Verb> MakeInfoVerb();
std::unique_ptr<Verb> MakeKeepVerb();
std::unique_ptr<Verb> MakeListVerb();
std::unique_ptr<Verb> MakeLoadVerb();
std::unique_ptr<Verb> MakeManualVerb();
std::unique_ptr<Verb> MakeMd5Verb();
std::unique_ptr<Verb> MakeReadVerb();
std::unique_ptr<Verb> MakeResetVerb();
std::unique_ptr<Verb> MakeRestartVerb();
std::unique_ptr<Verb> MakeSaveVerb();
std::unique_ptr<Verb> MakeSetVerb();
std::unique_ptr<Verb> MakeShowVerb();
std::unique_ptr<Verb> MakeStreamVerb();
std::unique_ptr<Verb> MakeVersionVerb();
std::unique_ptr<Verb> MakeWaitVerb();
std::unique_ptr<Verb> MakeWatchVerb();
std::unique_ptr<Verb> MakeWriteVerb();

struct NamedVerb {
    std::string name;
    std::string summary;  // For the list of verbs and the head of the verb's own help.
    std::string details;  // The end of that help: what else there is to know, and an example.
    unsigned options;     // The shared options that have an effect. The others are refused.
    std::unique_ptr<Verb> verb;
};

using Verbs = std::vector<NamedVerb>;

// In the order in which the help lists them.
Verbs MakeAllVerbs();

}  // namespace Qvctl

#endif
