// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "CtrlC.h"
#include "InterfaceId.h"
#include "QvKit/Clock.h"
#include "QvKit/Watch.h"
#include "commandline/ArgumentChecks.h"
#include "output/Moment.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "verbs/DeviceWatch.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

// One setting that has changed, or is as it was at the beginning.
class SettingReport final : public Report {
public:
    // `aBefore` is nothing at the beginning. `aBegin` is when the watch began.
    SettingReport(QvKit::Setting aSetting, std::optional<QvKit::Value> aBefore,
                  const Moment& aBegin)
        : setting_(std::move(aSetting)), before_(std::move(aBefore)), begin_(aBegin) {}

    void WriteText(Output& aOut) const override {
        std::string text = setting_.name + ": ";
        if (before_) text += setting_.DescribeWithUnit(*before_) + " -> ";
        text += setting_.DescribeWithUnit(setting_.value);
        aOut.WriteLine(LocalText(moment_, begin_) + "  " + Printable(text));
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["time"] = UtcText(moment_);
        json["name"] = setting_.name;
        json["before"] = nullptr;
        if (before_) json["before"] = ValueToJson(setting_, *before_);
        json["after"] = ValueToJson(setting_, setting_.value);
        return json;
    }

private:
    QvKit::Setting setting_;
    std::optional<QvKit::Value> before_;
    Moment begin_;
    Moment moment_ = Moment::Now();
};

class WatchVerb final : public Verb {
public:
    void AddArguments(CLI::App& aCommand) override {
        constexpr std::uint64_t kLongestMs = 86400000;  // A day.
        auto* const names =
            aCommand.add_option("NAME", names_, "The parameters to watch; all by default")
                ->option_text("...");
        auto* const every =
            aCommand
                .add_option("--every", everyMs_,
                            "The time between two looks in ms, 1 to\n86400000; 1000 by default")
                ->option_text("MS")
                ->check(CheckWhole(1, kLongestMs));
        auto* const count = aCommand.add_option("--count", count_, "End after so many changes")
                                ->option_text("N")
                                ->check(CheckWhole(1, std::numeric_limits<std::uint64_t>::max()));
        aCommand.add_option("--seconds", seconds_, "End after so many seconds")
            ->option_text("S")
            ->check(CheckSeconds())
            ->excludes(count);
        aCommand
            .add_option_function<std::string>(
                "--devices", [this](const std::string& aClass) { deviceClass_ = aClass; },
                "Watch devices come and go, with this interface or\nany")
            ->option_text("[CLASS]")
            ->expected(0, 1)
            ->excludes(names)
            ->excludes(every);
        aCommand.add_flag("--initial", initial_, "Print what is there at the beginning first");
    }
    Outcome Run(const Context& aContext) override {
        if (deviceClass_) return RunDevices(aContext, *deviceClass_);
        RequireDistinctNames(names_);
        aContext.printer.BeginSeries();
        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::Watch watch(aContext.LoadParameters(*device), names_);
        const CtrlC ctrlC;
        aContext.Note("watching");
        try {
            PrintDifferences(aContext, watch, ctrlC.GetStopSignal());
        } catch (const QvKit::Error& error) {
            throw QvKit::ExplainRemoval(chosen.address, error);
        }
        return {};
    }

private:
    Outcome RunDevices(const Context& aContext, const std::string& aClass) const {
        DeviceWatchSettings settings{std::nullopt, initial_, count_, seconds_};
        if (!aClass.empty()) settings.interfaceClass = ParseInterface(aClass, "--devices");
        WatchDevices(aContext, settings);
        return {};
    }

    void PrintDifferences(const Context& aContext, QvKit::Watch& aWatch,
                          const QvKit::StopSignal& aStop) const {
        const QvKit::Stopwatch stopwatch;
        const Moment begin = Moment::Now();
        if (initial_) {
            for (const QvKit::Setting& setting : aWatch.GetSettings()) {
                aContext.printer.PrintNext(SettingReport(setting, std::nullopt, begin));
            }
        }
        std::uint64_t printed = 0;
        for (;;) {
            if (aStop.WaitFor(GetPause(stopwatch))) throw Interrupted();
            for (QvKit::Watch::Difference& difference : aWatch.Look()) {
                aContext.printer.PrintNext(
                    SettingReport(std::move(difference.setting), difference.before, begin));
                if (++printed == count_) return;
            }
            if (aContext.out.HasFailed()) return;
            if (seconds_ && stopwatch.GetSeconds() >= *seconds_) return;
        }
    }

    // Until the next look, which the end of the time brings forward.
    std::chrono::milliseconds GetPause(const QvKit::Stopwatch& aStopwatch) const {
        using std::chrono::milliseconds;
        const milliseconds every(everyMs_);
        if (!seconds_) return every;
        const std::chrono::duration<double> left(
            std::max(*seconds_ - aStopwatch.GetSeconds(), 0.0));
        return std::min(every, std::chrono::ceil<milliseconds>(left));
    }

    std::vector<std::string> names_;
    unsigned int everyMs_ = 1000;
    std::optional<std::uint64_t> count_;
    std::optional<double> seconds_;
    std::optional<std::string> deviceClass_;  // With --devices; empty for all classes.
    bool initial_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeWatchVerb() { return std::make_unique<WatchVerb>(); }

}  // namespace Qvctl
