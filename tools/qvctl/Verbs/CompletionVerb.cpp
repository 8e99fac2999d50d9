// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/CompletionVerb.h"

#include <CLI/CLI.hpp>

#include "CommandLine.h"
#include "Completion.h"

namespace Qvctl {

std::string CompletionVerb::GetName() const { return "completion"; }

std::string CompletionVerb::GetSummary() const { return "Print a completion script for a shell"; }

std::string CompletionVerb::GetDetails() const {
    return "Verbs, options, file names and the parameters of device 0 are completed.\n"
           "\n"
           "In ~/.bashrc:\n"
           "  source <(qvctl completion bash)\n"
           "In PowerShell's profile:\n"
           "  qvctl completion powershell | Out-String | Invoke-Expression";
}

void CompletionVerb::AddArguments(CLI::App& aCommand) {
    aCommand.add_option("SHELL", shell_, "The shell: bash or powershell")
        ->option_text("bash|powershell")
        ->required()
        ->check(CLI::IsMember({"bash", "powershell"}));
}

void CompletionVerb::Run(const Context& aContext) {
    const ProgramDescription program = DescribeProgram(MakeAllVerbs());
    aContext.out.Write(shell_ == "bash" ? BashCompletion(program) : PowerShellCompletion(program));
}

}  // namespace Qvctl
