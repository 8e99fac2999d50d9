// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The devices that are present.

#ifndef QVCTL_VERBS_LISTVERB_H
#define QVCTL_VERBS_LISTVERB_H

#include "Verbs/Verb.h"

namespace Qvctl {

class ListVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void Run(const Context& aContext) override;
};

}  // namespace Qvctl

#endif
