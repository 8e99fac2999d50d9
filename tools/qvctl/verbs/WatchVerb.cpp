// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "InterfaceId.h"
#include "QvKit/Subscription.h"
#include "commandline/ArgumentValues.h"
#include "output/Moment.h"
#include "verbs/DeviceWatch.h"
#include "verbs/SettingEventReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using Kind = QvKit::SettingEvent::Kind;

class WatchVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        constexpr unsigned int kLongestMs = 86400000;  // A day.
        const Argument names =
            aArguments.Add("NAME ...", names_, "The parameters to watch; all by default");
        const Argument every =
            aArguments.Add("--every MS", everyMs_, WholeNumber<unsigned int>(1, kLongestMs),
                           "The time between two looks in ms, 1 to\n86400000; 1000 by default");
        AddEndOptions(aArguments, "End after so many changes", end_);
        aArguments
            .AddWithOptionalValue("--devices [CLASS]", deviceClass_,
                                  "Watch devices come and go, with this interface or\nany")
            .Exclude(names)
            .Exclude(every);
        aArguments.AddFlag("--initial", initial_, "Print what is there at the beginning first");
    }
    Outcome Run(const Context& aContext) override {
        if (deviceClass_) return RunDevices(aContext, *deviceClass_);
        RequireDistinctNames(names_);
        aContext.printer.BeginSeries();
        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::SettingsPoller poller(aContext.LoadParameters(*device), chosen.address);
        return {nullptr, PrintEvents(aContext, poller)};
    }

private:
    Outcome RunDevices(const Context& aContext, const std::string& aClass) const {
        DeviceWatchSettings settings{std::nullopt, initial_, end_};
        if (!aClass.empty()) settings.interfaceClass = ParseInterface(aClass, "--devices");
        WatchDevices(aContext, settings);
        return {};
    }

    // Returns the failure that has ended it.
    std::optional<QvKit::Error> PrintEvents(const Context& aContext,
                                            QvKit::SettingsPoller& aPoller) const {
        const QvKit::StopSignal isDone;
        const Moment begin = Moment::Now();
        std::optional<QvKit::Error> failure;
        std::uint64_t printed = 0;
        const auto print = [&](const QvKit::SettingEvent& aEvent) {
            const bool isNews = aEvent.kind != Kind::Present;
            if (isDone.IsRequested() || (!isNews && !initial_)) return;
            if (aEvent.error) {
                failure = aEvent.error;
            } else {
                aContext.printer.PrintNext(SettingEventReport(aEvent, begin));
                if (isNews) ++printed;
            }
            if (failure || printed == end_.count || aContext.out.HasFailed()) isDone.Request();
        };
        QvKit::Subscription subscription(aPoller, names_, std::chrono::milliseconds(everyMs_),
                                         print);
        aContext.Note("watching");
        subscription.Start();
        // The end of the time brings the last look forward.
        if (!WaitForEnd(aContext, isDone, end_)) aPoller.Look();
        subscription.Stop();
        return failure;
    }

    std::vector<std::string> names_;
    unsigned int everyMs_ = 1000;
    LastingEnd end_;
    std::optional<std::string> deviceClass_;  // With --devices; empty for all classes.
    bool initial_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeWatchVerb() { return std::make_unique<WatchVerb>(); }

}  // namespace Qvctl
