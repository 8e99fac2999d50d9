// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "commandline/ArgumentValues.h"
#include "output/SettingJson.h"
#include "output/SettingTable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using Settings = std::vector<QvKit::Setting>;

Settings SelectByMarks(const QvKit::Snapshot& aSnapshot, bool aAll, bool aAdvanced) {
    Settings selected = aSnapshot.GetSettings();
    const auto isLeftOut = [=](const QvKit::Setting& aSetting) {
        return !aAll && (aSetting.isHidden || (aSetting.isAdvanced && !aAdvanced));
    };
    selected.erase(std::remove_if(selected.begin(), selected.end(), isLeftOut), selected.end());
    return selected;
}

class SettingsReport final : public Report {
public:
    SettingsReport(ChosenDevice aDevice, Settings aSettings, TableOptions aOptions)
        : device_(std::move(aDevice)), settings_(std::move(aSettings)), options_(aOptions) {}

    void WriteText(Output& aOut) const override {
        // What reads from a file or a pipe gets whole lines.
        const std::size_t width =
            aOut.IsTerminal() ? aOut.GetWidth() : std::numeric_limits<std::size_t>::max();
        aOut.Write(FormatSettings(settings_, options_, width));
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["parameters"] = nlohmann::ordered_json::array();
        for (const QvKit::Setting& setting : settings_) {
            json["parameters"].push_back(Qvctl::ToJson(setting));
        }
        return json;
    }

private:
    ChosenDevice device_;
    Settings settings_;
    TableOptions options_;
};

class ShowVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("NAME ...", names_, "The parameters to show; all by default");
        aArguments.AddFlag("--all", all_, "Show hidden and advanced parameters as well");
        aArguments.AddFlag("--advanced", advanced_, "Show advanced parameters as well");
        aArguments.AddFlag("--ids", ids_, "Show the identifier of each parameter");
        aArguments.AddFlag("--hex", hex_, "Show integers in hexadecimal");
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(names_);
        const ChosenDevice device = aContext.FindDevice();
        const QvKit::Snapshot snapshot = aContext.ReadParameters(device);
        return {
            std::make_unique<SettingsReport>(
                device,
                names_.empty() ? SelectByMarks(snapshot, all_, advanced_) : snapshot.Select(names_),
                TableOptions{aContext.options.verbose, ids_, hex_}),
            {}};
    }

private:
    std::vector<std::string> names_;
    bool all_ = false;
    bool advanced_ = false;
    bool ids_ = false;
    bool hex_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeShowVerb() { return std::make_unique<ShowVerb>(); }

}  // namespace Qvctl
