// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/ErrorReport.h"

#include <nlohmann/json.hpp>

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::Error;
using QvKit::ErrorKind;
using QvKit::Refusal;

// What becomes of an error of a kind.
struct KindReport {
    const char* name;  // In the JSON output.
    ErrorKind kind;
    ExitCode exitCode;
};

constexpr KindReport kReports[] = {
    {"usage", ErrorKind::WrongUse, ExitCode::WrongUsage},
    {"no-device", ErrorKind::NoSuchDevice, ExitCode::NoSuchDevice},
    {"interrupted", ErrorKind::Cancelled, ExitCode::Interrupted},
    {"timed-out", ErrorKind::TimedOut, ExitCode::TimedOut},
    {"refused", ErrorKind::Refused, ExitCode::Failed},
    {"changed", ErrorKind::ChangedMeanwhile, ExitCode::Failed},
};

KindReport ReportOf(ErrorKind aKind) {
    for (const KindReport& report : kReports) {
        if (report.kind == aKind) return report;
    }
    return {"failed", aKind, ExitCode::Failed};
}

ordered_json RefusalToJson(const Refusal& aRefusal) {
    ordered_json json;
    json["name"] = aRefusal.name;
    json["value"] = nullptr;
    if (aRefusal.value) json["value"] = *aRefusal.value;
    json["reason"] = aRefusal.reason;
    json["hint"] = aRefusal.hint;
    json["code"] = aRefusal.code;
    return json;
}

}  // namespace

ExitCode ExitCodeOf(ErrorKind aKind) { return ReportOf(aKind).exitCode; }

std::vector<std::string> LinesOf(const Error& aError) {
    if (aError.GetRefusals().empty()) return {aError.what()};
    std::vector<std::string> lines;
    for (const Refusal& refusal : aError.GetRefusals()) lines.push_back(refusal.ToText());
    if (!aError.GetConsequence().empty()) lines.back() += "; " + aError.GetConsequence();
    return lines;
}

ordered_json ToJson(const Error& aError) {
    ordered_json json;
    const KindReport report = ReportOf(aError.GetKind());
    json["kind"] = report.name;
    json["exitCode"] = static_cast<int>(report.exitCode);
    json["message"] = aError.what();
    json["code"] = nullptr;
    if (const auto& code = aError.GetCode()) json["code"] = *code;
    json["refusals"] = ordered_json::array();
    for (const Refusal& refusal : aError.GetRefusals())
        json["refusals"].push_back(RefusalToJson(refusal));
    return json;
}

Error WrongUsage(const std::string& aMessage) { return Error(ErrorKind::WrongUse, aMessage); }

}  // namespace Qvctl
