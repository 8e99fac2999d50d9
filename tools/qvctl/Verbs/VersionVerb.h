// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The versions of the tool and its libraries.

#ifndef QVCTL_VERBS_VERSIONVERB_H
#define QVCTL_VERBS_VERSIONVERB_H

#include "Verbs/Verb.h"

namespace Qvctl {

class VersionVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void Run(const Context& aContext) override;
};

}  // namespace Qvctl

#endif
