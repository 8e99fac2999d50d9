// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>

#include "CtrlC.h"
#include "QvKit/FileSender.h"
#include "commandline/ArgumentChecks.h"
#include "verbs/TransferReport.h"
#include "verbs/TransferRun.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class WriteVerb final : public Verb {
public:
    void AddArguments(CLI::App& aCommand) override {
        constexpr std::uint64_t kLongestWaitMs = 86400000;  // A day.
        aCommand.add_option("FILE", file_, "The file to send")
            ->option_text(" ")
            ->required()
            ->check(CheckFileName());
        aCommand.add_option("--size", size_, "Bytes of a request, 1 to 16777216; 4096 by\ndefault")
            ->option_text("BYTES")
            ->check(CheckWhole(1, kLargestRequest));
        aCommand
            .add_option("--wait", busyMs_,
                        "How long to try again while the device is busy;\n1000 ms by default")
            ->option_text("MS")
            ->check(CheckWhole(0, kLongestWaitMs));
        aCommand.add_flag("--quiet", quiet_, "Show no progress");
    }
    Outcome Run(const Context& aContext) override {
        const ChosenDevice device = aContext.FindDevice();
        const CtrlC ctrlC;
        const auto channel = QvKit::OpenChannel(device.address);
        QvKit::FileSender sender(
            *channel, QvKit::FileSender::Settings{file_, size_, std::chrono::milliseconds(busyMs_)},
            ctrlC.GetStopSignal());
        ProgressDisplay display(aContext.err, quiet_);
        const TransferSpan span =
            RunTransfer(sender, display, TransferItems{"request", /*canDrop=*/false});
        return MakeOutcome(device, MakeSendReport(device, sender, span),
                           TransferError(sender, ctrlC.IsPressed()));
    }

private:
    std::string file_;
    unsigned int size_ = 4096;
    unsigned int busyMs_ = 1000;
    bool quiet_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeWriteVerb() { return std::make_unique<WriteVerb>(); }

}  // namespace Qvctl
