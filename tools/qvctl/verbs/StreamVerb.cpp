// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <CLI/CLI.hpp>
#include <cstdint>
#include <limits>
#include <optional>

#include "CtrlC.h"
#include "DeviceUse.h"
#include "InterfaceId.h"
#include "QvKit/StreamReader.h"
#include "commandline/ArgumentChecks.h"
#include "output/ErrorReport.h"
#include "sample/SamplePacketFormat.h"
#include "verbs/TransferReport.h"
#include "verbs/TransferRun.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class StreamVerb final : public Verb {
public:
    std::string GetDetails() const override {
        return "Without --packets and --seconds it runs until Ctrl-C. Progress goes to\n"
               "standard error, the report to standard output. The report says what was lost:\n"
               "gaps in the sequence, packets that the driver had to drop, and packets that\n"
               "were not whole or not in order. With --verify every byte of the payload is\n"
               "checked, and a loss of any kind makes the exit code 1. Packets of other drivers\n"
               "than the sample driver are raw bytes: they are counted, and cannot be verified.\n"
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
    void AddArguments(CLI::App& aCommand) override {
        constexpr std::uint32_t kMostPackets = std::numeric_limits<std::uint32_t>::max();
        auto* const packets =
            aCommand.add_option("--packets", packets_, "End after so many packets")
                ->option_text("N")
                ->check(CheckWhole(1, kMostPackets));
        aCommand.add_option("--seconds", seconds_, "End after so many seconds")
            ->option_text("S")
            ->check(CheckSeconds())
            ->excludes(packets);
        aCommand
            .add_option("--depth", depth_,
                        "How many reads are kept pending, 2 to 1024; 16\nby default")
            ->option_text("D")
            ->check(CheckWhole(2, 1024));
        aCommand.add_option("--out", out_, "Write the packets to this file")
            ->option_text("FILE")
            ->check(CheckFileName());
        aCommand.add_flag("--verify", verify_, "Check every byte; exit code 1 after a loss");
        aCommand.add_flag("--quiet", quiet_, "Show no progress");
    }
    Outcome Run(const Context& aContext) override {
        const GUID& interfaceClass = aContext.options.interfaceClass;
        const QvKit::PacketFormat& format = PacketFormatOf(interfaceClass);
        if (verify_ && !format.IsNumbered()) {
            throw WrongUsage("--verify: the packets of devices with the interface " +
                             InterfaceText(interfaceClass) + " are not known");
        }
        const ChosenDevice device = aContext.FindDevice();
        // Closed again at once: some drivers admit one handle only, and the stream needs it.
        const QvKit::Snapshot settings = aContext.ReadParameters(device);
        const DeviceUse use(device.address);
        const CtrlC ctrlC;
        std::optional<QvKit::PacketFile> file;
        if (!out_.empty()) file.emplace(out_);
        QvKit::PacketFile* const out = file ? &*file : nullptr;

        const auto channel = QvKit::OpenChannel(device.address);
        const QvKit::StreamSettings stream = MakeSettings(format.GetReadSize(settings), out);
        aContext.Note("reads of " + std::to_string(stream.readSize) + " bytes, " +
                      std::to_string(depth_) + " pending");
        QvKit::StreamReader reader(*channel, format, stream, ctrlC.GetStopSignal());
        ProgressDisplay display(aContext.err, quiet_);
        RunTransfer(reader, display, TransferItems{"packet", format.IsNumbered()});
        return MakeOutcome(device, MakeStreamReport(device, reader, out),
                           StreamError(reader, ctrlC.IsPressed()));
    }

private:
    // The file may be null; it is borrowed.
    QvKit::StreamSettings MakeSettings(std::size_t aReadSize, QvKit::PacketFile* aFile) const {
        QvKit::StreamSettings settings;
        if (packets_) settings.packets = *packets_;
        if (seconds_) {
            settings.time = std::chrono::ceil<std::chrono::nanoseconds>(
                std::chrono::duration<double>(*seconds_));
        }
        settings.depth = depth_;
        settings.readSize = aReadSize;
        settings.verify = verify_;
        if (aFile != nullptr) {
            settings.onPacket = [aFile](const unsigned char* aBytes, std::size_t aSize) {
                aFile->Append(aBytes, aSize);
            };
        }
        return settings;
    }

    std::optional<std::uint32_t> packets_;
    std::optional<double> seconds_;
    unsigned int depth_ = 16;
    std::string out_;  // Empty for none.
    bool verify_ = false;
    bool quiet_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeStreamVerb() { return std::make_unique<StreamVerb>(); }

}  // namespace Qvctl
