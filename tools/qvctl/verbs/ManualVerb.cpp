// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/CommandLine.h"
#include "commandline/ManualPage.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ManualVerb final : public Verb {
public:
    std::string GetDetails() const override {
        return "The page is in the language of man(7). It says what \"qvctl VERB --help\" says.\n"
               "\n"
               "Example:\n"
               "  qvctl manual > qvctl.1";
    }
    unsigned GetSharedOptions() const override { return 0; }
    Outcome Run(const Context& aContext) override {
        aContext.out.Write(ManualPage(DescribeProgram(MakeAllVerbs()), QVCTL_VERSION));
        return {};
    }
};

}  // namespace

std::unique_ptr<Verb> MakeManualVerb() { return std::make_unique<ManualVerb>(); }

}  // namespace Qvctl
