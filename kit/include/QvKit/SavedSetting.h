// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SAVEDSETTING_H
#define QVKIT_SAVEDSETTING_H

#include <cstddef>
#include <optional>
#include <string>

#include "QvKit/Setting.h"

namespace QvKit {

/// "integer", "enumeration" or "string".
const char* NameOf(SettingType aType);

/// A value of a setting with what is needed to recognise the setting again, on another day, another
/// device, or with another driver. It is a value; texts are UTF-8.
struct SavedSetting {
    std::string name;                         ///< That of the setting.
    std::optional<unsigned long> id;          ///< Nothing when it is not known.
    SettingType type = SettingType::Integer;  ///< What the value is.
    std::optional<std::string> unit;  ///< Of an integer, empty for none; nothing if not known.
    /// As in a `Setting`, but of an enumeration the name of the entry, because a driver may number
    /// its entries in another way. Of an index that has no entry it is the index.
    Value value;
    std::size_t line = 0;  ///< Where a file has it; 0 when it is from no file.

    SavedSetting() = default;

    /// @param aSetting  What is to be recognised again.
    /// @param aValue    Of the setting, or its default.
    SavedSetting(const Setting& aSetting, const Value& aValue);

    /// The number, the entry's name, or the text.
    std::string ToText() const;

    /// The same for people, with the unit: "6 dB"; an empty text in quotation marks.
    std::string Describe() const;
};

}  // namespace QvKit

#endif
