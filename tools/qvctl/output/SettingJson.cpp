// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/SettingJson.h"

#include <nlohmann/json.hpp>

#include "QvKit/SavedSetting.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvKit::Setting;
using QvKit::SettingType;

ordered_json MarksToJson(const Setting& aSetting) {
    ordered_json json;
    json["readOnly"] = aSetting.isReadOnly;
    json["volatile"] = aSetting.isVolatile;
    json["restartRequired"] = aSetting.isRestartRequired;
    json["persistent"] = aSetting.isPersistent;
    json["advanced"] = aSetting.isAdvanced;
    json["hidden"] = aSetting.isHidden;
    return json;
}

}  // namespace

ordered_json ToJson(const ChosenDevice& aDevice) {
    ordered_json json;
    json["index"] = nullptr;
    if (aDevice.index) json["index"] = *aDevice.index;
    json["path"] = aDevice.address.path;
    return json;
}

ordered_json ValueToJson(const Setting& aSetting, const QvKit::Value& aValue) {
    if (aSetting.type == SettingType::Integer) return std::get<long long>(aValue);
    return aSetting.ToText(aValue);
}

ordered_json ToJson(const Setting& aSetting) {
    ordered_json json;
    json["name"] = aSetting.name;
    json["id"] = aSetting.id;
    json["type"] = QvKit::NameOf(aSetting.type);
    json["description"] = aSetting.description;
    json["value"] = ValueToJson(aSetting, aSetting.value);
    json["default"] = ValueToJson(aSetting, aSetting.defaultValue);
    if (aSetting.type == SettingType::Integer) {
        json["unit"] = aSetting.unit;
        json["minimum"] = aSetting.minimum;
        json["maximum"] = aSetting.maximum;
    }
    if (aSetting.type == SettingType::String) json["maximumLength"] = aSetting.maximum;
    if (aSetting.type == SettingType::Enumeration) json["entries"] = aSetting.entries;
    json["marks"] = MarksToJson(aSetting);
    return json;
}

}  // namespace Qvctl
