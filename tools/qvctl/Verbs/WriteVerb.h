// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A file to the device.

#ifndef QVCTL_VERBS_WRITEVERB_H
#define QVCTL_VERBS_WRITEVERB_H

#include <string>

#include "Verbs/Verb.h"

namespace Qvctl {

class WriteVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    std::string file_;
    unsigned int size_ = 4096;
    unsigned int busyMs_ = 1000;
    bool quiet_ = false;
};

}  // namespace Qvctl

#endif
