// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Scripts for shells.

#ifndef QVCTL_VERBS_COMPLETIONVERB_H
#define QVCTL_VERBS_COMPLETIONVERB_H

#include <string>

#include "Verbs/Verb.h"

namespace Qvctl {

class CompletionVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    std::string shell_;
};

}  // namespace Qvctl

#endif
