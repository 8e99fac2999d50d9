// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/TransferReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "CtrlC.h"
#include "output/Printable.h"
#include "output/Quantity.h"
#include "output/SettingJson.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::Error;
using QvKit::PacketAccount;

// A name and what belongs to it.
using Row = std::pair<std::string, std::string>;

void WriteRows(Output& aOut, const std::vector<Row>& aRows) {
    std::size_t width = 0;
    for (const Row& row : aRows) width = std::max(width, row.first.size());
    for (const Row& row : aRows) {
        aOut.WriteLine(row.first + std::string(width - row.first.size() + 2, ' ') + row.second);
    }
}

// What every transfer reports.
struct Figures {
    Figures(const QvKit::Transfer& aTransfer, std::uint64_t aBytes)
        : bytes(aBytes), time(aTransfer.GetTime()), intervals(aTransfer.GetIntervals()) {}

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
    }

    std::uint64_t bytes;
    std::chrono::nanoseconds time;
    QvKit::IntervalStatistics intervals;
};

std::string FailuresText(const PacketAccount& aAccount) {
    std::string text = std::to_string(aAccount.GetFailures());
    if (aAccount.GetFailures() > 0) text += " (" + aAccount.GetFirstFailure() + ")";
    if (!aAccount.IsWithPayload()) text += " (payload not looked at: no --verify)";
    return text;
}

std::string LossText(const PacketAccount& aAccount) {
    return "not every packet has arrived whole: " + std::to_string(aAccount.GetMissing()) +
           " missing, " + std::to_string(aAccount.GetDropped()) + " dropped by the driver, " +
           CountText(aAccount.GetFailures(), "verification failure");
}

class StreamReport final : public Report {
public:
    StreamReport(const ChosenDevice& aDevice, const QvKit::StreamReader& aReader,
                 const QvKit::PacketFile* aFile)
        : device_(aDevice),
          figures_(aReader, aReader.GetAccount().GetBytes()),
          account_(aReader.GetAccount()) {
        if (aFile != nullptr) out_ = {aFile->GetPath(), aFile->GetPackets(), aFile->GetBytes()};
    }

    void WriteText(Output& aOut) const override {
        std::vector<Row> rows = {{"packets", std::to_string(account_.GetPackets())}};
        figures_.AddTo(rows);
        if (account_.IsNumbered()) {
            rows.emplace_back("gaps in the sequence",
                              std::to_string(account_.GetGaps()) + " (" +
                                  CountText(account_.GetMissing(), "packet") + " missing)");
            rows.emplace_back("dropped by the driver", std::to_string(account_.GetDropped()));
            rows.emplace_back("verification failures", FailuresText(account_));
        }
        rows.emplace_back("between completions", IntervalsText(figures_.intervals));
        if (out_) {
            rows.emplace_back("written", CountText(out_->packets, "packet") + ", " +
                                             CountText(out_->bytes, "byte") + ", to " +
                                             Printable(out_->path));
        }
        WriteRows(aOut, rows);
    }

    ordered_json ToJson() const override {
        ordered_json json;
        json["device"] = Qvctl::ToJson(device_);
        json["packets"] = account_.GetPackets();
        figures_.AddTo(json);
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
        const auto known = [this](std::uint64_t aCount) {
            return account_.IsNumbered() ? ordered_json(aCount) : ordered_json();
        };
        aJson["gaps"] = known(account_.GetGaps());
        aJson["packetsMissing"] = known(account_.GetMissing());
        aJson["packetsDropped"] = known(account_.GetDropped());
        aJson["verified"] = account_.IsWithPayload();
        aJson["verificationFailures"] = known(account_.GetFailures());
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
    SendReport(const ChosenDevice& aDevice, const QvKit::FileSender& aSender)
        : device_(aDevice),
          path_(aSender.GetPath()),
          requests_(aSender.GetRequests()),
          busyRetries_(aSender.GetBusyRetries()),
          figures_(aSender, aSender.GetBytes()) {}

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
                                         const QvKit::PacketFile* aFile) {
    return std::make_unique<StreamReport>(aDevice, aReader, aFile);
}

std::unique_ptr<Report> MakeSendReport(const ChosenDevice& aDevice,
                                       const QvKit::FileSender& aSender) {
    return std::make_unique<SendReport>(aDevice, aSender);
}

std::optional<Error> StreamError(const QvKit::StreamReader& aReader, bool aIsInterrupted) {
    const PacketAccount& account = aReader.GetAccount();
    if (!aReader.GetError() && account.IsWithPayload() && !account.IsClean()) {
        return Error(QvKit::ErrorKind::DeviceFailed, LossText(account));
    }
    return TransferError(aReader, aIsInterrupted);
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
