// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// MD5 digests of files.

#ifndef QVCTL_VERBS_MD5VERB_H
#define QVCTL_VERBS_MD5VERB_H

#include <string>
#include <vector>

#include "Verbs/Verb.h"

namespace Qvctl {

class Md5Verb : public Verb {
public:
    std::string GetName() const override;
    std::string GetSummary() const override;
    std::string GetDetails() const override;
    void AddArguments(CLI::App& aCommand) override;
    void Run(const Context& aContext) override;

private:
    void PrintDigests(const Context& aContext) const;
    void CheckDigests(const Context& aContext) const;

    std::vector<std::string> files_;
    std::string list_;
};

}  // namespace Qvctl

#endif
