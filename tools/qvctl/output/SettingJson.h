// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Devices and settings in the JSON output.

#ifndef QVCTL_OUTPUT_SETTINGJSON_H
#define QVCTL_OUTPUT_SETTINGJSON_H

#include <nlohmann/json_fwd.hpp>

#include "DeviceChoice.h"
#include "QvKit/Setting.h"

namespace Qvctl {

nlohmann::ordered_json ToJson(const ChosenDevice& aDevice);

// A number for an integer, a text for a string and for an enumeration, whose entry it names.
nlohmann::ordered_json ValueToJson(const QvKit::Setting& aSetting, const QvKit::Value& aValue);

nlohmann::ordered_json ToJson(const QvKit::Setting& aSetting);

}  // namespace Qvctl

#endif
