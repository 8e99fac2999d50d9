// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/WriteVerb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "CtrlC.h"
#include "DeviceSession.h"
#include "FileSender.h"
#include "TransferReport.h"
#include "TransferRun.h"
#include "Verbs/Checks.h"

namespace Qvctl {

std::string WriteVerb::GetName() const { return "write"; }

std::string WriteVerb::GetSummary() const { return "Send a file to the device"; }

std::string WriteVerb::GetDetails() const {
    return "The requests are sent one after the other; the last one may be smaller. One\n"
           "that the device refuses because it is busy (error 170) is sent again until the\n"
           "device takes it, or has not taken it for the time of --wait: then the exit code\n"
           "is 1, and the report tells how much was sent. Progress goes to standard error,\n"
           "the report to standard output. Ctrl-C ends with the report and exit code 130.\n"
           "\n"
           "Example, which sends packets in the sizes in which they were received:\n"
           "  qvctl write capture.bin --size 4096";
}

void WriteVerb::AddArguments(CLI::App& aCommand) {
    constexpr std::uint64_t kLargestRequest = 16777216;
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

void WriteVerb::Run(const Context& aContext) {
    DeviceSession session(aContext);
    const CtrlC ctrlC;
    FileSender sender(session.GetConnection(), FileSender::Settings{file_, size_, busyMs_});
    ProgressDisplay display(aContext.err, quiet_);
    RunTransfer(sender, ctrlC.GetEvent(), display, TransferItems{"request", /*canDrop=*/false});

    FinishTransfer(aContext, session, SendReportText(sender), SendReportJson(sender),
                   SendFailure(sender, ctrlC.IsPressed()));
}

}  // namespace Qvctl
