// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Parameters as they change.

#ifndef QVCTL_VERBS_WATCHVERB_H
#define QVCTL_VERBS_WATCHVERB_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CtrlC.h"
#include "ParameterWatch.h"
#include "Verbs/Verb.h"

namespace Qvctl {

class WatchVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    void Watch(const Context& aContext) const;
    void PrintChanges(const Context& aContext, ParameterWatch& aWatch, const CtrlC& aCtrlC) const;

    std::vector<std::string> names_;
    unsigned int everyMs_ = 1000;
    std::optional<std::uint64_t> count_;
    std::optional<double> seconds_;
};

}  // namespace Qvctl

#endif
