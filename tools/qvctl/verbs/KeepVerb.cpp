// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "QvKit/ProfileKeeper.h"
#include "commandline/ArgumentValues.h"
#include "output/ErrorReport.h"
#include "output/Moment.h"
#include "output/Printable.h"
#include "verbs/ChangeReport.h"
#include "verbs/LastingVerb.h"
#include "verbs/ProfileArguments.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

using Result = QvKit::ProfileKeeper::Result;

// What became of the profile on one device.
class KeptReport final : public Report {
public:
    // `aBegin` is when the verb began.
    KeptReport(Result aResult, const Moment& aBegin)
        : result_(std::move(aResult)), begin_(aBegin) {}

    void WriteText(Output& aOut) const override {
        const std::string& path = result_.device.path;
        aOut.WriteLine(LocalText(moment_, begin_) + "  " + Printable(path + ": " + Describe()));
    }

    nlohmann::ordered_json ToJson() const override {
        nlohmann::ordered_json json;
        json["time"] = UtcText(moment_);
        json["path"] = result_.device.path;
        AddToJson(json, result_.outcome);
        json["readOnly"] = result_.rest.readOnly;
        json["missing"] = result_.rest.missing;
        json["error"] = nullptr;
        if (result_.outcome.error) json["error"] = Qvctl::ToJson(*result_.outcome.error);
        return json;
    }

private:
    // An error comes last, as it may say what became of the changes.
    std::string Describe() const {
        std::string text;
        const auto add = [&](const std::string& aPart) {
            text += (text.empty() ? "" : ", ") + aPart;
        };
        for (const QvKit::Edit& edit : result_.outcome.edits) {
            if (edit.IsChange() && WasSent(result_.outcome)) add(DescribeEdit(edit));
        }
        if (result_.outcome.error) add(result_.outcome.error->what());
        return text.empty() ? "nothing to change" : text;
    }

    Result result_;
    Moment begin_;
    Moment moment_ = Moment::Now();
};

class KeepVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        AddProfileArguments(aArguments, file_, options_.choice);
        aArguments.AddFlag("--all-or-nothing", options_.sending.isAllOrNothing,
                           "Restore the former values if one is not kept");
        AddEndOptions(aArguments, "End after so many devices have come", end_);
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(options_.choice.only);
        aContext.printer.BeginSeries();
        const Moment begin = Moment::Now();
        options_.limits = aContext.GetLimits();
        options_.sending.stop = aContext.stop;
        const QvKit::StopSignal isDone;
        std::uint64_t printed = 0;
        QvKit::ProfileKeeper keeper(aContext.options.interfaceClass, QvKit::Profile::Open(file_),
                                    options_, [&](const Result& aResult) {
                                        if (isDone.IsRequested()) return;
                                        aContext.printer.PrintNext(KeptReport(aResult, begin));
                                        if (++printed == end_.count || aContext.out.HasFailed())
                                            isDone.Request();
                                    });
        aContext.Note("keeping");
        keeper.Start();
        (void)WaitForEnd(aContext, isDone, end_);
        return {};
    }

private:
    std::string file_;
    QvKit::KeepOptions options_;
    LastingEnd end_;
};

}  // namespace

std::unique_ptr<Verb> MakeKeepVerb() { return std::make_unique<KeepVerb>(); }

}  // namespace Qvctl
