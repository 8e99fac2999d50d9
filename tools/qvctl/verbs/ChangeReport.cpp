// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/ChangeReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "output/Printable.h"
#include "output/SettingJson.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using Edit = QvKit::Change::Edit;
using Edits = std::vector<Edit>;

std::string LineOf(const Edit& aEdit) {
    const std::string line = DescribeEdit(aEdit);
    const bool isForLater = aEdit.IsChange() && aEdit.setting.isRestartRequired;
    return isForLater ? line + " (takes effect when the device starts again)" : line;
}

class ChangeReport final : public Report {
public:
    ChangeReport(ChosenDevice aDevice, Edits aEdits, bool aWithUnchanged)
        : device_(std::move(aDevice)), edits_(std::move(aEdits)), withUnchanged_(aWithUnchanged) {}

    void WriteText(Output& aOut) const override {
        for (const Edit& edit : edits_) {
            if (edit.IsChange() || withUnchanged_) aOut.WriteLine(Printable(LineOf(edit)));
        }
        if (CountChanges(edits_) == 0 && !withUnchanged_) aOut.WriteLine("nothing to change");
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["parameters"] = EditsToJson(edits_);
        return json;
    }

private:
    ChosenDevice device_;
    Edits edits_;
    bool withUnchanged_;
};

}  // namespace

std::string DescribeEdit(const Edit& aEdit) {
    const QvKit::Setting& setting = aEdit.setting;
    const std::string before = setting.name + ": " + setting.DescribeWithUnit(setting.value);
    if (!aEdit.IsChange()) return before + " (unchanged)";
    return before + " -> " + setting.DescribeWithUnit(aEdit.after);
}

ordered_json EditsToJson(const Edits& aEdits) {
    ordered_json edits = ordered_json::array();
    for (const Edit& edit : aEdits) {
        ordered_json json;
        json["name"] = edit.setting.name;
        json["before"] = ValueToJson(edit.setting, edit.setting.value);
        json["after"] = ValueToJson(edit.setting, edit.after);
        json["changed"] = edit.IsChange();
        json["restartRequired"] = edit.IsChange() && edit.setting.isRestartRequired;
        edits.push_back(std::move(json));
    }
    return edits;
}

std::size_t CountChanges(const Edits& aEdits) {
    return std::count_if(aEdits.begin(), aEdits.end(),
                         [](const Edit& aEdit) { return aEdit.IsChange(); });
}

Outcome SendChange(const Context& aContext, const ChosenDevice& aDevice, QvKit::Change& aChange,
                   bool aWithUnchanged) {
    aChange.Send();
    aContext.Note("parameters sent: " + std::to_string(CountChanges(aChange.GetEdits())));
    return {std::make_unique<ChangeReport>(aDevice, aChange.GetEdits(), aWithUnchanged), {}};
}

}  // namespace Qvctl
