// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "commandline/ArgumentValues.h"
#include "output/Assignment.h"
#include "output/ErrorReport.h"
#include "output/SettingJson.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ValuesReport final : public Report {
public:
    ValuesReport(ChosenDevice aDevice, std::vector<QvKit::Setting> aSettings, bool aWithNames)
        : device_(std::move(aDevice)), settings_(std::move(aSettings)), withNames_(aWithNames) {}

    void WriteText(Output& aOut) const override {
        for (const QvKit::Setting& setting : settings_) {
            aOut.WriteLine(withNames_ ? FormatAssignment(setting)
                                      : setting.ToEscapedText(setting.value));
        }
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["values"] = nlohmann::ordered_json::object();
        for (const QvKit::Setting& setting : settings_) {
            json["values"][setting.name] = ValueToJson(setting, setting.value);
        }
        return json;
    }

private:
    ChosenDevice device_;
    std::vector<QvKit::Setting> settings_;
    bool withNames_;
};

class GetVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("NAME ...", names_, "The parameters to print");
        aArguments.AddFlag("--all", all_, "Print all parameters");
        aArguments.AddFlag("--value", valueOnly_, "Print only the value, of one parameter");
    }
    Outcome Run(const Context& aContext) override {
        CheckArguments(aContext.options.json);
        const ChosenDevice device = aContext.FindDevice();
        const QvKit::Snapshot snapshot = aContext.ReadParameters(device);
        return {std::make_unique<ValuesReport>(
                    device, all_ ? snapshot.GetSettings() : snapshot.Select(names_), !valueOnly_),
                {}};
    }

private:
    void CheckArguments(bool aJson) const {
        RequireDistinctNames(names_);
        if (names_.empty() && !all_) {
            throw WrongUsage("NAME is required; see \"qvctl get --help\"");
        }
        if (!names_.empty() && all_) throw WrongUsage("--all takes no NAME");
        if (valueOnly_ && (names_.size() != 1 || aJson)) {
            throw WrongUsage("--value takes one NAME and no --json");
        }
    }

    std::vector<std::string> names_;
    bool all_ = false;
    bool valueOnly_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeGetVerb() { return std::make_unique<GetVerb>(); }

}  // namespace Qvctl
