// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/ResetVerb.h"

#include <CLI/CLI.hpp>

#include "ChangeReport.h"
#include "DeviceSession.h"
#include "ParameterChange.h"
#include "ParameterSelection.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

std::vector<std::string> NamesOfWritable(QvUserLib::ParameterRepository& aParameters) {
    std::vector<std::string> names;
    for (const QvUserLib::Parameter* parameter : GetAllParameters(aParameters)) {
        if (!parameter->IsReadOnly()) names.push_back(Utf8Of(parameter->GetName()));
    }
    return names;
}

}  // namespace

std::string ResetVerb::GetName() const { return "reset"; }

std::string ResetVerb::GetSummary() const { return "Set parameters to their defaults"; }

std::string ResetVerb::GetDetails() const {
    return "Without names all parameters that are not read-only are reset, hidden and\n"
           "advanced ones, too. They are sent in one request, as by set.\n"
           "\n"
           "Examples:\n"
           "  qvctl reset\n"
           "  qvctl reset Gain Label";
}

void ResetVerb::AddArguments(CLI::App& aCommand) {
    aCommand.add_option("NAME", names_, "The parameters to reset; all by default")
        ->option_text("...");
}

void ResetVerb::Run(const Context& aContext) {
    RequireDistinctNames(names_);
    DeviceSession session(aContext);
    ParameterChange change(session.GetParameters());
    const std::vector<std::string> names =
        names_.empty() ? NamesOfWritable(session.GetParameters()) : names_;
    for (const std::string& name : names) change.Reset(name);
    change.Send();
    ReportChange(aContext, session.GetDevice(), change, /*aWithUnchanged=*/!names_.empty());
}

}  // namespace Qvctl
