// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>

#include "commandline/CommandLine.h"
#include "commandline/Completion.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class CompletionVerb final : public Verb {
public:
    void AddArguments(CLI::App& aCommand) override {
        aCommand.add_option("SHELL", shell_, "The shell: bash or powershell")
            ->option_text("bash|powershell")
            ->required()
            ->check(CLI::IsMember({"bash", "powershell"}));
    }
    Outcome Run(const Context& aContext) override {
        const ProgramDescription program = DescribeProgram(MakeAllVerbs());
        aContext.out.Write(shell_ == "bash" ? BashCompletion(program)
                                            : PowerShellCompletion(program));
        return {};
    }

private:
    std::string shell_;
};

}  // namespace

std::unique_ptr<Verb> MakeCompletionVerb() { return std::make_unique<CompletionVerb>(); }

}  // namespace Qvctl
