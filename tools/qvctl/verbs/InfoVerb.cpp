// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "InstanceChoice.h"
#include "output/InformationReport.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class InfoVerb final : public Verb {
public:
    Outcome Run(const Context& aContext) override {
        const std::string instance = ChooseInstance(aContext);
        aContext.Note("reading what the system knows of " + instance);
        return {std::make_unique<InformationReport>(QvKit::ReadDeviceInformation(instance)), {}};
    }
};

}  // namespace

std::unique_ptr<Verb> MakeInfoVerb() { return std::make_unique<InfoVerb>(); }

}  // namespace Qvctl
