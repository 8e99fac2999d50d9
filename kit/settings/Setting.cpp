// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Setting.h"

#include <cstdio>

#include "QvKit/Text.h"

namespace QvKit {

namespace {

std::string NumberText(long long aNumber, std::string_view aUnit) {
    // No driver has negative numbers.
    if (aUnit != kHexadecimalUnit || aNumber < 0) return std::to_string(aNumber);
    char text[32];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(aNumber));
    return text;
}

}  // namespace

std::string Setting::ToText(const Value& aValue) const {
    if (const auto* text = std::get_if<CompactWideText>(&aValue)) return ToUtf8(*text);

    const long long number = std::get<long long>(aValue);
    if (type != SettingType::Enumeration) return NumberText(number, unit);
    return std::string(entries[static_cast<std::size_t>(number)]);
}

std::string Setting::ToEscapedText(const Value& aValue) const {
    if (const auto* text = std::get_if<CompactWideText>(&aValue)) return Escape(*text);
    return Escape(FromUtf8(ToText(aValue)));
}

std::string Setting::Describe(const Value& aValue) const {
    const std::string text = ToText(aValue);
    return text.empty() ? "\"\"" : text;
}

std::string Setting::DescribeWithUnit(const Value& aValue) const {
    const bool isShown = !unit.empty() && unit != kHexadecimalUnit;
    return Describe(aValue) + (isShown ? " " + unit : std::string());
}

std::string Setting::DescribeRange() const {
    if (type == SettingType::String) return "up to " + std::to_string(maximum) + " characters";
    if (type == SettingType::Integer) {
        return NumberText(minimum, unit) + " to " + NumberText(maximum, unit);
    }
    std::string names;
    for (const std::string_view entry : entries) {
        names.append(names.empty() ? "" : ", ").append(entry);
    }
    return names;
}

}  // namespace QvKit
