// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/DeviceParameter.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace QvBaseLib {

namespace {

static_assert(std::is_standard_layout<DeviceParameter>::value, "the flag word comes first");
static_assert(std::is_trivially_copyable<DeviceParameter>::value,
              "a driver's bytes are a valid record");

template <typename Unit, std::size_t Size>
std::basic_string<Unit> ReadField(const Unit (&aField)[Size]) {
    return std::basic_string<Unit>(aField, std::find(aField, aField + Size, Unit()));
}

// Cuts the text to the field, and fills the rest with zeros.
template <typename Unit, std::size_t Size>
void WriteField(Unit (&aField)[Size], const Unit* aText) {
    std::size_t length = 0;
    if (aText != nullptr) {
        for (; length < Size && aText[length] != Unit(); ++length) aField[length] = aText[length];
    }
    std::fill(aField + length, aField + Size, Unit());
}

template <std::size_t Size>
bool FitsField(const wchar_t (&)[Size], const wchar_t* aText) {
    if (aText == nullptr) return true;
    std::size_t length = 0;
    while (length <= Size && aText[length] != L'\0') ++length;
    return length <= Size;
}

}  // namespace

DeviceParameter::DeviceParameter() : record_() {}

unsigned long DeviceParameter::GetFlags() const { return record_.flags; }

void DeviceParameter::SetFlags(unsigned long aFlags) { record_.flags = aFlags; }

DeviceParameter::Type DeviceParameter::GetType() const { return static_cast<Type>(record_.type); }

unsigned long DeviceParameter::GetId() const { return record_.id; }

std::wstring DeviceParameter::GetName() const { return ReadField(record_.name); }

std::string DeviceParameter::GetDescription() const { return ReadField(record_.description); }

std::string DeviceParameter::GetUnit() const { return ReadField(record_.unit); }

unsigned long DeviceParameter::GetMin() const { return record_.minimum; }

unsigned long DeviceParameter::GetMax() const { return record_.maximum; }

unsigned long DeviceParameter::GetDefaultDWord() const { return record_.defaultValue; }

unsigned long DeviceParameter::GetValueDWord() const { return record_.value; }

std::wstring DeviceParameter::GetValueName(unsigned long aIndex) const {
    if (record_.type != Enumeration) return std::wstring();
    const wchar_t* name = record_.content.valueNames;
    const wchar_t* const end = name + QV_PARAMETER_VALUE_NAMES_UNITS;
    for (unsigned long index = 0; index < aIndex; ++index) {
        name = std::find(name, end, L'\0');
        if (name == end) return std::wstring();
        ++name;
    }
    return std::wstring(name, std::find(name, end, L'\0'));
}

std::wstring DeviceParameter::GetValueString() const {
    if (record_.type != String) return std::wstring();
    return ReadField(record_.content.string.valueText);
}

std::wstring DeviceParameter::GetDefaultString() const {
    if (record_.type != String) return std::wstring();
    return ReadField(record_.content.string.defaultText);
}

void DeviceParameter::InitCommon(unsigned long aId, const wchar_t* aName,
                                 const char* aDescription) {
    record_.id = aId;
    WriteField(record_.name, aName);
    WriteField(record_.description, aDescription);
}

void DeviceParameter::InitDWord(unsigned long aMin, unsigned long aMax, unsigned long aDefault,
                                const char* aUnit) {
    record_.type = Integer;
    WriteField(record_.unit, aUnit);
    record_.minimum = aMin;
    record_.maximum = aMax;
    record_.defaultValue = aDefault;
    record_.value = aDefault;
    record_.content = {};
}

void DeviceParameter::InitEnum(unsigned long aCount, const wchar_t* aNames,
                               unsigned long aDefault) {
    record_.type = Enumeration;
    WriteField(record_.unit, "");
    record_.minimum = 0;
    record_.defaultValue = aDefault;
    record_.value = aDefault;
    record_.content = {};

    // The last unit stays zero: it ends the list.
    wchar_t* out = record_.content.valueNames;
    std::size_t room = QV_PARAMETER_VALUE_NAMES_UNITS - 1;
    unsigned long kept = 0;
    while (kept < aCount && aNames != nullptr) {
        std::size_t length = 0;
        while (length < room && aNames[length] != L'\0') ++length;
        if (length == 0 || length == room) break;
        out = std::copy(aNames, aNames + length + 1, out);
        aNames += length + 1;
        room -= length + 1;
        ++kept;
    }
    record_.maximum = kept > 0 ? kept - 1 : 0;
}

void DeviceParameter::InitString(const wchar_t* aDefault) {
    record_.type = String;
    WriteField(record_.unit, "");
    record_.minimum = 0;
    record_.maximum = 0;
    record_.defaultValue = 0;
    record_.value = 0;
    record_.content = {};
    WriteField(record_.content.string.defaultText, aDefault);
    WriteField(record_.content.string.valueText, aDefault);
}

Result DeviceParameter::SetValue(unsigned long aValue) {
    if (record_.type != Integer && record_.type != Enumeration) return Result(InvalidArgument);
    record_.value = aValue;
    return Result(Success);
}

Result DeviceParameter::SetValue(const wchar_t* aValue) {
    if (record_.type != String || !FitsField(record_.content.string.valueText, aValue)) {
        return Result(InvalidArgument);
    }
    WriteField(record_.content.string.valueText, aValue);
    return Result(Success);
}

}  // namespace QvBaseLib
