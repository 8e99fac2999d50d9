// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ArgumentValues.h"
#include "output/Assignment.h"
#include "verbs/ChangeReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class SetVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("ASSIGNMENT ...", assignments_, "NAME=VALUE: a parameter and its new value")
            .Require();
        aArguments.AddFlag("--skip-read-only", skipReadOnly_,
                           "Pass over parameters that are read-only");
        AddChangeFlags(aArguments, flags_);
    }
    Outcome Run(const Context& aContext) override {
        std::vector<Assignment> assignments;
        std::vector<std::string> names;
        for (const std::string& text : assignments_) {
            assignments.push_back(ParseAssignment(text));
            names.push_back(assignments.back().name);
        }
        RequireDistinctNames(names);

        const ChosenDevice chosen = aContext.FindDevice();
        const auto device = aContext.OpenDevice(chosen);
        QvKit::DeviceParameters& parameters = aContext.LoadParameters(*device);
        QvKit::Change change(parameters);
        const QvKit::Snapshot snapshot = parameters.GetSnapshot();
        for (const Assignment& one : assignments) {
            const QvKit::Setting* const setting = snapshot.Find(one.name);
            if (skipReadOnly_ && setting != nullptr && setting->isReadOnly) continue;
            change.SetEscaped(one.name, one.value);
        }
        return SendAndReport(aContext, chosen, change, flags_, /*aWithUnchanged=*/true);
    }

private:
    std::vector<std::string> assignments_;
    bool skipReadOnly_ = false;
    ChangeFlags flags_;
};

}  // namespace

std::unique_ptr<Verb> MakeSetVerb() { return std::make_unique<SetVerb>(); }

}  // namespace Qvctl
