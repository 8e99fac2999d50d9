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
    std::string GetDetails() const override {
        return "The requests are sent one after the other; the last one may be smaller. One\n"
               "that the device refuses because it is busy (error 170) is sent again until the\n"
               "device takes it, or until the time of --wait is over: then the exit code is\n"
               "1, and the report says how much was sent. Progress goes to standard error,\n"
               "the report to standard output. Ctrl-C ends with the report and exit code 130.\n"
               "\n"
               "Example, which sends packets in the sizes in which they were received:\n"
               "  qvctl write capture.bin --size 4096";
    }
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
