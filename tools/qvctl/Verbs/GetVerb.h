// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Values alone, for scripts.

#ifndef QVCTL_VERBS_GETVERB_H
#define QVCTL_VERBS_GETVERB_H

#include <string>
#include <vector>

#include "Verbs/Verb.h"

namespace Qvctl {

class GetVerb : public Verb {
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
