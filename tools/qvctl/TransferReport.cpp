// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "TransferReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "CtrlC.h"
#include "ParameterJson.h"
#include "Quantity.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;

// A name and what is to be told under it.
using Row = std::pair<std::string, std::string>;

std::string FormatRows(const std::vector<Row>& aRows) {
    std::size_t width = 0;
    for (const Row& row : aRows) width = std::max(width, row.first.size());
    std::string text;
    for (const Row& row : aRows) {
        text += row.first + std::string(width - row.first.size() + 2, ' ') + row.second + "\n";
    }
    return text;
}

std::string SecondsText(double aSeconds) {
    constexpr double kNsPerSecond = 1e9;
    return DurationText(static_cast<std::uint64_t>(aSeconds * kNsPerSecond));
}

std::string FailuresText(const PacketCheck& aCheck) {
    std::string text = std::to_string(aCheck.GetFailures());
    if (aCheck.GetFailures() > 0) text += " (" + aCheck.GetFirstFailure() + ")";
    if (!aCheck.IsWithPayload()) text += " (payload not looked at: no --verify)";
    return text;
}

std::string LossText(const PacketCheck& aCheck) {
    return "not every packet has arrived whole: " + std::to_string(aCheck.GetMissing()) +
           " missing, " + std::to_string(aCheck.GetDropped()) + " dropped by the driver, " +
           CountText(aCheck.GetFailures(), "verification failure");
}

std::optional<Failure> FailureOf(const TransferThread& aTransfer, bool aIsInterrupted) {
    if (aTransfer.GetFailure()) return aTransfer.GetFailure();
    if (aIsInterrupted) return Interrupted();
    return std::nullopt;
}

}  // namespace

std::string StreamReportText(const StreamReader& aReader, const PacketFile* aFile) {
    const PacketCheck& check = aReader.GetCheck();
    std::vector<Row> rows = {
        {"packets", std::to_string(check.GetPackets())},
        {"bytes", std::to_string(check.GetBytes())},
        {"time", SecondsText(aReader.GetSeconds())},
        {"throughput", RateText(PerSecond(check.GetBytes(), aReader.GetSeconds()))},
        {"gaps in the sequence", std::to_string(check.GetGaps()) + " (" +
                                     CountText(check.GetMissing(), "packet") + " missing)"},
        {"dropped by the driver", std::to_string(check.GetDropped())},
        {"verification failures", FailuresText(check)},
        {"between completions", aReader.GetIntervals().ToText()},
    };
    if (aFile != nullptr) {
        rows.emplace_back("written", CountText(aFile->GetPackets(), "packet") + ", " +
                                         CountText(aFile->GetBytes(), "byte") + ", to " +
                                         Printable(aFile->GetPath()));
    }
    return FormatRows(rows);
}

ordered_json StreamReportJson(const StreamReader& aReader, const PacketFile* aFile) {
    const PacketCheck& check = aReader.GetCheck();
    ordered_json json;
    json["packets"] = check.GetPackets();
    json["bytes"] = check.GetBytes();
    json["seconds"] = aReader.GetSeconds();
    json["bytesPerSecond"] = PerSecond(check.GetBytes(), aReader.GetSeconds());
    json["gaps"] = check.GetGaps();
    json["packetsMissing"] = check.GetMissing();
    json["packetsDropped"] = check.GetDropped();
    json["verified"] = check.IsWithPayload();
    json["verificationFailures"] = check.GetFailures();
    json["firstVerificationFailure"] = nullptr;
    if (check.GetFailures() > 0) json["firstVerificationFailure"] = check.GetFirstFailure();
    json["completionIntervalsUs"] = aReader.GetIntervals().ToJson();
    json["out"] = nullptr;
    if (aFile != nullptr) {
        json["out"]["file"] = aFile->GetPath();
        json["out"]["packets"] = aFile->GetPackets();
        json["out"]["bytes"] = aFile->GetBytes();
    }
    return json;
}

std::string SendReportText(const FileSender& aSender) {
    return FormatRows({
        {"requests", std::to_string(aSender.GetRequests())},
        {"bytes", std::to_string(aSender.GetBytes())},
        {"time", SecondsText(aSender.GetSeconds())},
        {"throughput", RateText(PerSecond(aSender.GetBytes(), aSender.GetSeconds()))},
        {"sent again", CountText(aSender.GetBusyRetries(), "time") + ", as the device was busy"},
        {"between completions", aSender.GetIntervals().ToText()},
    });
}

ordered_json SendReportJson(const FileSender& aSender) {
    ordered_json json;
    json["file"] = aSender.GetPath();
    json["requests"] = aSender.GetRequests();
    json["bytes"] = aSender.GetBytes();
    json["seconds"] = aSender.GetSeconds();
    json["bytesPerSecond"] = PerSecond(aSender.GetBytes(), aSender.GetSeconds());
    json["busyRetries"] = aSender.GetBusyRetries();
    json["completionIntervalsUs"] = aSender.GetIntervals().ToJson();
    return json;
}

std::optional<Failure> StreamFailure(const StreamReader& aReader, bool aIsInterrupted) {
    const PacketCheck& check = aReader.GetCheck();
    if (!aReader.GetFailure() && check.IsWithPayload() && !check.IsClean()) {
        return Failure(ExitCode::Failed, LossText(check));
    }
    return FailureOf(aReader, aIsInterrupted);
}

std::optional<Failure> SendFailure(const FileSender& aSender, bool aIsInterrupted) {
    return FailureOf(aSender, aIsInterrupted);
}

void FinishTransfer(const Context& aContext, const DeviceSession& aSession,
                    const std::string& aText, const ordered_json& aJson,
                    const std::optional<Failure>& aFailure) {
    std::optional<Failure> failure;
    if (aFailure) failure = aSession.Explain(*aFailure);
    if (aContext.options.json) {
        ordered_json json;
        json["device"] = DeviceToJson(aSession.GetDevice());
        json.update(aJson);
        json["error"] = nullptr;
        if (failure) json["error"] = failure->ToJson();
        aContext.out.WriteLine(json.dump(2));
    } else {
        aContext.out.Write(aText);
    }
    if (failure) throw failure->InReport();
}

}  // namespace Qvctl
