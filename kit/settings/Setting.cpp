// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Setting.h"

#include "QvKit/Text.h"

namespace QvKit {

std::string Setting::ToText(const Value& aValue) const {
    if (const auto* text = std::get_if<std::wstring>(&aValue)) return ToUtf8(*text);

    const long long number = std::get<long long>(aValue);
    if (type != SettingType::Enumeration) return std::to_string(number);
    const auto index = static_cast<std::size_t>(number);
    return index < entries.size() ? entries[index] : std::string();
}

std::string Setting::ToEscapedText(const Value& aValue) const {
    if (const auto* text = std::get_if<std::wstring>(&aValue)) return Escape(*text);
    return Escape(FromUtf8(ToText(aValue)));
}

std::string Setting::Describe(const Value& aValue) const {
    const std::string text = ToText(aValue);
    return text.empty() ? "\"\"" : text;
}

std::string Setting::DescribeWithUnit(const Value& aValue) const {
    return Describe(aValue) + (unit.empty() ? unit : " " + unit);
}

std::string Setting::DescribeRange() const {
    if (type == SettingType::String) return "up to " + std::to_string(maximum) + " characters";
    if (type == SettingType::Integer) {
        return std::to_string(minimum) + " to " + std::to_string(maximum);
    }
    std::string names;
    for (const std::string& entry : entries) names += names.empty() ? entry : ", " + entry;
    return names;
}

}  // namespace QvKit
