// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SETTING_H
#define QVKIT_SETTING_H

#include <string>
#include <variant>

#include "QvKit/CompactText.h"
#include "QvKit/EntryNames.h"

namespace QvKit {

/// The value of a setting: the number of an integer, the index of an enumeration's entry, or a
/// text. A text is UTF-16, as drivers hold it, so that every text comes back unchanged.
using Value = std::variant<long long, CompactWideText>;

/// The unit of integers that people read in hexadecimal, such as states and masks. It is not shown.
inline constexpr char kHexadecimalUnit[] = "hex";

/// What a value is.
enum class SettingType { Integer, Enumeration, String };

/// One parameter of a device as it was at one moment: a value, detached from the device and the
/// library. Texts are UTF-8.
struct Setting {
    CompactText name;                         ///< As the driver spells it.
    unsigned long id = 0;                     ///< The driver's number for it.
    SettingType type = SettingType::Integer;  ///< What the value is.
    CompactText description;                  ///< Without the unit.
    CompactText unit;                         ///< Of an integer; empty for none.
    Value value;                              ///< At that moment.
    Value defaultValue;                       ///< What the driver begins with.
    long long minimum = 0;  ///< Of an integer or enumeration, inclusive, as is the maximum.
    long long maximum = 0;  ///< Of a string, how many UTF-16 units its text may have.
    EntryNames entries;     ///< Of an enumeration.

    bool isReadOnly = false;         ///< It cannot be changed.
    bool isVolatile = false;         ///< The driver changes the value by itself.
    bool isRestartRequired = false;  ///< A change takes effect when the device starts again.
    bool isPersistent = true;        ///< The value outlives a restart of the driver.
    bool isAdvanced = false;         ///< For experts.
    bool isHidden = false;           ///< Not for ordinary users.

    /// A value of this setting as a text that `Change::Set` takes: the number, the entry's name,
    /// or the text. Empty for an index without an entry. A number is decimal, or hexadecimal if
    /// the unit is `kHexadecimalUnit`.
    std::string ToText(const Value& aValue) const;

    /// The same in one line, with escapes, as `Change::SetEscaped` takes it.
    std::string ToEscapedText(const Value& aValue) const;

    /// A value for people: as `ToText`, but "" in quotation marks for an empty text.
    std::string Describe(const Value& aValue) const;

    /// The same with the unit, as in "6 dB".
    std::string DescribeWithUnit(const Value& aValue) const;

    /// The values that are allowed: "0 to 60", the names of the entries, or "up to 64 characters".
    std::string DescribeRange() const;
};

}  // namespace QvKit

#endif
