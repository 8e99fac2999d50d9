// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Profile.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "ProfileFormat.h"
#include "QvKit/Clock.h"
#include "QvKit/Text.h"
#include "WindowsApi.h"

namespace QvKit {
namespace {

using nlohmann::ordered_json;

// In UTC, so that neither the time zone nor a change of the clock's offset matters.
std::string TimeNow() {
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    const std::string text = CalendarText(now);
    return text.substr(0, text.find('.')) + "Z";
}

// Why an index or a text cannot be written so that it is read as the same; empty when it can.
std::string ReasonOfValue(const Setting& aSetting) {
    if (const auto* text = std::get_if<CompactWideText>(&aSetting.value)) {
        return IsWellFormed(*text) ? std::string() : "its text is not well-formed Unicode";
    }
    if (aSetting.type != SettingType::Enumeration) return std::string();
    const auto index = static_cast<unsigned long long>(std::get<long long>(aSetting.value));
    if (index >= aSetting.entries.size()) return "its value is none of its entries";
    const EntryNames& entries = aSetting.entries;
    const bool isUnique = std::count(entries.begin(), entries.end(), entries[index]) == 1;
    return isUnique ? std::string() : "several of its entries have the same name";
}

// Why a setting is left out; empty when it is taken.
std::string ReasonToOmit(const Setting& aSetting, const Snapshot& aSnapshot) {
    if (aSetting.isReadOnly) return "it is read-only";
    if (aSetting.isVolatile) return "the driver changes it by itself";
    if (!aSetting.isPersistent) return "the driver does not keep it";
    if (aSnapshot.Find(aSetting.name)->id != aSetting.id) return "another parameter has its name";
    return ReasonOfValue(aSetting);
}

// Most texts need no escapes. By the library alone, "Saving a profile of 10000" in the benchmark
// table takes 1.8 times as long.
void AppendText(std::string& aJson, const std::string& aText) {
    const bool isPlain = std::all_of(aText.begin(), aText.end(), [](char aCharacter) {
        return aCharacter >= ' ' && aCharacter <= '~' && aCharacter != '"' && aCharacter != '\\';
    });
    if (isPlain) {
        aJson.append(1, '"').append(aText).append(1, '"');
    } else {
        aJson += ordered_json(aText).dump(-1, ' ', /*ensure_ascii=*/false,
                                          ordered_json::error_handler_t::replace);
    }
}

void AppendMember(std::string& aJson, const char* aName, const std::string& aText) {
    aJson.append(aJson.back() == '{' ? " \"" : ", \"").append(aName).append("\": ");
    AppendText(aJson, aText);
}

void AppendMember(std::string& aJson, const char* aName, long long aNumber) {
    aJson.append(", \"").append(aName).append("\": ").append(std::to_string(aNumber));
}

void AppendOrigin(std::string& aJson, const Profile::Origin& aOrigin) {
    std::string line = "{";
    for (const auto& [name, member] : kOriginMembers) {
        const std::optional<std::string>& text = aOrigin.*member;
        if (text) AppendMember(line, name, *text);
    }
    if (line.size() > 1) aJson += ",\n  \"device\": " + line + " }";
}

// In one line, with blanks as people write it.
void AppendSetting(std::string& aJson, const SavedSetting& aSetting) {
    aJson += '{';
    AppendMember(aJson, "name", aSetting.name);
    if (aSetting.id) AppendMember(aJson, "id", *aSetting.id);
    AppendMember(aJson, "type", NameOf(aSetting.type));
    if (const auto* number = std::get_if<long long>(&aSetting.value)) {
        AppendMember(aJson, "value", *number);
    } else {
        AppendMember(aJson, "value", aSetting.ToText());
    }
    if (aSetting.unit) AppendMember(aJson, "unit", *aSetting.unit);
    aJson += " }";
}

}  // namespace

Profile Profile::Take(const Snapshot& aSnapshot, const std::vector<std::string>& aNames,
                      Origin aOrigin) {
    Profile profile;
    profile.time = TimeNow();
    profile.origin = std::move(aOrigin);
    const std::vector<Setting> selected = aSnapshot.Select(aNames);
    const std::vector<Setting>& settings = aNames.empty() ? aSnapshot.GetSettings() : selected;
    profile.settings.reserve(settings.size());
    for (const Setting& setting : settings) {
        std::string reason = ReasonToOmit(setting, aSnapshot);
        if (reason.empty()) {
            profile.settings.emplace_back(setting, setting.value);
        } else {
            profile.omissions.push_back(Omission{setting.name, std::move(reason)});
        }
    }
    return profile;
}

std::string Profile::ToJson() const {
    std::string text = "{\n  \"format\": \"" + std::string(kProfileFormat) +
                       "\",\n  \"version\": " + std::to_string(kVersion);
    if (time) AppendText(text += ",\n  \"time\": ", *time);
    AppendOrigin(text, origin);
    text += ",\n  \"parameters\": [";

    std::vector<const SavedSetting*> sorted;
    sorted.reserve(settings.size());
    for (const SavedSetting& setting : settings) sorted.push_back(&setting);
    std::sort(sorted.begin(), sorted.end(),
              [](const auto* aLeft, const auto* aRight) { return aLeft->name < aRight->name; });
    const char* separator = "\n    ";
    for (const SavedSetting* const setting : sorted) {
        AppendSetting(text += separator, *setting);
        separator = ",\n    ";
    }
    text += sorted.empty() ? "]\n}\n" : "\n  ]\n}\n";
    return text;
}

}  // namespace QvKit
