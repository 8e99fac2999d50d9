// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verbs/StreamVerb.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <nlohmann/json.hpp>

#include "CtrlC.h"
#include "DeviceSession.h"
#include "DeviceUse.h"
#include "PacketFile.h"
#include "PacketSize.h"
#include "StreamReader.h"
#include "TransferReport.h"
#include "TransferRun.h"
#include "Verbs/Checks.h"

namespace Qvctl {

std::string StreamVerb::GetName() const { return "stream"; }

std::string StreamVerb::GetSummary() const { return "Read packets and account for each of them"; }

std::string StreamVerb::GetDetails() const {
    return "Without --packets and --seconds it goes on until Ctrl-C. Progress goes to\n"
           "standard error, the report to standard output. The report tells what was lost:\n"
           "gaps in the sequence, packets that the driver had to drop, and packets that\n"
           "were not whole or not in order. With --verify every byte of the payload is\n"
           "looked at, too, and a loss of any kind makes the exit code 1.\n"
           "\n"
           "When the device or the disk fails, the stream ends with the report and exit\n"
           "code 1, and FILE holds every whole packet that was received until then. Ctrl-C\n"
           "cancels the reads that are pending, prints the report and makes the exit code\n"
           "130, unless something else went wrong; a second Ctrl-C ends at once.\n"
           "\n"
           "A device is streamed by one qvctl at a time.\n"
           "\n"
           "Examples:\n"
           "  qvctl stream --packets 10000 --verify\n"
           "  qvctl stream --seconds 60 --depth 64 --out capture.bin --json";
}

void StreamVerb::AddArguments(CLI::App& aCommand) {
    constexpr std::uint32_t kMostPackets = std::numeric_limits<std::uint32_t>::max();
    auto* const packets = aCommand.add_option("--packets", packets_, "End after so many packets")
                              ->option_text("N")
                              ->check(CheckWhole(1, kMostPackets));
    aCommand.add_option("--seconds", seconds_, "End after so many seconds")
        ->option_text("S")
        ->check(CheckSeconds())
        ->excludes(packets);
    aCommand
        .add_option("--depth", depth_, "How many reads are kept pending, 2 to 1024; 16\nby default")
        ->option_text("D")
        ->check(CheckWhole(2, 1024));
    aCommand.add_option("--out", out_, "Write the packets to this file")
        ->option_text("FILE")
        ->check(CheckFileName());
    aCommand.add_flag("--verify", verify_, "Look at every byte; exit code 1 after a loss");
    aCommand.add_flag("--quiet", quiet_, "Show no progress");
}

void StreamVerb::Run(const Context& aContext) {
    DeviceSession session(aContext);
    const DeviceUse use(session.GetDevice());
    const CtrlC ctrlC;
    std::optional<PacketFile> file;
    if (!out_.empty()) file.emplace(out_);
    PacketFile* const out = file ? &*file : nullptr;

    const std::size_t readSize = PacketReadSize(session.GetParameters());
    aContext.Note("reads of " + std::to_string(readSize) + " bytes, " + std::to_string(depth_) +
                  " pending");
    StreamReader reader(session.GetConnection(),
                        StreamSettings{packets_, seconds_, depth_, readSize, verify_}, out);
    ProgressDisplay display(aContext.err, quiet_);
    RunTransfer(reader, ctrlC.GetEvent(), display, TransferItems{"packet", /*canDrop=*/true});

    FinishTransfer(aContext, session, StreamReportText(reader, out), StreamReportJson(reader, out),
                   StreamFailure(reader, ctrlC.IsPressed()));
}

}  // namespace Qvctl
