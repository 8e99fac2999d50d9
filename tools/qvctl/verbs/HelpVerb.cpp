// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/CommandLine.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class HelpVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("VERB", verb_, "The verb; without one, all verbs are listed");
    }
    Outcome Run(const Context& aContext) override {
        aContext.out.Write(HelpText(MakeAllVerbs(), verb_));
        return {};
    }

private:
    std::string verb_;
};

}  // namespace

std::unique_ptr<Verb> MakeHelpVerb() { return std::make_unique<HelpVerb>(); }

}  // namespace Qvctl
