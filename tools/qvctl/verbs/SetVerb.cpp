// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>

#include "commandline/ArgumentChecks.h"
#include "output/ErrorReport.h"
#include "verbs/ChangeReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

struct Assignment {
    std::string name;
    std::string value;
};

Assignment ParseAssignment(const std::string& aText) {
    const std::size_t sign = aText.find('=');
    if (sign == std::string::npos) throw WrongUsage("'" + aText + "' is no NAME=VALUE");
    return Assignment{aText.substr(0, sign), aText.substr(sign + 1)};
}

class SetVerb final : public Verb {
public:
    std::string GetDetails() const override {
        return "An integer is decimal, or hexadecimal with 0x. An enumeration's entry is given\n"
               "by its name, or by its index when no entry has that name. A text is used as it\n"
               "is, and may be empty. A parameter may be given only once.\n"
               "\n"
               "All values are checked first: if one is refused, nothing is sent. When the\n"
               "device has taken the change, its parameters are loaded again and compared with\n"
               "what was asked for.\n"
               "\n"
               "Example:\n"
               "  qvctl set SamplingInterval=250 OperatingMode=Triggered \"Label=Bench 2\"";
    }
    void AddArguments(CLI::App& aCommand) override {
        aCommand
            .add_option("ASSIGNMENT", assignments_, "NAME=VALUE: a parameter and its new value")
            ->option_text("...")
            ->required();
    }
    Outcome Run(const Context& aContext) override {
        std::vector<Assignment> assignments;
        std::vector<std::string> names;
        for (const std::string& text : assignments_) {
            assignments.push_back(ParseAssignment(text));
            names.push_back(assignments.back().name);
        }
        RequireDistinctNames(names);

        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::Change change(aContext.LoadParameters(*device));
        for (const Assignment& one : assignments) change.Set(one.name, one.value);
        return SendChange(aContext, chosen, change, /*aWithUnchanged=*/true);
    }

private:
    std::vector<std::string> assignments_;
};

}  // namespace

std::unique_ptr<Verb> MakeSetVerb() { return std::make_unique<SetVerb>(); }

}  // namespace Qvctl
