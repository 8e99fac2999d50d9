// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The values of parameters as texts and back, and what else is said about a parameter in words.

#ifndef QVCTL_PARAMETERTEXT_H
#define QVCTL_PARAMETERTEXT_H

#include <string>
#include <variant>
#include <vector>

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Parameter.h"

namespace Qvctl {

// A value apart from its parameter: the number of an integer, the index of an enumeration's entry,
// or the text of a string.
using Value = std::variant<long long, std::wstring>;

Value GetValue(const QvUserLib::Parameter& aParameter);
Value GetDefault(const QvUserLib::Parameter& aParameter);

// The number, the entry's name, or the text: what `SetFromText` takes for this parameter.
std::string ToText(const QvUserLib::Parameter& aParameter, const Value& aValue);

// The same for eyes: nothing that disturbs the terminal, and "" for an empty text.
std::string ToDisplay(const QvUserLib::Parameter& aParameter, const Value& aValue);
std::string ToDisplayWithUnit(const QvUserLib::Parameter& aParameter, const Value& aValue);

// What the library joins for an integer: "Gain (dB)" is the description "Gain" with the unit "dB".
struct Description {
    std::string text;
    std::string unit;
};
Description GetDescription(const QvUserLib::Parameter& aParameter);

// "integer", "enumeration" or "string".
std::string TypeName(const QvUserLib::Parameter& aParameter);

// "0 to 60", the names of the entries, or "any text"; for eyes, too.
std::string RangeText(const QvUserLib::Parameter& aParameter);
std::vector<std::string> GetEntries(const QvUserLib::Parameter& aParameter);

// The attributes that a user has to know of, in words: "read-only", "volatile" and so on.
std::vector<std::string> GetMarks(const QvUserLib::Parameter& aParameter);

// Sets a value from the command line. An integer is decimal, or hexadecimal with 0x, with an
// optional sign; an enumeration's entry is given by its exact name or, when no entry has that name,
// by its index. A refusal is in the error log, and the parameter unchanged. A null parameter is
// refused as the library does it.
QvUserLib::Result SetFromText(QvUserLib::Parameter* aParameter, const std::string& aText);

// Sets the default value, and likewise takes null.
QvUserLib::Result SetToDefault(QvUserLib::Parameter* aParameter);

}  // namespace Qvctl

#endif
