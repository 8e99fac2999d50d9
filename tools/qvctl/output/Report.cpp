// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Report.h"

#include <nlohmann/json.hpp>

#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

// One object in lines of its own, or all of it in one line.
std::string Format(const nlohmann::ordered_json& aJson, bool aInOneLine) {
    return aJson.dump(aInOneLine ? -1 : 2);
}

}  // namespace

void Printer::Print(const Outcome& aOutcome) const {
    if (!isJson_) {
        if (aOutcome.report != nullptr) aOutcome.report->WriteText(*out_);
        return;
    }
    nlohmann::ordered_json json;
    if (aOutcome.report != nullptr) json = aOutcome.report->ToJson();
    if (aOutcome.error) json["error"] = ToJson(*aOutcome.error);
    if (!json.is_null()) out_->WriteLine(Format(json, isSeries_));
}

void Printer::PrintPart(const Report& aPart) const {
    if (!isJson_) aPart.WriteText(*out_);
}

void Printer::PrintNext(const Report& aReport) const {
    if (isJson_) {
        out_->WriteLine(Format(aReport.ToJson(), /*aInOneLine=*/true));
    } else {
        aReport.WriteText(*out_);
    }
}

}  // namespace Qvctl
