// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/TransferReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "CtrlC.h"
#include "output/OutFile.h"
#include "output/Printable.h"
#include "output/Quantity.h"
#include "output/Rows.h"
#include "output/SettingJson.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::Error;
using QvKit::PacketAccount;

// What every transfer reports.
struct Figures {
    Figures(const QvKit::Transfer& aTransfer, std::uint64_t aBytes, const TransferSpan& aSpan)
        : bytes(aBytes),
          span(aSpan),
          time(aTransfer.GetTime()),
          intervals(aTransfer.GetIntervals()) {}

    double GetSeconds() const { return std::chrono::duration<double>(time).count(); }
    double GetRate() const { return PerSecond(bytes, GetSeconds()); }

    void AddTo(std::vector<Row>& aRows) const {
        aRows.emplace_back("bytes", std::to_string(bytes));
        aRows.emplace_back("time", DurationText(static_cast<std::uint64_t>(time.count())));
        aRows.emplace_back("throughput", RateText(GetRate()));
    }
    void AddTo(ordered_json& aJson) const {
        aJson["bytes"] = bytes;
        aJson["seconds"] = GetSeconds();
        aJson["bytesPerSecond"] = GetRate();
        aJson["began"] = UtcText(span.began);
        aJson["ended"] = UtcText(span.ended);
    }

    std::uint64_t bytes;
    TransferSpan span;
    std::chrono::nanoseconds time;
    QvKit::IntervalStatistics intervals;
};

std::string FailuresText(const PacketAccount& aAccount) {
    std::string text = std::to_string(aAccount.GetFailures());
    if (aAccount.GetFailures() > 0) text += " (" + aAccount.GetFirstFailure() + ")";
    if (!aAccount.IsWithPayload()) text += " (payload not looked at: no --verify)";
    return text;
}

std::string GapsText(const PacketAccount& aAccount) {
    if (!aAccount.IsSequenceKnown()) return "unknown: no packet with a number has come";
    std::string text = std::to_string(aAccount.GetGaps()) + " (" +
                       CountText(aAccount.GetMissing(), "packet") + " missing";
    if (aAccount.GetUnnumbered() > 0) {
        text += ", " + CountText(aAccount.GetUnnumbered(), "read") + " without a number";
    }
    return text + ")";
}

std::string DroppedText(const PacketAccount& aAccount) {
    return aAccount.IsSequenceKnown() ? std::to_string(aAccount.GetDropped()) : "unknown";
}

std::string LossText(const PacketAccount& aAccount) {
    return "not every packet has arrived whole: " + std::to_string(aAccount.GetMissing()) +
           " missing, " + std::to_string(aAccount.GetDropped()) + " dropped by the driver, " +
           CountText(aAccount.GetFailures(), "verification failure");
}

class StreamReport final : public Report {
public:
    StreamReport(const ChosenDevice& aDevice, const QvKit::StreamReader& aReader,
                 const TransferSpan& aSpan, const QvKit::PacketFile* aFile)
        : device_(aDevice),
          figures_(aReader, aReader.GetAccount().GetBytes(), aSpan),
          account_(aReader.GetAccount()) {
        if (aFile != nullptr) out_ = {aFile->GetPath(), aFile->GetPackets(), aFile->GetBytes()};
    }

    void WriteText(Output& aOut) const override {
        std::vector<Row> rows = {{"packets", std::to_string(account_.GetPackets())}};
        figures_.AddTo(rows);
        rows.emplace_back("packet format", account_.GetFormat().GetName());
        if (account_.GetFormat().IsNumbered()) {
            rows.emplace_back("gaps in the sequence", GapsText(account_));
            rows.emplace_back("dropped by the driver", DroppedText(account_));
            rows.emplace_back("verification failures", FailuresText(account_));
        }
        rows.emplace_back("between completions", IntervalsText(figures_.intervals));
        if (out_) {
            const bool isFile = out_->path != kStandardOutput;
            rows.emplace_back("written", CountText(out_->packets, "packet") + ", " +
                                             CountText(out_->bytes, "byte") + ", to " +
                                             (isFile ? Printable(out_->path) : "standard output"));
        }
        WriteRows(aOut, rows);
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["packets"] = account_.GetPackets();
        figures_.AddTo(json);
        json["format"] = account_.GetFormat().GetName();
        AddAccountTo(json);
        json["completionIntervalsUs"] = IntervalsJson(figures_.intervals);
        json["out"] = nullptr;
        if (out_) {
            json["out"] = {
                {"file", out_->path}, {"packets", out_->packets}, {"bytes", out_->bytes}};
        }
        json["error"] = nullptr;
        return json;
    }

private:
    struct Written {
        std::string path;
        std::uint64_t packets;
        std::uint64_t bytes;
    };

