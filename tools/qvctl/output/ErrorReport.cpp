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

const char* NameOf(ErrorKind aKind) {
    switch (aKind) {
        case ErrorKind::WrongUse:
            return "usage";
        case ErrorKind::NoSuchDevice:
            return "no-device";
        case ErrorKind::Cancelled:
            return "interrupted";
        case ErrorKind::TimedOut:
            return "timed-out";
        case ErrorKind::Refused:
            return "refused";
        case ErrorKind::ChangedMeanwhile:
            return "changed";
        default:
            return "failed";
    }
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

ExitCode ExitCodeOf(ErrorKind aKind) {
    switch (aKind) {
        case ErrorKind::WrongUse:
            return ExitCode::WrongUsage;
        case ErrorKind::NoSuchDevice:
            return ExitCode::NoSuchDevice;
        case ErrorKind::Cancelled:
            return ExitCode::Interrupted;
        case ErrorKind::TimedOut:
            return ExitCode::TimedOut;
        default:
            return ExitCode::Failed;
    }
}

std::vector<std::string> LinesOf(const Error& aError) {
    if (aError.GetRefusals().empty()) return {aError.what()};
    std::vector<std::string> lines;
    for (const Refusal& refusal : aError.GetRefusals()) lines.push_back(refusal.ToText());
    if (!aError.GetConsequence().empty()) lines.back() += "; " + aError.GetConsequence();
    return lines;
}

ordered_json ToJson(const Error& aError) {
    ordered_json json;
    json["kind"] = NameOf(aError.GetKind());
    json["exitCode"] = static_cast<int>(ExitCodeOf(aError.GetKind()));
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
