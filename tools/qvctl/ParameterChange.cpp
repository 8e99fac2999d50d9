// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ParameterChange.h"

#include "LibraryError.h"
#include "ParameterSelection.h"

namespace Qvctl {

using QvUserLib::Parameter;
using QvUserLib::Result;

void ParameterChange::Set(const std::string& aName, const std::string& aValue) {
    EditOne(aName, aValue);
}

void ParameterChange::Reset(const std::string& aName) { EditOne(aName, std::nullopt); }

void ParameterChange::EditOne(const std::string& aName,
                              const std::optional<std::string>& aRequest) {
    Parameter* const parameter = FindParameter(parameters_, aName);
    const Value before = parameter == nullptr ? Value() : GetValue(*parameter);

    const Result result = aRequest ? SetFromText(parameter, *aRequest) : SetToDefault(parameter);
    if (parameter == nullptr || result.IsFailure()) {
        refusals_.push_back(Refusal{aName, aRequest, ReasonFor(result), HintFor(parameter, aName),
                                    result.GetCode()});
        return;
    }
    edits_.push_back(Edit{parameter->GetID(), aName, aRequest, before, GetValue(*parameter)});
}

void ParameterChange::Send() {
    if (!refusals_.empty()) throw Failure(refusals_, "nothing was sent");

    const Result applied = parameters_.Apply();
    if (applied.IsFailure()) throw DriverFailure("the device refused the change", applied);

    const Result refreshed = parameters_.Refresh();
    if (refreshed.IsFailure()) {
        throw DriverFailure("the change was sent, but the device does not tell its values",
                            refreshed);
    }
    CompareWithDevice();
}

std::string ParameterChange::HintFor(const Parameter* aParameter, const std::string& aName) const {
    if (aParameter == nullptr) return SuggestName(parameters_, aName);
    if (aParameter->IsReadOnly() || aParameter->GetType() == Parameter::TypeString) {
        return std::string();
    }
    const std::string unit = GetDescription(*aParameter).unit;
    return "allowed: " + RangeText(*aParameter) + (unit.empty() ? unit : " " + unit);
}

// A driver may round, or take a value without keeping it, and still answer success.
void ParameterChange::CompareWithDevice() const {
    std::vector<Refusal> refusals;
    for (const Edit& edit : edits_) {
        const Parameter* const parameter = parameters_.GetByID(edit.id);
        if (parameter == nullptr) {
            refusals.push_back(Refusal{edit.name, edit.request,
                                       "The device does not have it any more", std::string(),
                                       QvUserLib::Code::NotFound});
        } else if (!parameter->IsVolatile() && GetValue(*parameter) != edit.after) {
            refusals.push_back(
                Refusal{edit.name, edit.request, "The device did not keep the value",
                        "it holds " + ToDisplayWithUnit(*parameter, GetValue(*parameter)),
                        QvUserLib::Code::NotAllowed});
        }
    }
    if (!refusals.empty()) throw Failure(refusals, "the change was sent");
}

}  // namespace Qvctl
