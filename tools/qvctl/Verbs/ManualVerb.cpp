// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/ManualVerb.h"

#include "CommandLine.h"
#include "ManualPage.h"

namespace Qvctl {

std::string ManualVerb::GetName() const { return "manual"; }

std::string ManualVerb::GetSummary() const { return "Print the manual page"; }

std::string ManualVerb::GetDetails() const {
    return "It is in the language of man(7), and tells what \"qvctl VERB --help\" tells.\n"
           "\n"
           "Example:\n"
           "  qvctl manual > qvctl.1";
}

void ManualVerb::Run(const Context& aContext) {
    aContext.out.Write(ManualPage(DescribeProgram(MakeAllVerbs()), QVCTL_VERSION));
}

}  // namespace Qvctl
