// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/WatchVerb.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>

#include "DeviceSession.h"
#include "ParameterJson.h"
#include "ParameterSelection.h"
#include "Stopwatch.h"
#include "Utf8.h"
#include "Verbs/Checks.h"
#include "WindowsApi.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;

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

std::string ToLine(const ParameterWatch::Change& aChange) {
    return LocalTimeText() + "  " + Printable(aChange.name) + ": " +
           ToDisplayWithUnit(*aChange.parameter, aChange.before) + " -> " +
           ToDisplayWithUnit(*aChange.parameter, aChange.after);
}

ordered_json ToJson(const ParameterWatch::Change& aChange) {
    ordered_json json;
    json["time"] = UtcText();
    json["name"] = aChange.name;
    json["before"] = ValueToJson(*aChange.parameter, aChange.before);
    json["after"] = ValueToJson(*aChange.parameter, aChange.after);
    return json;
}

}  // namespace

std::string WatchVerb::GetName() const { return "watch"; }

std::string WatchVerb::GetSummary() const { return "Print parameters as they change"; }

std::string WatchVerb::GetDetails() const {
    return "Reads the parameters from the driver again and again, and prints a line for\n"
           "each that differs from the last time; with --json an object a line. A value\n"
           "that changes and changes back between two looks is not noticed. Without\n"
           "--count and --seconds it goes on until Ctrl-C, which makes the exit code 130.\n"
           "\n"
           "Example:\n"
           "  qvctl watch Temperature Gain --every 500";
}

void WatchVerb::AddArguments(CLI::App& aCommand) {
    constexpr std::uint64_t kLongestMs = 86400000;  // A day.
    aCommand.add_option("NAME", names_, "The parameters to watch; all by default")
        ->option_text("...");
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
}

void WatchVerb::Run(const Context& aContext) {
    RequireDistinctNames(names_);
    try {
        Watch(aContext);
    } catch (const Failure& failure) {
        if (!aContext.options.json) throw;
        // An object a line, this one, too.
        ordered_json json;
        json["error"] = failure.ToJson();
        aContext.out.WriteLine(json.dump());
        throw failure.InReport();
    }
}

void WatchVerb::Watch(const Context& aContext) const {
    DeviceSession session(aContext);
    ParameterWatch watch(session.GetParameters(), names_);
    const CtrlC ctrlC;
    aContext.Note("watching");
    try {
        PrintChanges(aContext, watch, ctrlC);
    } catch (const Failure& failure) {
        throw session.Explain(failure);
    }
}

void WatchVerb::PrintChanges(const Context& aContext, ParameterWatch& aWatch,
                             const CtrlC& aCtrlC) const {
    const Stopwatch stopwatch;
    std::uint64_t printed = 0;
    for (;;) {
        DWORD pauseMs = everyMs_;
        if (seconds_) {
            const double leftMs = std::max(*seconds_ - stopwatch.GetSeconds(), 0.0) * 1000.0;
            pauseMs = static_cast<DWORD>(std::min<double>(pauseMs, std::ceil(leftMs)));
        }
        if (aCtrlC.GetEvent().Wait(pauseMs)) throw Interrupted();
        for (const ParameterWatch::Change& change : aWatch.Look()) {
            aContext.out.WriteLine(aContext.options.json ? ToJson(change).dump() : ToLine(change));
            if (++printed == count_) return;
        }
        if (aContext.out.HasFailed()) return;
        if (seconds_ && stopwatch.GetSeconds() >= *seconds_) return;
    }
}

}  // namespace Qvctl
