// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/SavedSetting.h"

#include "QvKit/Text.h"

namespace QvKit {

const char* NameOf(SettingType aType) {
    if (aType == SettingType::String) return "string";
    return aType == SettingType::Enumeration ? "enumeration" : "integer";
}

SavedSetting::SavedSetting(const Setting& aSetting, const Value& aValue)
    : name(aSetting.name), id(aSetting.id), type(aSetting.type), value(aValue) {
    if (type == SettingType::Integer) unit = aSetting.unit;
    if (type != SettingType::Enumeration) return;
    const auto index = static_cast<unsigned long long>(std::get<long long>(aValue));
    if (index < aSetting.entries.size()) value = FromUtf8(aSetting.entries[index]);
}

std::string SavedSetting::ToText() const {
    if (const auto* text = std::get_if<CompactWideText>(&value)) return ToUtf8(*text);
    return std::to_string(std::get<long long>(value));
}

std::string SavedSetting::Describe() const {
    const std::string text = ToText();
    if (text.empty()) return "\"\"";
    return !unit || unit->empty() ? text : text + " " + *unit;
}

}  // namespace QvKit
