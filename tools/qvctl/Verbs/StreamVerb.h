// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Packets from the device.

#ifndef QVCTL_VERBS_STREAMVERB_H
#define QVCTL_VERBS_STREAMVERB_H

#include <cstdint>
#include <optional>
#include <string>

#include "Verbs/Verb.h"

namespace Qvctl {

class StreamVerb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    std::optional<std::uint32_t> packets_;
    std::optional<double> seconds_;
    unsigned int depth_ = 16;
    std::string out_;  // Empty for none.
    bool verify_ = false;
    bool quiet_ = false;
};

}  // namespace Qvctl

#endif
