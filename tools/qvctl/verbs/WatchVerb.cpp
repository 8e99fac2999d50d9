// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "CtrlC.h"
#include "InterfaceId.h"
#include "QvKit/Clock.h"
#include "QvKit/Watch.h"
#include "WindowsApi.h"
#include "commandline/ArgumentChecks.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "verbs/DeviceWatch.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

std::string LocalTimeText() {
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    char text[64];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u", now.wHour, now.wMinute, now.wSecond,
                  now.wMilliseconds);
    return text;
}

// In the form of ISO 8601, in UTC.
std::string UtcText() {
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

// One setting that has changed.
class DifferenceReport final : public Report {
public:
    explicit DifferenceReport(QvKit::Watch::Difference aDifference)
        : difference_(std::move(aDifference)) {}

    void WriteText(Output& aOut) const override {
        const QvKit::Setting& setting = difference_.setting;
        aOut.WriteLine(LocalTimeText() + "  " +
                       Printable(setting.name + ": " +
                                 setting.DescribeWithUnit(difference_.before) + " -> " +
                                 setting.DescribeWithUnit(setting.value)));
    }

    nlohmann::ordered_json ToJson() const override {
        const QvKit::Setting& setting = difference_.setting;
        nlohmann::ordered_json json;
        json["time"] = UtcText();
        json["name"] = setting.name;
        json["before"] = ValueToJson(setting, difference_.before);
        json["after"] = ValueToJson(setting, setting.value);
        return json;
    }

private:
    QvKit::Watch::Difference difference_;
};

class WatchVerb final : public Verb {
public:
    std::string GetDetails() const override {
        return "Reads the parameters from the driver again and again, and prints a line for\n"
               "each that has changed; with --json an object a line. A value\n"
               "that changes and changes back between two looks is not noticed. Without\n"
               "--count and --seconds it runs until Ctrl-C, which makes the exit code 130.\n"
               "\n"
               "With --devices it prints the devices that come and go instead: those with an\n"
               "interface of CLASS, a GUID, or any devices.\n"
               "\n"
               "Examples:\n"
               "  qvctl watch Temperature Gain --every 500\n"
               "  qvctl watch --devices --json";
    }
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
        auto* const devices =
            aCommand
                .add_option_function<std::string>(
                    "--devices", [this](const std::string& aClass) { deviceClass_ = aClass; },
                    "Watch devices come and go, with this interface or\nany")
                ->option_text("[CLASS]")
                ->expected(0, 1)
                ->excludes(names)
                ->excludes(every);
        aCommand.add_flag("--initial", initial_, "Print what is there at the beginning first")
            ->needs(devices);
    }
    Outcome Run(const Context& aContext) override {
        if (deviceClass_) return RunDevices(aContext);
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
    Outcome RunDevices(const Context& aContext) const {
        DeviceWatchSettings settings{std::nullopt, initial_, count_, seconds_};
        if (!deviceClass_->empty()) {
            settings.interfaceClass = ParseInterface(*deviceClass_, "--devices");
        }
        WatchDevices(aContext, settings);
        return {};
    }

    void PrintDifferences(const Context& aContext, QvKit::Watch& aWatch,
                          const QvKit::StopSignal& aStop) const {
        const QvKit::Stopwatch stopwatch;
        std::uint64_t printed = 0;
        for (;;) {
            if (aStop.WaitFor(GetPause(stopwatch))) throw Interrupted();
            for (QvKit::Watch::Difference& difference : aWatch.Look()) {
                aContext.printer.PrintNext(DifferenceReport(std::move(difference)));
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
