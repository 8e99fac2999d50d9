// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The manual page.

#ifndef QVCTL_VERBS_MANUALVERB_H
#define QVCTL_VERBS_MANUALVERB_H

#include "Verbs/Verb.h"

namespace Qvctl {

class ManualVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void Run(const Context& aContext) override;
};

}  // namespace Qvctl

#endif
