// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ArgumentValues.h"
#include "verbs/ChangeReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

std::vector<std::string> NamesOfWritable(const QvKit::Snapshot& aSnapshot) {
    std::vector<std::string> names;
    for (const QvKit::Setting& setting : aSnapshot.GetSettings()) {
        if (!setting.isReadOnly) names.push_back(setting.name);
    }
    return names;
}

class ResetVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("NAME ...", names_, "The parameters to reset; all by default");
        AddChangeFlags(aArguments, flags_);
    }
    Outcome Run(const Context& aContext) override {
        RequireDistinctNames(names_);
        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::DeviceParameters& parameters = aContext.LoadParameters(*device);
        QvKit::Change change(parameters);
        const std::vector<std::string> names =
            names_.empty() ? NamesOfWritable(parameters.GetSnapshot()) : names_;
        for (const std::string& name : names) change.Reset(name);
        return SendAndReport(aContext, chosen, change, flags_, /*aWithUnchanged=*/!names_.empty());
    }

private:
    std::vector<std::string> names_;
    ChangeFlags flags_;
};

}  // namespace

std::unique_ptr<Verb> MakeResetVerb() { return std::make_unique<ResetVerb>(); }

}  // namespace Qvctl
