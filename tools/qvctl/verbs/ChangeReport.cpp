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
using QvKit::ChangeOutcome;
using QvKit::Edit;
using QvKit::Verdict;

const char* NameOf(Verdict aVerdict) {
    switch (aVerdict) {
        case Verdict::Refused:
            return "refused";
        case Verdict::Taken:
            return "taken";
        case Verdict::Rounded:
            return "rounded";
        case Verdict::NotKept:
            return "not-kept";
        case Verdict::Gone:
            return "gone";
        case Verdict::Unknown:
            return "unknown";
        case Verdict::Restored:
            return "restored";
        default:
            return "not-sent";
    }
}

// Empty when there is nothing to say but what was asked for.
std::string DescribeVerdict(const Edit& aEdit) {
    const std::string held =
        aEdit.held ? aEdit.setting.DescribeWithUnit(*aEdit.held) : std::string();
    switch (aEdit.verdict) {
        case Verdict::Rounded:
            return "rounded to " + held;
        case Verdict::NotKept:
            return "not kept: the device holds " + held;
        case Verdict::Gone:
            return "the device does not have it any more";
        case Verdict::Unknown:
            return "it is not known whether the device took it";
        case Verdict::Restored:
            return "the former value was restored";
        default:
            return std::string();
    }
}

// In brackets; empty when there are none.
std::string NotesOf(const Edit& aEdit, bool aWithRestart) {
    std::string notes;
    const auto add = [&](const std::string& aNote) {
        if (!aNote.empty()) notes += (notes.empty() ? " (" : "; ") + aNote;
    };
    if (!aEdit.IsChange()) add("unchanged");
    add(DescribeVerdict(aEdit));
    if (aEdit.readBefore) {
        add("another program changed it from " + aEdit.setting.DescribeWithUnit(*aEdit.readBefore) +
            " meanwhile");
    }
    const bool isForLater = aWithRestart && HasChanged(aEdit) && aEdit.setting.isRestartRequired;
    if (isForLater) add("takes effect when the device starts again");
    return notes.empty() ? notes : notes + ")";
}

std::string LineOf(const Edit& aEdit, bool aWithRestart) {
    const QvKit::Setting& setting = aEdit.setting;
    std::string line = setting.name + ": " + setting.DescribeWithUnit(setting.value);
    if (aEdit.IsChange()) line += " -> " + setting.DescribeWithUnit(aEdit.after);
    return line + NotesOf(aEdit, aWithRestart);
}

ordered_json EditToJson(const Edit& aEdit) {
    const auto toJson = [&](const QvKit::Value& aValue) {
        return ValueToJson(aEdit.setting, aValue);
    };
    ordered_json json;
    json["name"] = aEdit.setting.name;
    json["before"] = nullptr;
    json["after"] = nullptr;
    if (!aEdit.refusal) {
        json["before"] = toJson(aEdit.setting.value);
        json["after"] = toJson(aEdit.after);
    }
    json["changed"] = HasChanged(aEdit);
    json["restartRequired"] = HasChanged(aEdit) && aEdit.setting.isRestartRequired;
    json["verdict"] = NameOf(aEdit.verdict);
    json["held"] = nullptr;
    if (aEdit.held) json["held"] = toJson(*aEdit.held);
    json["readBefore"] = nullptr;
    if (aEdit.readBefore) json["readBefore"] = toJson(*aEdit.readBefore);
    return json;
}

class ChangeReport final : public Report {
public:
    ChangeReport(ChosenDevice aDevice, ChangeOutcome aOutcome, bool aIsDryRun, bool aWithUnchanged)
        : device_(std::move(aDevice)),
          outcome_(std::move(aOutcome)),
          isDryRun_(aIsDryRun),
          withUnchanged_(aWithUnchanged) {}

    // When nothing was sent, the error says all.
    void WriteText(Output& aOut) const override {
        if (outcome_.error && !WasSent(outcome_)) return;
        bool isEmpty = true;
        for (const Edit& edit : outcome_.edits) {
            if (!edit.IsChange() && !withUnchanged_) continue;
            aOut.WriteLine(Printable(LineOf(edit, /*aWithRestart=*/true)));
            isEmpty = false;
        }
        if (isEmpty) aOut.WriteLine("nothing to change");
        if (isDryRun_) aOut.WriteLine(kDryRun);
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["dryRun"] = isDryRun_;
        AddToJson(json, outcome_);
        return json;
    }

private:
    ChosenDevice device_;
    ChangeOutcome outcome_;
    bool isDryRun_;
    bool withUnchanged_;
};

}  // namespace

void AddChangeFlags(Arguments& aArguments, ChangeFlags& aFlags) {
    aArguments.AddFlag("--dry-run", aFlags.isDryRun, "Check and report, but send nothing");
    aArguments.AddFlag("--if-unchanged", aFlags.sending.isRefusedIfChanged,
                       "Refuse what another program changed meanwhile");
    aArguments.AddFlag("--all-or-nothing", aFlags.sending.isAllOrNothing,
                       "Restore the former values if one is not kept");
}

bool HasChanged(const Edit& aEdit) {
    const Verdict verdict = aEdit.verdict;
    return aEdit.IsChange() && (verdict == Verdict::NotSent || verdict == Verdict::Taken ||
                                verdict == Verdict::Rounded);
}

std::string DescribeEdit(const Edit& aEdit) { return LineOf(aEdit, /*aWithRestart=*/false); }

void AddToJson(ordered_json& aJson, const ChangeOutcome& aOutcome) {
    aJson["parameters"] = ordered_json::array();
    for (const Edit& edit : aOutcome.edits) aJson["parameters"].push_back(EditToJson(edit));
    aJson["restored"] = nullptr;
    if (aOutcome.restoring != ChangeOutcome::Restoring::NotNeeded) {
        aJson["restored"] = aOutcome.restoring == ChangeOutcome::Restoring::Done;
    }
}

bool WasSent(const ChangeOutcome& aOutcome) {
    return std::none_of(aOutcome.edits.begin(), aOutcome.edits.end(), [](const Edit& aEdit) {
        return aEdit.verdict == Verdict::NotSent || aEdit.verdict == Verdict::Refused;
    });
}

ChangeOutcome SendChange(const Context& aContext, const ChosenDevice& aDevice,
                         QvKit::Change& aChange, const ChangeFlags& aFlags) {
    if (aFlags.isDryRun) return aChange.GetPlan();
    QvKit::SendOptions sending = aFlags.sending;
    sending.stop = aContext.stop;
    ChangeOutcome outcome = aChange.Send(sending);
    if (outcome.error) outcome.error = QvKit::ExplainRemoval(aDevice.address, *outcome.error);
    if (WasSent(outcome)) {
        const auto count = std::count_if(outcome.edits.begin(), outcome.edits.end(),
                                         [](const Edit& aEdit) { return aEdit.IsChange(); });
        aContext.Note("parameters sent: " + std::to_string(count));
    }
    return outcome;
}

Outcome SendAndReport(const Context& aContext, const ChosenDevice& aDevice, QvKit::Change& aChange,
                      const ChangeFlags& aFlags, bool aWithUnchanged) {
    ChangeOutcome outcome = SendChange(aContext, aDevice, aChange, aFlags);
    std::optional<QvKit::Error> error = outcome.error;
    return {std::make_unique<ChangeReport>(aDevice, std::move(outcome), aFlags.isDryRun,
                                           aWithUnchanged),
            std::move(error)};
}

}  // namespace Qvctl
