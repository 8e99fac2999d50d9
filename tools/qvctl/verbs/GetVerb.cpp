// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <utility>

#include "commandline/ArgumentChecks.h"
#include "output/Assignment.h"
#include "output/SettingJson.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ValuesReport final : public Report {
public:
    ValuesReport(ChosenDevice aDevice, std::vector<QvKit::Setting> aSettings)
        : device_(std::move(aDevice)), settings_(std::move(aSettings)) {}

    void WriteText(Output& aOut) const override {
        for (const QvKit::Setting& setting : settings_) {
            aOut.WriteLine(FormatAssignment(setting));
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
};

class GetVerb final : public Verb {
public:
    std::string GetDetails() const override {
        return "The lines can be given to set as they are: an escape such as \\u000a stands for a\n"
               "control character, here and there. --json prints texts without escapes of ours.\n"
               "\n"
               "Example:\n"
               "  qvctl get Gain OperatingMode";
    }
    void AddArguments(CLI::App& aCommand) override {
        aCommand.add_option("NAME", names_, "The parameters to print")
            ->option_text("...")
            ->required();
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(names_);
        const ChosenDevice device = aContext.FindDevice();
        const QvKit::Snapshot snapshot = aContext.ReadParameters(device);
        return {std::make_unique<ValuesReport>(device, snapshot.Select(names_)), {}};
    }

private:
    std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Verb> MakeGetVerb() { return std::make_unique<GetVerb>(); }

}  // namespace Qvctl
