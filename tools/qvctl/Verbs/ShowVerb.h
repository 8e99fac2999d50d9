// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Parameters as a table.

#ifndef QVCTL_VERBS_SHOWVERB_H
#define QVCTL_VERBS_SHOWVERB_H

#include <string>
#include <vector>

#include "Verbs/Verb.h"

namespace Qvctl {

class ShowVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    std::vector<std::string> names_;
    bool all_ = false;
    bool advanced_ = false;
};

}  // namespace Qvctl

#endif
