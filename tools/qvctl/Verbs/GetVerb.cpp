// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/GetVerb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "DeviceSession.h"
#include "ParameterJson.h"
#include "ParameterSelection.h"
#include "Utf8.h"

namespace Qvctl {

std::string GetVerb::GetName() const { return "get"; }

std::string GetVerb::GetSummary() const { return "Print values, one NAME=VALUE a line"; }

std::string GetVerb::GetDetails() const {
    return "The lines can be given to set as they are. A control character in a text is\n"
           "printed as an escape such as \\u000a; --json gives the text exactly.\n"
           "\n"
           "Example:\n"
           "  qvctl get Gain OperatingMode";
}

void GetVerb::AddArguments(CLI::App& aCommand) {
    aCommand.add_option("NAME", names_, "The parameters to print")->option_text("...")->required();
}

void GetVerb::Run(const Context& aContext) {
    RequireDistinctNames(names_);
    DeviceSession session(aContext);

    nlohmann::ordered_json json;
    json["device"] = DeviceToJson(session.GetDevice());
    json["values"] = nlohmann::ordered_json::object();
    for (const QvUserLib::Parameter* parameter :
         GetNamedParameters(session.GetParameters(), names_)) {
        const Value value = GetValue(*parameter);
        const std::string name = Utf8Of(parameter->GetName());
        json["values"][name] = ValueToJson(*parameter, value);
        if (aContext.options.json) continue;
        aContext.out.WriteLine(Printable(name + "=" + ToText(*parameter, value)));
    }
    if (aContext.options.json) aContext.out.WriteLine(json.dump(2));
}

}  // namespace Qvctl
