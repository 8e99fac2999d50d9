// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Failure.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace Qvctl {
namespace {

std::string Line(const Refusal& aRefusal) {
    std::string line = aRefusal.name;
    if (aRefusal.value) line += "=" + *aRefusal.value + " refused";
    line += ": " + aRefusal.reason;
    if (!aRefusal.hint.empty()) line += " (" + aRefusal.hint + ")";
    return line;
}

nlohmann::ordered_json Json(const Refusal& aRefusal) {
    nlohmann::ordered_json json;
    json["name"] = aRefusal.name;
    json["value"] = nullptr;
    if (aRefusal.value) json["value"] = *aRefusal.value;
    json["reason"] = aRefusal.reason;
    json["hint"] = aRefusal.hint;
    json["code"] = aRefusal.code;
    return json;
}

std::vector<std::string> Lines(const std::vector<Refusal>& aRefusals,
                               const std::string& aConsequence) {
    std::vector<std::string> lines;
    lines.reserve(aRefusals.size());
    for (const Refusal& refusal : aRefusals) lines.push_back(Line(refusal));
    if (!aConsequence.empty()) lines.back() += "; " + aConsequence;
    return lines;
}

std::string Join(const std::vector<std::string>& aLines) {
    std::string joined;
    for (const std::string& line : aLines) joined += joined.empty() ? line : "; " + line;
    return joined;
}

}  // namespace

Failure::Failure(ExitCode aExitCode, const std::string& aMessage)
    : exitCode_(aExitCode), lines_{aMessage}, message_(aMessage) {}

Failure::Failure(ExitCode aExitCode, const std::string& aMessage, unsigned long aCode)
    : exitCode_(aExitCode), lines_{aMessage}, message_(aMessage), code_(aCode) {}

Failure::Failure(std::vector<Refusal> aRefusals, const std::string& aConsequence)
    : exitCode_(ExitCode::Failed),
      lines_(Lines(aRefusals, aConsequence)),
      message_(Join(lines_)),
      refusals_(std::move(aRefusals)) {}

nlohmann::ordered_json Failure::ToJson() const {
    nlohmann::ordered_json json;
    json["kind"] = GetKind();
    json["exitCode"] = static_cast<int>(exitCode_);
    json["message"] = message_;
    json["code"] = nullptr;
    if (code_) json["code"] = *code_;
    json["refusals"] = nlohmann::ordered_json::array();
    for (const Refusal& refusal : refusals_) json["refusals"].push_back(Json(refusal));
    return json;
}

Failure Failure::InReport() const {
    Failure failure = *this;
    failure.isInReport_ = true;
    return failure;
}

const char* Failure::GetKind() const {
    switch (exitCode_) {
        case ExitCode::WrongUsage:
            return "usage";
        case ExitCode::NoSuchDevice:
            return "no-device";
        case ExitCode::Interrupted:
            return "interrupted";
        default:
            return refusals_.empty() ? "failed" : "refused";
    }
}

}  // namespace Qvctl
