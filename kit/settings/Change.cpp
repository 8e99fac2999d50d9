// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Change.h"

#include <chrono>
#include <functional>
#include <utility>

#include "QvKit/Spelling.h"
#include "QvKit/Text.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "Turn.h"
#include "ValueFromText.h"
#include "Verdicts.h"

namespace QvKit {
namespace {

using QvUserLib::Parameter;

// Programs that use the kit take turns: between looking at the device, sending, and looking again.
// One can keep others waiting for so long only, as its device may hang. Then, and where the system
// denies the wait, the change goes without it.
constexpr std::chrono::milliseconds kLongestTurn = std::chrono::seconds(5);

Value ReadValue(const Parameter& aParameter, SettingType aType) {
    if (aType == SettingType::String) return aParameter.GetString().GetUnicode();
    return aParameter.GetInt();
}

std::string HintFor(const Setting& aSetting, const std::optional<std::string>& aRequest) {
    if (aSetting.isReadOnly || aSetting.type == SettingType::String) return std::string();
    const bool hasUnit = !aSetting.unit.empty() && aSetting.unit != kHexadecimalUnit;
    const std::string unit = hasUnit ? " " + aSetting.unit : std::string();
    const std::vector<std::string> entries(aSetting.entries.begin(), aSetting.entries.end());
    const std::string nearest = FindNearestWord(aRequest.value_or(""), entries);
    const std::string guess = nearest.empty() ? nearest : "did you mean " + nearest + "? ";
    return guess + "allowed: " + aSetting.DescribeRange() + unit;
}

std::optional<Error> Try(const std::function<void()>& aStep) {
    try {
        aStep();
        return std::nullopt;
    } catch (const Error& error) {
        return error;
    }
}

void AddConsequence(std::optional<Error>& aError, const std::string& aConsequence) {
    if (!aError) return;
    aError = Error(aError->GetKind(), aError->what() + ("; " + aConsequence), aError->GetCode());
}

// That another program has changed the setting of an edit since it had the value before.
Refusal RefuseChanged(const Edit& aEdit, const Value& aBefore) {
    const Setting& setting = aEdit.setting;
    return Refusal{setting.name, aEdit.request, "Another program has changed it meanwhile",
                   "it was " + setting.DescribeWithUnit(aBefore) + ", and is " +
                       setting.DescribeWithUnit(setting.value) + " now",
                   static_cast<unsigned long>(QvUserLib::Code::NotAllowed)};
}

}  // namespace

Change::Change(DeviceParameters& aParameters)
    : parameters_(aParameters), snapshot_(aParameters.GetSnapshot()) {}

void Change::Set(const std::string& aName, const std::string& aText) {
    Add({aName, std::nullopt, aText, FromUtf8(aText)});
}

void Change::Set(unsigned long aId, const std::string& aText) {
    Add({std::string(), aId, aText, FromUtf8(aText)});
}

void Change::SetEscaped(const std::string& aName, const std::string& aText) {
    Add({aName, std::nullopt, aText, Unescape(aText)});
}

void Change::Reset(const std::string& aName) {
    Add({aName, std::nullopt, std::nullopt, std::nullopt});
}

void Change::Reset(unsigned long aId) { Add({std::string(), aId, std::nullopt, std::nullopt}); }

void Change::Add(Request aRequest) {
    edits_.push_back(Check(aRequest));
    requests_.push_back(std::move(aRequest));
}

// The value goes to the library's parameter, which checks and marks it.
Edit Change::Check(const Request& aRequest) const {
    Edit edit;
    edit.request = aRequest.shown;
    const Setting* const setting =
        aRequest.id ? snapshot_.Find(*aRequest.id) : snapshot_.Find(aRequest.name);
    if (setting == nullptr) {
        edit.setting.name =
            aRequest.id ? "parameter " + std::to_string(*aRequest.id) : aRequest.name;
        edit.refusal = snapshot_.RefuseUnknown(edit.setting.name);
        edit.refusal->value = aRequest.shown;
    } else {
        edit.setting = *setting;
        Parameter& parameter = *parameters_.GetRepository().GetByID(setting->id);
        const std::optional<ValueRefusal> refused =
            aRequest.text ? SetFromText(parameter, *setting, *aRequest.text)
                          : SetToDefault(parameter, *setting);
        edit.after = ReadValue(parameter, setting->type);
        if (refused) {
            edit.refusal = Refusal{setting->name,   aRequest.shown,
                                   refused->reason, HintFor(*setting, aRequest.shown),
                                   refused->code,   refused->isLogged};
        }
    }
    if (edit.refusal) edit.verdict = Verdict::Refused;
    return edit;
}

ChangeOutcome Change::GetPlan() const {
    ChangeOutcome plan;
    plan.edits = edits_;
    std::vector<Refusal> refusals;
    for (const Edit& edit : edits_) {
        if (edit.refusal) refusals.push_back(*edit.refusal);
    }
    if (!refusals.empty()) plan.error = Error(std::move(refusals), "nothing was sent");
    return plan;
}

ChangeOutcome Change::Send(const SendOptions& aOptions) {
    ChangeOutcome outcome = GetPlan();
    if (outcome.error) return outcome;
    const Turn turn(L"Global\\QvKit change of a device", kLongestTurn, aOptions.stop);
    outcome.error = Try([&] {
        parameters_.Refresh("nothing was sent, as the device's parameters cannot be read");
    });
    if (outcome.error) return outcome;
    CheckAgain(aOptions.isRefusedIfChanged);
    outcome = GetPlan();
    if (outcome.error) return outcome;

    outcome.error = Try([&] { parameters_.Apply(DescribeSending()); });
    const bool isAccepted = !outcome.error;
    CompareWithDevice(outcome);
    const bool isWhole = isAccepted && AreAllKept(outcome.edits);
    if (aOptions.isAllOrNothing && !isWhole) RestoreFormer(outcome);
    return outcome;
}

// Makes all edits again, on parameters that have been loaded again: as the value may have changed,
// one that asked for the former value may be a change now.
void Change::CheckAgain(bool aIsRefusedIfChanged) {
    snapshot_ = parameters_.GetSnapshot();
    for (std::size_t index = 0; index < edits_.size(); ++index) {
        const Setting before = std::move(edits_[index].setting);
        Edit& edit = edits_[index] = Check(requests_[index]);
        if (edit.refusal || before.isVolatile || before.value == edit.setting.value) continue;
        edit.readBefore = before.value;
        if (!aIsRefusedIfChanged) continue;
        edit.refusal = RefuseChanged(edit, before.value);
        edit.verdict = Verdict::Refused;
    }
}

// The driver does not say which of them it refuses.
std::string Change::DescribeSending() const {
    std::string sent;
    for (const Edit& edit : edits_) {
        if (edit.IsChange()) sent += (sent.empty() ? " of " : ", ") + edit.setting.name;
    }
    return "the device refused the change" + sent;
}

// A driver may round, or take a value without keeping it, and still return success. One that
// returns a failure may have taken values.
void Change::CompareWithDevice(ChangeOutcome& aOutcome) {
    const std::optional<Error> unread = Try([&] {
        parameters_.Refresh("the change was sent, but the device's parameters cannot be read");
    });
    if (unread) {
        for (Edit& edit : aOutcome.edits) edit.verdict = Verdict::Unknown;
        if (!aOutcome.error) aOutcome.error = unread;
        return;
    }
    Judge(aOutcome.edits, parameters_.GetSnapshot());
    const std::string losses = DescribeLosses(aOutcome.edits);
    if (!aOutcome.error && !losses.empty()) {
        aOutcome.error = Error(ErrorKind::ChangedMeanwhile, losses);
    }
}

// Reads first, for a device that could not be asked before, and last, whatever became of the
// request: the outcome says what the device holds now.
void Change::RestoreFormer(ChangeOutcome& aOutcome) {
    using Restoring = ChangeOutcome::Restoring;
    constexpr char kUnread[] = "the device's parameters cannot be read";
    bool isNeeded = true;
    std::optional<Error> failed = Try([&] {
        parameters_.Refresh(kUnread);
        Judge(aOutcome.edits, parameters_.GetSnapshot());
        SetFormer(aOutcome.edits);
        isNeeded = parameters_.GetRepository().GetChangeCount() > 0;
        parameters_.Apply("the device refused them");
    });
    if (!isNeeded) return;

    const std::optional<Error> unread = Try([&] { parameters_.Refresh(kUnread); });
    NoteRestored(aOutcome.edits, parameters_.GetSnapshot());
    const std::string others = DescribeUnrestored(aOutcome.edits);
    if (!unread && others.empty()) {
        aOutcome.restoring = Restoring::Done;
        AddConsequence(aOutcome.error, "the former values were restored");
        return;
    }
    if (!failed) failed = unread;
    aOutcome.restoring = Restoring::Failed;
    AddConsequence(aOutcome.error,
                   "the former values could not be restored" +
                       (failed ? std::string(": ") + failed->what() : std::string()) +
                       (others.empty() ? others : "; the device holds " + others + " now"));
}

// Only what this change has sent: another program's values stay.
void Change::SetFormer(const std::vector<Edit>& aEdits) const {
    for (const Edit& edit : aEdits) {
        Parameter* const parameter = parameters_.GetRepository().GetByID(edit.setting.id);
        if (parameter == nullptr || !edit.IsChange()) continue;
        const auto refused = SetToValue(*parameter, edit.setting, edit.setting.value);
        if (refused) throw Error(ErrorKind::Refused, edit.setting.name + ": " + refused->reason);
    }
}

}  // namespace QvKit
