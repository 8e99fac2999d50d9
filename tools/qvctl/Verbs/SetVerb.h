// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// New values for parameters.

#ifndef QVCTL_VERBS_SETVERB_H
#define QVCTL_VERBS_SETVERB_H

#include <string>
#include <vector>

#include "Verbs/Verb.h"

namespace Qvctl {

class SetVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    std::vector<std::string> assignments_;
};

}  // namespace Qvctl

#endif
