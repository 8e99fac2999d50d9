// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ParameterJson.h"

#include <nlohmann/json.hpp>

#include "Utf8.h"

namespace Qvctl {
namespace {

using nlohmann::ordered_json;
using QvUserLib::Parameter;

ordered_json MarksToJson(const Parameter& aParameter) {
    ordered_json json;
    json["readOnly"] = aParameter.IsReadOnly();
    json["volatile"] = aParameter.IsVolatile();
    json["restartRequired"] = aParameter.IsRestartRequired();
    json["persistent"] = aParameter.IsPersistent();
    json["advanced"] = aParameter.IsAdvanced();
    json["hidden"] = aParameter.IsHidden();
    return json;
}

}  // namespace

ordered_json DeviceToJson(const Device& aDevice) {
    ordered_json json;
    json["index"] = nullptr;
    if (aDevice.index) json["index"] = *aDevice.index;
    json["path"] = aDevice.path;
    return json;
}

ordered_json ValueToJson(const Parameter& aParameter, const Value& aValue) {
    if (aParameter.GetType() == Parameter::TypeInteger) return std::get<long long>(aValue);
    return ToText(aParameter, aValue);
}

ordered_json ParameterToJson(const Parameter& aParameter) {
    const Description description = GetDescription(aParameter);
    ordered_json json;
    json["name"] = Utf8Of(aParameter.GetName());
    json["id"] = aParameter.GetID();
    json["type"] = TypeName(aParameter);
    json["description"] = description.text;
    json["value"] = ValueToJson(aParameter, GetValue(aParameter));
    json["default"] = ValueToJson(aParameter, GetDefault(aParameter));
    if (aParameter.GetType() == Parameter::TypeInteger) {
        json["unit"] = description.unit;
        json["minimum"] = aParameter.GetMinInt();
        json["maximum"] = aParameter.GetMaxInt();
    }
    if (aParameter.GetType() == Parameter::TypeEnumeration)
        json["entries"] = GetEntries(aParameter);
    json["marks"] = MarksToJson(aParameter);
    return json;
}

}  // namespace Qvctl
