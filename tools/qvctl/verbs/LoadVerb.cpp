// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <utility>

#include "QvKit/Profile.h"
#include "commandline/ArgumentChecks.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "verbs/ChangeReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using Edit = QvKit::Change::Edit;
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
    std::vector<Edit> edits;
    QvKit::ProfileRest rest;
};

class LoadReport final : public Report {
public:
    explicit LoadReport(Loading aLoading) : loading_(std::move(aLoading)) {}

    void WriteText(Output& aOut) const override {
        Names forLater;
        for (const Edit& edit : loading_.edits) {
            if (!edit.IsChange()) continue;
            aOut.WriteLine(Printable(DescribeEdit(edit)));
            if (edit.setting.isRestartRequired) forLater.push_back(edit.setting.name);
        }
        const std::size_t changed = CountChanges(loading_.edits);
        aOut.WriteLine("changed " + std::to_string(changed) + ", unchanged " +
                       std::to_string(loading_.edits.size() - changed));
        WriteNames(aOut, "passed over because they are read-only", loading_.rest.readOnly);
        WriteNames(aOut, "passed over because the device lacks them", loading_.rest.missing);
        WriteNames(aOut, "take effect when the device starts again", forLater);
        if (loading_.isDryRun) aOut.WriteLine("a dry run: nothing was sent");
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(loading_.device);
        json["file"] = loading_.file;
        json["dryRun"] = loading_.isDryRun;
        json["parameters"] = EditsToJson(loading_.edits);
        json["readOnly"] = loading_.rest.readOnly;
        json["missing"] = loading_.rest.missing;
        return json;
    }

private:
    Loading loading_;
};

class LoadVerb final : public Verb {
public:
    void AddArguments(CLI::App& aCommand) override {
        aCommand.add_option("FILE", file_, "The file, as save writes it")
            ->option_text(" ")
            ->required()
            ->check(CheckFileName());
        aCommand.add_flag("--dry-run", isDryRun_, "Check and report, but send nothing");
        aCommand.add_option("--only", choice_.only, "Load only these parameters of the file")
            ->option_text("NAME...");
        aCommand.add_flag("--ignore-missing", choice_.isMissingIgnored,
                          "Pass over parameters that the device lacks");
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(choice_.only);
        const QvKit::Profile profile = QvKit::Profile::Open(file_);
        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::DeviceParameters& parameters = aContext.LoadParameters(*device);
        QvKit::Change change(parameters);
        QvKit::ProfileRest rest = ApplyProfile(profile, choice_, parameters.GetSnapshot(), change);
        if (!isDryRun_) change.Send();
        return {std::make_unique<LoadReport>(
                    Loading{chosen, file_, isDryRun_, change.GetEdits(), std::move(rest)}),
                {}};
    }

private:
    std::string file_;
    bool isDryRun_ = false;
    QvKit::ProfileChoice choice_;
};

}  // namespace

std::unique_ptr<Verb> MakeLoadVerb() { return std::make_unique<LoadVerb>(); }

}  // namespace Qvctl
