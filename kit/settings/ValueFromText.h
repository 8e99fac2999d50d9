// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Values as people write them.

#ifndef QVKIT_SETTINGS_VALUEFROMTEXT_H
#define QVKIT_SETTINGS_VALUEFROMTEXT_H

#include <optional>
#include <string>

#include "QvKit/Error.h"
#include "QvKit/Setting.h"
#include "QvUserLib/Parameter.h"

namespace QvKit {

// Why a parameter did not take a value.
struct ValueRefusal {
    std::string reason;
    unsigned long code;
    bool isLogged;
};

// Set a value in the library's parameter, which `aSetting` is a copy of. Nothing when the parameter
// took it; otherwise it is unchanged.
std::optional<ValueRefusal> SetFromText(QvUserLib::Parameter& aParameter, const Setting& aSetting,
                                        const std::wstring& aText);
std::optional<ValueRefusal> SetToValue(QvUserLib::Parameter& aParameter, const Setting& aSetting,
                                       const Value& aValue);
std::optional<ValueRefusal> SetToDefault(QvUserLib::Parameter& aParameter, const Setting& aSetting);

}  // namespace QvKit

#endif
