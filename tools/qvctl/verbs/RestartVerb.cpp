// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <nlohmann/json.hpp>
#include <utility>

#include "InstanceChoice.h"
#include "QvKit/DeviceRestart.h"
#include "commandline/Duration.h"
#include "output/Printable.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class RestartReport final : public Report {
public:
    RestartReport(std::string aInstance, std::vector<std::string> aPaths)
        : instance_(std::move(aInstance)), paths_(std::move(aPaths)) {}

    void WriteText(Output& aOut) const override {
        aOut.WriteLine("Restarted " + Printable(instance_) + ".");
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["instanceId"] = instance_;
        json["paths"] = paths_;
        return json;
    }

private:
    std::string instance_;
    std::vector<std::string> paths_;
};

class RestartVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("--timeout DURATION", limit_, &ParseDuration,
                       "How long to wait until the device is back; 10s\nby default");
    }
    Outcome Run(const Context& aContext) override {
        std::string instance = ChooseInstance(aContext);
        aContext.Note("restarting " + instance);
        QvKit::RestartSettings settings;
        settings.limit = limit_.value_or(settings.limit);
        settings.stop = aContext.stop;
        std::vector<std::string> paths = QvKit::RestartDevice(instance, settings);
        return {std::make_unique<RestartReport>(std::move(instance), std::move(paths)), {}};
    }

private:
    std::optional<std::chrono::milliseconds> limit_;
};

}  // namespace

std::unique_ptr<Verb> MakeRestartVerb() { return std::make_unique<RestartVerb>(); }

}  // namespace Qvctl
