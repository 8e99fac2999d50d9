// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/CommandLine.h"
#include "commandline/ManualPage.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ManualVerb final : public Verb {
public:
    Outcome Run(const Context& aContext) override {
        aContext.out.Write(ManualPage(DescribeProgram(MakeAllVerbs()), QVCTL_VERSION));
        return {};
    }
};

}  // namespace

std::unique_ptr<Verb> MakeManualVerb() { return std::make_unique<ManualVerb>(); }

}  // namespace Qvctl
