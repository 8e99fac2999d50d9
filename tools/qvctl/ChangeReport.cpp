// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ChangeReport.h"

#include <nlohmann/json.hpp>

#include "ParameterJson.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

using Edit = ParameterChange::Edit;
using QvUserLib::Parameter;

std::string Line(const Parameter& aParameter, const Edit& aEdit) {
    const std::string name = Printable(aEdit.name) + ": ";
    if (!aEdit.IsChange())
        return name + ToDisplayWithUnit(aParameter, aEdit.after) + " (unchanged)";

    std::string line = name + ToDisplayWithUnit(aParameter, aEdit.before) + " -> " +
                       ToDisplayWithUnit(aParameter, aEdit.after);
    if (aParameter.IsRestartRequired()) line += " (takes effect when the device starts again)";
    return line;
}

nlohmann::ordered_json ToJson(const Parameter& aParameter, const Edit& aEdit) {
    nlohmann::ordered_json json;
    json["name"] = aEdit.name;
    json["before"] = ValueToJson(aParameter, aEdit.before);
    json["after"] = ValueToJson(aParameter, aEdit.after);
    json["changed"] = aEdit.IsChange();
    json["restartRequired"] = aEdit.IsChange() && aParameter.IsRestartRequired();
    return json;
}

}  // namespace

void ReportChange(const Context& aContext, const Device& aDevice, const ParameterChange& aChange,
                  bool aWithUnchanged) {
    nlohmann::ordered_json json;
    json["device"] = DeviceToJson(aDevice);
    json["parameters"] = nlohmann::ordered_json::array();
    unsigned int changed = 0;
    for (const Edit& edit : aChange.GetEdits()) {
        const Parameter& parameter = *aChange.GetParameters().GetByID(edit.id);
        json["parameters"].push_back(ToJson(parameter, edit));
        if (edit.IsChange()) ++changed;
        if (aContext.options.json || !(edit.IsChange() || aWithUnchanged)) continue;
        aContext.out.WriteLine(Line(parameter, edit));
    }
    aContext.Note("parameters sent: " + std::to_string(changed));
    if (aContext.options.json) {
        aContext.out.WriteLine(json.dump(2));
    } else if (changed == 0 && !aWithUnchanged) {
        aContext.out.WriteLine("nothing to change");
    }
}

}  // namespace Qvctl
