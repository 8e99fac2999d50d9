// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ArgumentValues.h"
#include "commandline/BytesArgument.h"
#include "verbs/RawRun.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ReadVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("--size BYTES", size_, WholeNumber<unsigned int>(1, kLargestRequest),
                       "Bytes to read at most, 1 to 16777216; 4096 by\ndefault");
        AddOutFileOption(aArguments, outFile_);
    }
    Outcome Run(const Context& aContext) override {
        const auto send = [this](QvKit::BoundedConnection& aConnection) {
            return QvKit::ReadBytes(aConnection, size_);
        };
        return RunRawRequest(aContext, {send, std::nullopt, /*isWrite=*/false, outFile_});
    }

private:
    unsigned int size_ = 4096;
    std::string outFile_;  // Empty for none.
};

}  // namespace

std::unique_ptr<Verb> MakeReadVerb() { return std::make_unique<ReadVerb>(); }

}  // namespace Qvctl
