// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/DeviceWatch.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "QvKit/DeviceWatcher.h"
#include "output/Moment.h"
#include "output/Printable.h"

namespace Qvctl {
namespace {

using QvKit::DeviceEvent;

const char* NameOf(DeviceEvent::Kind aKind) {
    switch (aKind) {
        case DeviceEvent::Kind::Arrival:
            return "arrival";
        case DeviceEvent::Kind::Removal:
            return "removal";
        default:
            return "present";
    }
}

class DeviceEventReport final : public Report {
public:
    // `aBegin` is when the watch began.
    DeviceEventReport(DeviceEvent aEvent, const Moment& aBegin)
        : event_(std::move(aEvent)), begin_(aBegin) {}

    void WriteText(Output& aOut) const override {
        aOut.WriteLine(LocalText(moment_, begin_) + "  " + NameOf(event_.kind) + "  " +
                       Printable(event_.device.path));
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["time"] = UtcText(moment_);
        json["event"] = NameOf(event_.kind);
        json["interface"] = event_.interfaceClass;
        json["path"] = event_.device.path;
        return json;
    }

private:
    DeviceEvent event_;
    Moment begin_;
    Moment moment_ = Moment::Now();
};

}  // namespace

void WatchDevices(const Context& aContext, const DeviceWatchSettings& aSettings) {
    aContext.printer.BeginSeries();
    const Moment begin = Moment::Now();
    const QvKit::StopSignal isDone;
    std::uint64_t printed = 0;
    const auto print = [&](const DeviceEvent& aEvent) {
        const bool isNews = aEvent.kind != DeviceEvent::Kind::Present;
        if (isDone.IsRequested() || (!isNews && !aSettings.initial)) return;
        aContext.printer.PrintNext(DeviceEventReport(aEvent, begin));
        if (isNews) ++printed;
        if (printed == aSettings.end.count || aContext.out.HasFailed()) isDone.Request();
    };
    QvKit::DeviceWatcher watcher(aSettings.interfaceClass ? &*aSettings.interfaceClass : nullptr,
                                 print);
    aContext.Note("watching");
    watcher.Start();
    (void)WaitForEnd(aContext, isDone, aSettings.end);
}

}  // namespace Qvctl
