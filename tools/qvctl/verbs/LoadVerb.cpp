// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/Profile.h"
#include "commandline/ArgumentValues.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "verbs/ChangeReport.h"
#include "verbs/ProfileArguments.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using Names = std::vector<std::string>;

// "begin: 2 (A, B)"; nothing when there are no names.
void WriteNames(Output& aOut, const std::string& aBegin, const Names& aNames) {
    std::string list;
    for (const std::string& name : aNames) list += (list.empty() ? "" : ", ") + name;
    if (list.empty()) return;
    aOut.WriteLine(aBegin + ": " + std::to_string(aNames.size()) + " (" + Printable(list) + ")");
}

struct Loading {
    ChosenDevice device;
    std::string file;
    bool isDryRun;
    QvKit::ChangeOutcome outcome;
    QvKit::ProfileRest rest;
};

class LoadReport final : public Report {
public:
    explicit LoadReport(Loading aLoading) : loading_(std::move(aLoading)) {}

    // When nothing was sent, the error says all.
    void WriteText(Output& aOut) const override {
        if (loading_.outcome.error && !WasSent(loading_.outcome)) return;
        Names forLater;
        std::size_t asked = 0;
        std::size_t changed = 0;
        for (const QvKit::Edit& edit : loading_.outcome.edits) {
            if (!edit.IsChange()) continue;
            ++asked;
            aOut.WriteLine(Printable(DescribeEdit(edit)));
            if (!HasChanged(edit)) continue;
            ++changed;
            if (edit.setting.isRestartRequired) forLater.push_back(edit.setting.name);
        }
        const std::size_t total = loading_.outcome.edits.size();
        aOut.WriteLine("changed " + std::to_string(changed) + ", unchanged " +
                       std::to_string(total - asked) +
                       (asked > changed ? ", not taken " + std::to_string(asked - changed) : ""));
        WriteNames(aOut, "passed over because they are read-only", loading_.rest.readOnly);
        WriteNames(aOut, "passed over because the device lacks them", loading_.rest.missing);
        WriteNames(aOut, "take effect when the device starts again", forLater);
        if (loading_.isDryRun) aOut.WriteLine(kDryRun);
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(loading_.device);
        json["file"] = loading_.file;
        json["dryRun"] = loading_.isDryRun;
        AddToJson(json, loading_.outcome);
        json["readOnly"] = loading_.rest.readOnly;
        json["missing"] = loading_.rest.missing;
        return json;
    }

private:
    Loading loading_;
};

class LoadVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        AddProfileArguments(aArguments, file_, choice_);
        AddChangeFlags(aArguments, flags_);
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(choice_.only);
        const QvKit::Profile profile = QvKit::Profile::Open(file_);
        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::DeviceParameters& parameters = aContext.LoadParameters(*device);
        QvKit::Change change(parameters);
        QvKit::ProfileRest rest = ApplyProfile(profile, choice_, parameters.GetSnapshot(), change);
        QvKit::ChangeOutcome outcome = SendChange(aContext, chosen, change, flags_);
        std::optional<QvKit::Error> error = outcome.error;
        return {std::make_unique<LoadReport>(
                    Loading{chosen, file_, flags_.isDryRun, std::move(outcome), std::move(rest)}),
                std::move(error)};
    }

private:
    std::string file_;
    QvKit::ProfileChoice choice_;
    ChangeFlags flags_;
};

}  // namespace

std::unique_ptr<Verb> MakeLoadVerb() { return std::make_unique<LoadVerb>(); }

}  // namespace Qvctl