    // Null is what cannot be known of packets without numbers.
    void AddAccountTo(ordered_json& aJson) const {
        const auto countIf = [](bool aIsKnown, std::uint64_t aCount) {
            return aIsKnown ? ordered_json(aCount) : ordered_json();
        };
        const bool isSequenceKnown = account_.IsSequenceKnown();
        const bool isFormatKnown = account_.GetFormat().IsNumbered();
        aJson["gaps"] = countIf(isSequenceKnown, account_.GetGaps());
        aJson["packetsMissing"] = countIf(isSequenceKnown, account_.GetMissing());
        aJson["packetsDropped"] = countIf(isSequenceKnown, account_.GetDropped());
        aJson["packetsUnnumbered"] = countIf(isFormatKnown, account_.GetUnnumbered());
        aJson["verified"] = account_.IsWithPayload();
        aJson["verificationFailures"] = countIf(isFormatKnown, account_.GetFailures());
        aJson["firstVerificationFailure"] = nullptr;
        if (account_.GetFailures() > 0) {
            aJson["firstVerificationFailure"] = account_.GetFirstFailure();
        }
    }

    ChosenDevice device_;
    Figures figures_;
    PacketAccount account_;
    std::optional<Written> out_;
};

class SendReport final : public Report {
public:
    SendReport(const ChosenDevice& aDevice, const QvKit::FileSender& aSender,
               const TransferSpan& aSpan)
        : device_(aDevice),
          path_(aSender.GetPath()),
          requests_(aSender.GetRequests()),
          busyRetries_(aSender.GetBusyRetries()),
          figures_(aSender, aSender.GetBytes(), aSpan) {}

    void WriteText(Output& aOut) const override {
        std::vector<Row> rows = {{"requests", std::to_string(requests_)}};
        figures_.AddTo(rows);
        rows.emplace_back("sent again",
                          CountText(busyRetries_, "time") + ", as the device was busy");
        rows.emplace_back("between completions", IntervalsText(figures_.intervals));
        WriteRows(aOut, rows);
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["file"] = path_;
        json["requests"] = requests_;
        figures_.AddTo(json);
        json["busyRetries"] = busyRetries_;
        json["completionIntervalsUs"] = IntervalsJson(figures_.intervals);
        json["error"] = nullptr;
        return json;
    }

private:
    ChosenDevice device_;
    std::string path_;
    std::uint64_t requests_;
    std::uint64_t busyRetries_;
    Figures figures_;
};

}  // namespace

std::string IntervalsText(const QvKit::IntervalStatistics& aIntervals) {
    if (aIntervals.GetCount() == 0) return "too few";
    return "min " + DurationText(aIntervals.GetMinimum()) + ", median " +
           DurationText(aIntervals.GetPercentile(50)) + ", p99 " +
           DurationText(aIntervals.GetPercentile(99)) + ", max " +
           DurationText(aIntervals.GetMaximum());
}

ordered_json IntervalsJson(const QvKit::IntervalStatistics& aIntervals) {
    if (aIntervals.GetCount() == 0) return nullptr;
    const auto microseconds = [](std::uint64_t aNanoseconds) {
        constexpr double kNanosecondsPerMicrosecond = 1000.0;
        return static_cast<double>(aNanoseconds) / kNanosecondsPerMicrosecond;
    };
    ordered_json json;
    json["minimum"] = microseconds(aIntervals.GetMinimum());
    json["median"] = microseconds(aIntervals.GetPercentile(50));
    json["p99"] = microseconds(aIntervals.GetPercentile(99));
    json["maximum"] = microseconds(aIntervals.GetMaximum());
    return json;
}

std::unique_ptr<Report> MakeStreamReport(const ChosenDevice& aDevice,
                                         const QvKit::StreamReader& aReader,
                                         const TransferSpan& aSpan,
                                         const QvKit::PacketFile* aFile) {
    return std::make_unique<StreamReport>(aDevice, aReader, aSpan, aFile);
}

std::unique_ptr<Report> MakeSendReport(const ChosenDevice& aDevice,
                                       const QvKit::FileSender& aSender,
                                       const TransferSpan& aSpan) {
    return std::make_unique<SendReport>(aDevice, aSender, aSpan);
}

std::optional<Error> StreamError(const QvKit::StreamReader& aReader, bool aIsInterrupted) {
    const PacketAccount& account = aReader.GetAccount();
    if (!aReader.GetError() && account.IsWithPayload() && !account.IsClean()) {
        return Error(QvKit::ErrorKind::DeviceFailed, LossText(account));
    }
    std::optional<Error> error = TransferError(aReader, aIsInterrupted);
    const std::optional<std::uint64_t> wanted = aReader.GetSettings().packets;
    if (error || !wanted || account.GetPackets() >= *wanted) return error;
    return Error(QvKit::ErrorKind::DeviceFailed, "only " + std::to_string(account.GetPackets()) +
                                                     " of " + CountText(*wanted, "packet") +
                                                     " have come before the time was over");
}

std::optional<Error> TransferError(const QvKit::Transfer& aTransfer, bool aIsInterrupted) {
    if (aTransfer.GetError() || !aIsInterrupted) return aTransfer.GetError();
    return Interrupted();
}

Outcome MakeOutcome(const ChosenDevice& aDevice, std::unique_ptr<Report> aReport,
                    const std::optional<Error>& aError) {
    Outcome outcome{std::move(aReport), std::nullopt};
    if (aError) outcome.error = QvKit::ExplainRemoval(aDevice.address, *aError);
    return outcome;
}

}  // namespace Qvctl
