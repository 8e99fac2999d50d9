// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Back to the defaults.

#ifndef QVCTL_VERBS_RESETVERB_H
#define QVCTL_VERBS_RESETVERB_H

#include <string>
#include <vector>

#include "Verbs/Verb.h"

namespace Qvctl {

class ResetVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    std::vector<std::string> names_;
};

}  // namespace Qvctl

#endif
