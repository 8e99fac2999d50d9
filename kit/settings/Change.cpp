// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Change.h"

#include <utility>

#include "QvKit/Spelling.h"
#include "QvKit/Text.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "ValueFromText.h"

namespace QvKit {
namespace {

using QvUserLib::Parameter;

Value ReadValue(const Parameter& aParameter, SettingType aType) {
    if (aType == SettingType::String) return std::wstring(aParameter.GetString().GetUnicode());
    return aParameter.GetInt();
}

std::string HintFor(const Setting& aSetting, const std::optional<std::string>& aRequest) {
    if (aSetting.isReadOnly || aSetting.type == SettingType::String) return std::string();
    const bool hasUnit = !aSetting.unit.empty() && aSetting.unit != kHexadecimalUnit;
    const std::string unit = hasUnit ? " " + aSetting.unit : std::string();
    const std::string nearest = FindNearestWord(aRequest.value_or(""), aSetting.entries);
    const std::string guess = nearest.empty() ? nearest : "did you mean " + nearest + "? ";
    return guess + "allowed: " + aSetting.DescribeRange() + unit;
}

// What the device holds instead of what was sent. Nobody can tell whether it was the driver or
// another program.
std::string DescribeLoss(const Change::Edit& aEdit, const Setting* aHeld) {
    const Setting& setting = aEdit.setting;
    if (aHeld == nullptr) return "the device does not have " + setting.name + " any more";
    return setting.name + " holds " + aHeld->DescribeWithUnit(aHeld->value) + " instead of " +
           setting.DescribeWithUnit(aEdit.after) +
           ": changed by another program meanwhile, or not kept by the device";
}

void AppendTo(std::string& aList, const std::string& aText, const char* aSeparator) {
    aList += (aList.empty() ? "" : aSeparator) + aText;
}

}  // namespace

Change::Change(DeviceParameters& aParameters)
    : parameters_(aParameters), before_(aParameters.GetSnapshot()) {}

void Change::Set(const std::string& aName, const std::string& aText) {
    EditOne(aName, aText, FromUtf8(aText));
}

void Change::SetEscaped(const std::string& aName, const std::string& aText) {
    EditOne(aName, aText, Unescape(aText));
}

void Change::Reset(const std::string& aName) { EditOne(aName, std::nullopt, std::nullopt); }

void Change::EditOne(const std::string& aName, const std::optional<std::string>& aRequest,
                     const std::optional<std::wstring>& aText) {
    const Setting* const setting = before_.Find(aName);
    if (setting == nullptr) {
        refusals_.push_back(before_.RefuseUnknown(aName));
        refusals_.back().value = aRequest;
        return;
    }
    Parameter& parameter = *parameters_.GetRepository().GetByID(setting->id);
    const std::optional<ValueRefusal> refused =
        aText ? SetFromText(parameter, *setting, *aText) : SetToDefault(parameter, *setting);
    if (refused) {
        refusals_.push_back(Refusal{aName, aRequest, refused->reason, HintFor(*setting, aRequest),
                                    refused->code, refused->isLogged});
        return;
    }
    edits_.push_back(Edit{*setting, aRequest, ReadValue(parameter, setting->type)});
}

void Change::Send() {
    if (!refusals_.empty()) throw Error(refusals_, "nothing was sent");

    // The driver does not say which of them it refuses.
    std::string sent;
    for (const Edit& edit : edits_) {
        if (edit.IsChange()) AppendTo(sent, edit.setting.name, ", ");
    }
    parameters_.Apply("the device refused the change" + (sent.empty() ? sent : " of " + sent));
    parameters_.Refresh("the change was sent, but the device's parameters cannot be read");
    CompareWithDevice();
}

// A driver may round, or take a value without keeping it, and still return success.
void Change::CompareWithDevice() const {
    const Snapshot held = parameters_.GetSnapshot();
    std::string losses;
    for (const Edit& edit : edits_) {
        const Setting* const setting = held.Find(edit.setting.name);
        const bool isKept =
            setting != nullptr && (setting->isVolatile || setting->value == edit.after);
        if (!isKept) AppendTo(losses, DescribeLoss(edit, setting), "; ");
    }
    if (!losses.empty()) throw Error(ErrorKind::ChangedMeanwhile, losses);
}

}  // namespace QvKit
