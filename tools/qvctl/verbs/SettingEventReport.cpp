// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/SettingEventReport.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "output/Printable.h"
#include "output/SettingJson.h"

namespace Qvctl {
namespace {

using QvKit::Setting;
using Kind = QvKit::SettingEvent::Kind;

const char* NameOf(Kind aKind) {
    switch (aKind) {
        case Kind::Present:
            return "present";
        case Kind::Arrival:
            return "arrival";
        case Kind::Gone:
            return "gone";
        case Kind::Entries:
            return "entries";
        case Kind::Range:
            return "range";
        case Kind::Marks:
            return "marks";
        default:
            return "value";
    }
}

std::string GetName(const QvKit::SettingEvent& aEvent) {
    const std::optional<Setting>& setting = aEvent.after ? aEvent.after : aEvent.before;
    return setting ? setting->name.c_str() : std::string();
}

// All that are set. The table's words leave out what goes without saying.
std::string MarksText(const Setting& aSetting) {
    std::string text;
    const nlohmann::ordered_json json = ToJson(aSetting);
    for (const auto& [name, isSet] : json["marks"].items()) {
        if (isSet) text += (text.empty() ? "" : ", ") + name;
    }
    return text.empty() ? "none" : text;
}

// The part of a setting that an event of this kind is about.

std::string PartText(const Setting& aSetting, Kind aKind) {
    switch (aKind) {
        case Kind::Entries:
            return aSetting.DescribeRange();
        case Kind::Range:
            return aSetting.DescribeRange() + ", default " +
                   aSetting.DescribeWithUnit(aSetting.defaultValue);
        case Kind::Marks:
            return MarksText(aSetting);
        default:
            return aSetting.DescribeWithUnit(aSetting.value);
    }
}

nlohmann::ordered_json PartToJson(const std::optional<Setting>& aSetting, Kind aKind) {
    if (!aSetting) return nullptr;
    nlohmann::ordered_json whole = ToJson(*aSetting);
    switch (aKind) {
        case Kind::Entries:
            return whole["entries"];
        case Kind::Marks:
            return whole["marks"];
        case Kind::Range: {
            nlohmann::ordered_json range;
            for (const char* const name :
                 {"default", "unit", "minimum", "maximum", "maximumLength"}) {
                if (whole.contains(name)) range[name] = whole[name];
            }
            return range;
        }
        default:
            return whole["value"];
    }
}

}  // namespace

std::string SettingEventReport::ToText() const {
    const Kind kind = event_.kind;
    std::string text = GetName(event_) + ": ";
    if (kind != Kind::Value && kind != Kind::Present) text += NameOf(kind) + std::string(": ");
    if (event_.before) text += PartText(*event_.before, kind);
    if (event_.before && event_.after) text += " -> ";
    if (event_.after) text += PartText(*event_.after, kind);
    return Printable(text);
}

void SettingEventReport::WriteText(Output& aOut) const {
    aOut.WriteLine(LocalText(moment_, begin_) + "  " + ToText());
}

nlohmann::ordered_json SettingEventReport::ToJson() const {
    nlohmann::ordered_json json;
    json["time"] = UtcText(moment_);
    json["name"] = GetName(event_);
    json["what"] = NameOf(event_.kind);
    json["before"] = PartToJson(event_.before, event_.kind);
    json["after"] = PartToJson(event_.after, event_.kind);
    return json;
}

}  // namespace Qvctl
