// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/CommandLine.h"
#include "commandline/Completion.h"
#include "output/ErrorReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

std::string ParseShell(const std::string& aText) {
    if (aText == "bash" || aText == "powershell") return aText;
    throw WrongUsage(aText + " not in {bash,powershell}");
}

class CompletionVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments
            .Add("SHELL bash|powershell", shell_, &ParseShell, "The shell: bash or powershell")
            .Require();
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
