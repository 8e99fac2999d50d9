// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ArgumentValues.h"
#include "commandline/BytesArgument.h"
#include "verbs/RawRun.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class ControlVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        aArguments.Add("CODE", code_, "The code: a number, or DEVICE:FUNCTION:METHOD:ACCESS")
            .Require();
        aArguments.Add(
            "--in HEX|@FILE|-", in_, &ReadBytesArgument,
            "The input: hexadecimal digits, a file, or standard\ninput; none by default");
        aArguments.Add("--out BYTES", outSize_, WholeNumber<unsigned int>(0, kLargestRequest),
                       "Bytes of room for output, 0 to 16777216; 0 by\ndefault");
        AddOutFileOption(aArguments, outFile_);
    }
    Outcome Run(const Context& aContext) override {
        const QvKit::ControlCode code = QvKit::ParseControlCode(code_);
        const auto send = [&](QvKit::BoundedConnection& aConnection) {
            return QvKit::SendControl(aConnection, code.ToNumber(), in_.value_or(Bytes()),
                                      outSize_);
        };
        return RunRawRequest(aContext, {send, code, /*isWrite=*/false, outFile_});
    }

private:
    std::string code_;
    std::optional<Bytes> in_;
    unsigned int outSize_ = 0;
    std::string outFile_;  // Empty for none.
};

}  // namespace

std::unique_ptr<Verb> MakeControlVerb() { return std::make_unique<ControlVerb>(); }

}  // namespace Qvctl
