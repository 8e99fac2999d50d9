// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/ShowVerb.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "DeviceSession.h"
#include "ParameterJson.h"
#include "ParameterSelection.h"
#include "ParameterTable.h"

namespace Qvctl {
namespace {

using Parameters = std::vector<QvUserLib::Parameter*>;
using QvUserLib::Parameter;

Parameters SelectByMarks(QvUserLib::ParameterRepository& aParameters, bool aAll, bool aAdvanced) {
    Parameters selected = GetAllParameters(aParameters);
    const auto isLeftOut = [=](const Parameter* aParameter) {
        return !aAll && (aParameter->IsHidden() || (aParameter->IsAdvanced() && !aAdvanced));
    };
    selected.erase(std::remove_if(selected.begin(), selected.end(), isLeftOut), selected.end());
    return selected;
}

void PrintJson(const Context& aContext, const Device& aDevice, const Parameters& aParameters) {
    nlohmann::ordered_json json;
    json["device"] = DeviceToJson(aDevice);
    json["parameters"] = nlohmann::ordered_json::array();
    for (const Parameter* parameter : aParameters) {
        json["parameters"].push_back(ParameterToJson(*parameter));
    }
    aContext.out.WriteLine(json.dump(2));
}

}  // namespace

std::string ShowVerb::GetName() const { return "show"; }

std::string ShowVerb::GetSummary() const { return "Show parameters as a table"; }

std::string ShowVerb::GetDetails() const {
    return "A parameter that is named is shown whatever its marks. With --verbose each\n"
           "parameter's description is shown, too. The marks:\n"
           "  read-only   cannot be set\n"
           "  volatile    changes by itself\n"
           "  restart     takes effect when the device starts again\n"
           "  not saved   is lost when the device starts again\n"
           "  advanced    for those who know the device well\n"
           "  hidden      not for daily use\n"
           "\n"
           "Examples:\n"
           "  qvctl show\n"
           "  qvctl show Gain OperatingMode --device 1";
}

void ShowVerb::AddArguments(CLI::App& aCommand) {
    aCommand.add_option("NAME", names_, "The parameters to show; all by default")
        ->option_text("...");
    aCommand.add_flag("--all", all_, "Hidden and advanced parameters, too");
    aCommand.add_flag("--advanced", advanced_, "Advanced parameters, too");
}

void ShowVerb::Run(const Context& aContext) {
    RequireDistinctNames(names_);
    DeviceSession session(aContext);
    const Parameters parameters = names_.empty()
                                      ? SelectByMarks(session.GetParameters(), all_, advanced_)
                                      : GetNamedParameters(session.GetParameters(), names_);
    if (aContext.options.json) {
        PrintJson(aContext, session.GetDevice(), parameters);
        return;
    }
    aContext.out.Write(
        FormatParameters(parameters, aContext.options.verbose, aContext.out.GetWidth()));
}

}  // namespace Qvctl
