// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Change.h"

#include <utility>

#include "QvUserLib/DeviceParameterRepository.h"
#include "ValueFromText.h"

namespace QvKit {
namespace {

using QvUserLib::Parameter;

Value ReadValue(const Parameter& aParameter, SettingType aType) {
    if (aType == SettingType::String) return std::wstring(aParameter.GetString().GetUnicode());
    return aParameter.GetInt();
}

std::string HintFor(const Setting& aSetting) {
    if (aSetting.isReadOnly || aSetting.type == SettingType::String) return std::string();
    const std::string unit = aSetting.unit.empty() ? aSetting.unit : " " + aSetting.unit;
    return "allowed: " + aSetting.DescribeRange() + unit;
}

Refusal RefuseLost(const Change::Edit& aEdit, const Setting* aHeld) {
    Refusal refusal;
    refusal.name = aEdit.setting.name;
    refusal.value = aEdit.request;
    if (aHeld == nullptr) {
        refusal.reason = "The device does not have it any more";
        refusal.code = static_cast<unsigned long>(QvUserLib::Code::NotFound);
    } else {
        refusal.reason = "The device did not keep the value";
        refusal.hint = "it holds " + aHeld->DescribeWithUnit(aHeld->value);
        refusal.code = static_cast<unsigned long>(QvUserLib::Code::NotAllowed);
    }
    return refusal;
}

}  // namespace

Change::Change(DeviceParameters& aParameters)
    : parameters_(aParameters), before_(aParameters.GetSnapshot()) {}

void Change::Set(const std::string& aName, const std::string& aText) { EditOne(aName, aText); }

void Change::Reset(const std::string& aName) { EditOne(aName, std::nullopt); }

void Change::EditOne(const std::string& aName, const std::optional<std::string>& aRequest) {
    const Setting* const setting = before_.Find(aName);
    if (setting == nullptr) {
        refusals_.push_back(before_.RefuseUnknown(aName));
        refusals_.back().value = aRequest;
        return;
    }
    Parameter& parameter = *parameters_.GetRepository().GetByID(setting->id);
    const std::optional<ValueRefusal> refused =
        aRequest ? SetFromText(parameter, *setting, *aRequest) : SetToDefault(parameter, *setting);
    if (refused) {
        refusals_.push_back(Refusal{aName, aRequest, refused->reason, HintFor(*setting),
                                    refused->code, refused->isLogged});
        return;
    }
    edits_.push_back(Edit{*setting, aRequest, ReadValue(parameter, setting->type)});
}

void Change::Send() {
    if (!refusals_.empty()) throw Error(refusals_, "nothing was sent");

    parameters_.Apply();
    parameters_.Refresh("the change was sent, but the device's parameters cannot be read");
    CompareWithDevice();
}

// A driver may round, or take a value without keeping it, and still return success.
void Change::CompareWithDevice() const {
    const Snapshot held = parameters_.GetSnapshot();
    std::vector<Refusal> refusals;
    for (const Edit& edit : edits_) {
        const Setting* const setting = held.Find(edit.setting.name);
        const bool isKept =
            setting != nullptr && (setting->isVolatile || setting->value == edit.after);
        if (!isKept) refusals.push_back(RefuseLost(edit, setting));
    }
    if (!refusals.empty()) throw Error(std::move(refusals), "the change was sent");
}

}  // namespace QvKit
