// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <limits>
#include <optional>

#include "DeviceUse.h"
#include "QvKit/Guid.h"
#include "QvKit/StreamReader.h"
#include "commandline/ArgumentValues.h"
#include "commandline/BytesArgument.h"
#include "commandline/Duration.h"
#include "output/ErrorReport.h"
#include "output/OutFile.h"
#include "sample/SamplePacketFormat.h"
#include "verbs/TransferReport.h"
#include "verbs/TransferRun.h"
#include "verbs/Verb.h"

namespace Qvctl {
namespace {

class StreamVerb final : public Verb {
public:
    void AddArguments(Arguments& aArguments) override {
        constexpr std::uint32_t kMostPackets = std::numeric_limits<std::uint32_t>::max();
        aArguments.Add("--packets N", packets_, WholeNumber<std::uint32_t>(1, kMostPackets),
                       "End after so many packets");
        aArguments.Add("--seconds S", seconds_, &ParseSeconds, "End after so many seconds");
        aArguments.Add("--timeout DURATION", silence_, &ParseDuration,
                       "End when nothing has come for so long");
        aArguments.Add("--depth D", depth_, WholeNumber<unsigned int>(2, 1024),
                       "How many reads are kept pending, 2 to 1024; 16\nby default");
        aArguments.Add("--size BYTES", size_, WholeNumber<unsigned int>(1, kLargestRequest),
                       "Bytes of a read, 1 to 16777216; by default those\nof the largest packet, "
                       "or 65536 of raw bytes");
        aArguments.Add("--out FILE", out_, &ParseFileName,
                       "Write all that is read to this file; - for\nstandard output");
        const Argument verify =
            aArguments.AddFlag("--verify", verify_, "Check every byte; exit code 1 after a loss");
        aArguments.AddFlag("--raw", raw_, "Read raw bytes, whatever the device is").Exclude(verify);
        aArguments.AddFlag("--quiet", quiet_, "Show no progress");
    }
    Outcome Run(const Context& aContext) override {
        const bool isToStandardOutput = out_ == kStandardOutput;
        if (isToStandardOutput) aContext.printer.PrintTo(aContext.err);
        const QvKit::PacketFormat* const known = FindFormat(aContext.options);
        static const QvKit::RawFormat raw;  // The report refers to it.
        const QvKit::PacketFormat& format = known != nullptr ? *known : raw;
        const ChosenDevice device = aContext.FindDevice();
        const std::size_t readSize = FindReadSize(aContext, device, format);

        const DeviceUse use(device.address);
        // First, so that a file that is there stays as it is without the device.
        const auto channel = aContext.OpenChannel(device);
        const auto file = OpenOutFile(out_);
        aContext.Note("reads of " + std::to_string(readSize) + " bytes, " + std::to_string(depth_) +
                      " pending");
        QvKit::StreamReader reader(*channel, format, MakeSettings(readSize, file.get()),
                                   *aContext.stop);
        // JSON on standard error stays by itself.
        ProgressDisplay display(aContext.err,
                                quiet_ || (isToStandardOutput && aContext.printer.IsJson()));
        const TransferSpan span =
            RunTransfer(reader, display, TransferItems{"packet", format.IsNumbered()});
        return MakeOutcome(device, MakeStreamReport(device, reader, span, file.get()),
                           StreamError(reader, aContext.stop->IsRequested()));
    }

private:
    // Null for raw bytes.
    const QvKit::PacketFormat* FindFormat(const Options& aOptions) const {
        if (raw_) return nullptr;
        const QvKit::PacketFormat* const format =
            FindPacketFormat(aOptions.interfaceClass, aOptions.device);
        if (verify_ && format == nullptr) {
            throw WrongUsage(
                "--verify: the packets of " +
                (aOptions.device.kind != DeviceChoice::Path
                     ? "devices with the interface " + QvKit::GuidToText(aOptions.interfaceClass)
                     : "'" + aOptions.device.text + "'") +
                " are not known");
        }
        return format;
    }

    // Raw bytes depend on no setting. A driver of known packets that has no parameters gets reads
    // for the largest packet.
    std::size_t FindReadSize(const Context& aContext, const ChosenDevice& aDevice,
                             const QvKit::PacketFormat& aFormat) const {
        if (size_) return *size_;
        if (!aFormat.IsNumbered()) return aFormat.GetReadSize(QvKit::Snapshot());
        // Closed again at once: some drivers admit one handle only, and the stream needs it.
        const auto opened = aContext.OpenDevice(aDevice);
        try {
            return aFormat.GetReadSize(aContext.LoadParameters(*opened).GetSnapshot());
        } catch (const QvKit::Error& error) {
            if (error.GetKind() != QvKit::ErrorKind::DeviceFailed) throw;
            aContext.Note(error.what());
            return aFormat.GetReadSize(QvKit::Snapshot());
        }
    }

    // The file may be null; it is borrowed.
    QvKit::StreamSettings MakeSettings(std::size_t aReadSize, QvKit::PacketFile* aFile) const {
        QvKit::StreamSettings settings;
        if (packets_) settings.packets = *packets_;
        if (seconds_) {
            settings.time = std::chrono::ceil<std::chrono::nanoseconds>(
                std::chrono::duration<double>(*seconds_));
        }
        settings.silence = silence_;
        settings.depth = depth_;
        settings.readSize = aReadSize;
        settings.verify = verify_;
        if (aFile != nullptr) {
            settings.onRead = [aFile](const unsigned char* aBytes, std::size_t aSize) {
                aFile->Append(aBytes, aSize);
            };
        }
        return settings;
    }

    std::optional<std::uint32_t> packets_;
    std::optional<double> seconds_;
    std::optional<std::chrono::milliseconds> silence_;
    std::optional<unsigned int> size_;
    unsigned int depth_ = 16;
    std::string out_;  // Empty for none.
    bool verify_ = false;
    bool raw_ = false;
    bool quiet_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakeStreamVerb() { return std::make_unique<StreamVerb>(); }

}  // namespace Qvctl
