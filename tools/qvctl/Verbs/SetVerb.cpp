// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/SetVerb.h"

#include <CLI/CLI.hpp>

#include "ChangeReport.h"
#include "DeviceSession.h"
#include "Failure.h"
#include "ParameterChange.h"
#include "ParameterSelection.h"

namespace Qvctl {
namespace {

struct Assignment {
    std::string name;
    std::string value;
};

Assignment ParseAssignment(const std::string& aText) {
    const std::size_t sign = aText.find('=');
    if (sign == std::string::npos) {
        throw Failure(ExitCode::WrongUsage, "'" + aText + "' is no NAME=VALUE");
    }
    return Assignment{aText.substr(0, sign), aText.substr(sign + 1)};
}

}  // namespace

std::string SetVerb::GetName() const { return "set"; }

std::string SetVerb::GetSummary() const { return "Change parameters, all in one request"; }

std::string SetVerb::GetDetails() const {
    return "An integer is decimal, or hexadecimal with 0x. An enumeration's entry is given\n"
           "by its name, or by its index when no entry has that name. A text is taken as it\n"
           "is, and may be empty. A parameter may be given only once.\n"
           "\n"
           "All values are checked first: if one is refused, nothing is sent. When the\n"
           "device has taken the change, its parameters are loaded again and compared with\n"
           "what was asked for.\n"
           "\n"
           "Example:\n"
           "  qvctl set SamplingInterval=250 OperatingMode=Triggered \"Label=Bench 2\"";
}

void SetVerb::AddArguments(CLI::App& aCommand) {
    aCommand.add_option("ASSIGNMENT", assignments_, "NAME=VALUE: a parameter and its new value")
        ->option_text("...")
        ->required();
}

void SetVerb::Run(const Context& aContext) {
    std::vector<Assignment> assignments;
    std::vector<std::string> names;
    for (const std::string& text : assignments_) {
        assignments.push_back(ParseAssignment(text));
        names.push_back(assignments.back().name);
    }
    RequireDistinctNames(names);

    DeviceSession session(aContext);
    ParameterChange change(session.GetParameters());
    for (const Assignment& assignment : assignments) change.Set(assignment.name, assignment.value);
    change.Send();
    ReportChange(aContext, session.GetDevice(), change, /*aWithUnchanged=*/true);
}

}  // namespace Qvctl
