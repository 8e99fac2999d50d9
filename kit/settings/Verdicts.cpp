// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Verdicts.h"

#include <algorithm>
#include <utility>

namespace QvKit {
namespace {

Verdict JudgeOne(const Edit& aEdit) {
    if (!aEdit.held) return Verdict::Gone;
    if (aEdit.setting.isVolatile || *aEdit.held == aEdit.after) return Verdict::Taken;
    // A setting that had the value already was not sent, so the device cannot have rounded it.
    const bool isRounded = aEdit.IsChange() && aEdit.setting.type == SettingType::Integer &&
                           *aEdit.held != aEdit.setting.value;
    return isRounded ? Verdict::Rounded : Verdict::NotKept;
}

// Nobody can tell whether it was the driver or another program.
std::string DescribeLoss(const Edit& aEdit) {
    const Setting& setting = aEdit.setting;
    if (!aEdit.held) return "the device does not have " + setting.name + " any more";
    return setting.name + " holds " + setting.DescribeWithUnit(*aEdit.held) + " instead of " +
           setting.DescribeWithUnit(aEdit.after) +
           (aEdit.verdict == Verdict::Rounded
                ? ": rounded by the device, or changed by another program meanwhile"
                : ": changed by another program meanwhile, or not kept by the device");
}

std::optional<Value> FindValue(const Snapshot& aSnapshot, const Edit& aEdit) {
    const Setting* const setting = aSnapshot.Find(aEdit.setting.id);
    return setting != nullptr ? std::optional<Value>(setting->value) : std::nullopt;
}

// Whether the device holds the former value. A volatile setting is not judged.
bool IsFormer(const Edit& aEdit) {
    return aEdit.held && (aEdit.setting.isVolatile || *aEdit.held == aEdit.setting.value);
}

void AppendTo(std::string& aList, const std::string& aText, const char* aSeparator) {
    aList += (aList.empty() ? "" : aSeparator) + aText;
}

}  // namespace

void Judge(std::vector<Edit>& aEdits, const Snapshot& aHeld) {
    for (Edit& edit : aEdits) {
        edit.held = FindValue(aHeld, edit);
        edit.verdict = JudgeOne(edit);
    }
}

std::string DescribeLosses(const std::vector<Edit>& aEdits) {
    std::string losses;
    for (const Edit& edit : aEdits) {
        if (edit.verdict != Verdict::Taken) AppendTo(losses, DescribeLoss(edit), "; ");
    }
    return losses;
}

bool AreAllKept(const std::vector<Edit>& aEdits) {
    return std::all_of(aEdits.begin(), aEdits.end(), [](const Edit& aEdit) {
        return aEdit.verdict == Verdict::Taken || aEdit.verdict == Verdict::Rounded;
    });
}

void NoteRestored(std::vector<Edit>& aEdits, const Snapshot& aHeld) {
    for (Edit& edit : aEdits) {
        const std::optional<Value> before = std::exchange(edit.held, FindValue(aHeld, edit));
        if (edit.IsChange() && IsFormer(edit) && before != edit.held) {
            edit.verdict = Verdict::Restored;
        }
    }
}

std::string DescribeUnrestored(const std::vector<Edit>& aEdits) {
    std::string list;
    for (const Edit& edit : aEdits) {
        if (!edit.IsChange() || !edit.held || IsFormer(edit)) continue;
        AppendTo(list, edit.setting.name + "=" + edit.setting.Describe(*edit.held), ", ");
    }
    return list;
}

}  // namespace QvKit
