// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Devices and parameters in the JSON output. The names of the members stay as they are; new ones
// may be added.

#ifndef QVCTL_PARAMETERJSON_H
#define QVCTL_PARAMETERJSON_H

#include <nlohmann/json_fwd.hpp>

#include "DeviceList.h"
#include "ParameterText.h"

namespace Qvctl {

nlohmann::ordered_json DeviceToJson(const Device& aDevice);

// A number for an integer, a text for a string and for an enumeration, whose entry it names.
nlohmann::ordered_json ValueToJson(const QvUserLib::Parameter& aParameter, const Value& aValue);

nlohmann::ordered_json ParameterToJson(const QvUserLib::Parameter& aParameter);

}  // namespace Qvctl

#endif
