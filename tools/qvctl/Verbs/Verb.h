// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// One verb of the command line. A new one is a class of its own, a row in AllVerbs.cpp, and nothing
// else.

#ifndef QVCTL_VERBS_VERB_H
#define QVCTL_VERBS_VERB_H

#include <memory>
#include <string>
#include <vector>

#include "Context.h"

namespace CLI {
class App;
}

namespace Qvctl {

class Verb {
public:
    Verb() = default;
    virtual ~Verb() = default;

    Verb(const Verb&) = delete;
    Verb& operator=(const Verb&) = delete;

    virtual std::string GetName() const = 0;

    // For the list of verbs and the head of the verb's own help.
    virtual std::string GetSummary() const = 0;

    // The end of the verb's own help: what else there is to know, and an example.
    virtual std::string GetDetails() const = 0;

    // Adds the arguments that are this verb's own. They are filled in when the command line has
    // been read.
    virtual void AddArguments(CLI::App& aCommand);

    // Does what was asked, and throws `Failure` when it cannot.
    virtual void Run(const Context& aContext) = 0;
};

using Verbs = std::vector<std::unique_ptr<Verb>>;

// In the order in which the help lists them.
Verbs MakeAllVerbs();

}  // namespace Qvctl

#endif
