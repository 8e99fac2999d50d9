// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/FileSender.h"
#include "commandline/ArgumentValues.h"
#include "commandline/BytesArgument.h"
#include "output/ErrorReport.h"
#include "verbs/RawRun.h"
#include "verbs/TransferReport.h"
#include "verbs/TransferRun.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

constexpr std::chrono::milliseconds kBusyTime(1000);

class WriteVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        const Argument file = aArguments.Add("FILE", file_, &ParseFileName, "The file to send");
        const Argument size =
            aArguments.Add("--size BYTES", size_, WholeNumber<unsigned int>(1, kLargestRequest),
                           "Bytes of a request, 1 to 16777216; 4096 by\ndefault");
        aArguments
            .Add("--in HEX|@FILE|-", in_, &ReadBytesArgument,
                 "Send these bytes in one request instead:\nhexadecimal digits, a file, or "
                 "standard input")
            .Exclude(file)
            .Exclude(size);
        aArguments.AddFlag("--quiet", quiet_, "Show no progress");
    }
    Outcome Run(const Context& aContext) override {
        if (in_) return WriteBytes(aContext, *in_);
        if (file_.empty()) throw WrongUsage("FILE or --in is required; see \"qvctl write --help\"");
        return WriteFile(aContext);
    }

private:
    static Outcome WriteBytes(const Context& aContext, const Bytes& aBytes) {
        if (aBytes.empty()) throw WrongUsage("--in: there is nothing to write");
        const auto send = [&](QvKit::BoundedConnection& aConnection) {
            return QvKit::WriteBytes(aConnection, aBytes);
        };
        return RunRawRequest(aContext, {send, std::nullopt, /*isWrite=*/true, std::string()});
    }

    Outcome WriteFile(const Context& aContext) const {
        const ChosenDevice device = aContext.FindDevice();
        const auto channel = aContext.OpenChannel(device);
        const Options& options = aContext.options;
        QvKit::FileSender sender(*channel,
                                 {file_, size_, options.wait.value_or(kBusyTime),
                                  options.timeout.value_or(QvKit::kNoLimit)},
                                 *aContext.stop);
        ProgressDisplay display(aContext.err, quiet_);
        const TransferSpan span =
            RunTransfer(sender, display, TransferItems{"request", /*canDrop=*/false});
        return MakeOutcome(device, MakeSendReport(device, sender, span),
                           TransferError(sender, aContext.stop->IsRequested()));
    }

    std::string file_;
    std::optional<Bytes> in_;
    unsigned int size_ = 4096;
    bool quiet_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeWriteVerb() { return std::make_unique<WriteVerb>(); }

}  // namespace Qvctl
