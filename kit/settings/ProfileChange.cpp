// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <utility>

#include "QvKit/Profile.h"
#include "QvKit/Spelling.h"
#include "QvUserLib/BaseTypes.h"

namespace QvKit {
namespace {

using QvUserLib::Code;
using Refused = std::optional<Refusal>;

Refusal Refuse(const SavedSetting& aSaved, Code aCode, std::string aReason,
               std::string aHint = std::string()) {
    return Refusal{aSaved.name, aSaved.ToText(), std::move(aReason), std::move(aHint),
                   static_cast<unsigned long>(aCode)};
}

Refusal RefuseMissing(const SavedSetting& aSaved, const Snapshot& aDevice) {
    Refusal refusal = aDevice.RefuseUnknown(aSaved.name);
    refusal.value = aSaved.ToText();
    if (!aSaved.id || !refusal.hint.empty()) return refusal;
    for (const Setting& setting : aDevice.GetSettings()) {
        if (setting.id == *aSaved.id) refusal.hint = "its identifier is now " + setting.name + "'s";
    }
    return refusal;
}

std::string Differs(const char* aWhat, const std::string& aDevice, const std::string& aFile) {
    const auto name = [](const std::string& aText) { return aText.empty() ? "none" : aText; };
    return std::string("Its ") + aWhat + " is " + name(aDevice) + " on this device, but " +
           name(aFile) + " in the profile";
}

Refused CheckEntry(const SavedSetting& aSaved, const Setting& aSetting) {
    const EntryNames& entries = aSetting.entries;
    const auto count = std::holds_alternative<long long>(aSaved.value)
                           ? 0
                           : std::count(entries.begin(), entries.end(), aSaved.ToText());
    if (count == 1) return std::nullopt;
    return Refuse(aSaved, Code::NotFound,
                  count == 0 ? "No entry has exactly this name" : "Several entries have this name",
                  "allowed: " + aSetting.DescribeRange());
}

// What the change does not check, as it takes texts that people write, in more than one form.
Refused Check(const SavedSetting& aSaved, const Setting& aSetting) {
    if (aSaved.type != aSetting.type) {
        return Refuse(aSaved, Code::NotSupported,
                      Differs("type", NameOf(aSetting.type), NameOf(aSaved.type)));
    }
    if (aSaved.unit && *aSaved.unit != aSetting.unit) {
        return Refuse(aSaved, Code::NotSupported, Differs("unit", aSetting.unit, *aSaved.unit));
    }
    if (aSaved.type == SettingType::Enumeration) return CheckEntry(aSaved, aSetting);
    return std::nullopt;
}

class ProfileChange {
public:
    ProfileChange(const Profile& aProfile, const Snapshot& aDevice, Change& aChange)
        : profile_(aProfile), device_(aDevice), change_(aChange) {}

    ProfileRest Apply(const ProfileChoice& aChoice);

private:
    void CheckNames(const std::vector<std::string>& aNames);
    void ApplyOne(const SavedSetting& aSaved, bool aIsMissingIgnored);
    void Add(Refusal aRefusal, const SavedSetting& aSaved);

    const Profile& profile_;
    const Snapshot& device_;
    Change& change_;
    ProfileRest rest_;
    std::vector<Refusal> refusals_;
};

ProfileRest ProfileChange::Apply(const ProfileChoice& aChoice) {
    CheckNames(aChoice.only);
    for (const SavedSetting& saved : profile_.settings) {
        const auto& only = aChoice.only;
        const bool isChosen =
            only.empty() || std::find(only.begin(), only.end(), saved.name) != only.end();
        if (isChosen) ApplyOne(saved, aChoice.isMissingIgnored);
    }
    if (!refusals_.empty()) throw Error(std::move(refusals_), "nothing was sent");
    return std::move(rest_);
}

void ProfileChange::CheckNames(const std::vector<std::string>& aNames) {
    std::vector<std::string> known;
    known.reserve(profile_.settings.size());
    for (const SavedSetting& saved : profile_.settings) known.push_back(saved.name);
    for (const std::string& name : aNames) {
        if (std::find(known.begin(), known.end(), name) != known.end()) continue;
        const std::string nearest = FindNearestWord(name, known);
        refusals_.push_back(Refusal{name, std::nullopt, "The profile does not have it",
                                    nearest.empty() ? nearest : "did you mean " + nearest + "?",
                                    static_cast<unsigned long>(Code::NotFound)});
    }
}

void ProfileChange::ApplyOne(const SavedSetting& aSaved, bool aIsMissingIgnored) {
    const Setting* const setting = device_.Find(aSaved.name);
    if (setting == nullptr && aIsMissingIgnored) {
        rest_.missing.push_back(aSaved.name);
    } else if (setting == nullptr) {
        Add(RefuseMissing(aSaved, device_), aSaved);
    } else if (setting->isReadOnly) {
        rest_.readOnly.push_back(aSaved.name);
    } else if (Refused refused = Check(aSaved, *setting)) {
        Add(std::move(*refused), aSaved);
    } else {
        change_.Set(aSaved.name, aSaved.ToText());
        const auto& refusal = change_.GetEdits().back().refusal;
        if (refusal) Add(*refusal, aSaved);
    }
}

void ProfileChange::Add(Refusal aRefusal, const SavedSetting& aSaved) {
    if (aSaved.line > 0) {
        if (!aRefusal.hint.empty()) aRefusal.hint += "; ";
        aRefusal.hint += "line " + std::to_string(aSaved.line);
    }
    refusals_.push_back(std::move(aRefusal));
}

}  // namespace

ProfileRest ApplyProfile(const Profile& aProfile, const ProfileChoice& aChoice,
                         const Snapshot& aDevice, Change& aChange) {
    return ProfileChange(aProfile, aDevice, aChange).Apply(aChoice);
}

}  // namespace QvKit
