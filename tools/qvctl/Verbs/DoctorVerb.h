// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What usually goes wrong.

#ifndef QVCTL_VERBS_DOCTORVERB_H
#define QVCTL_VERBS_DOCTORVERB_H

#include "Verbs/Verb.h"

namespace Qvctl {

class DoctorVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void Run(const Context& aContext) override;
};

}  // namespace Qvctl

#endif
