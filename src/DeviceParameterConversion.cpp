// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceParameterConversion.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "ReportError.h"

namespace QvUserLib {

using QvBaseLib::DeviceParameter;

namespace {

// The longest description that is sent, unit included.
constexpr std::size_t kMaxDescriptionLength = QV_PARAMETER_DESCRIPTION_BYTES - 1;

bool IsAscii(const std::wstring& aText) {
    return std::all_of(aText.begin(), aText.end(), [](wchar_t aUnit) { return aUnit < 0x80; });
}

// A record's UTF-16 text, converted to the code page and stored as 8-bit form. ASCII needs no
// conversion.
String AnsiText(const std::wstring& aText) {
    if (IsAscii(aText)) return String(aText.c_str());
    return String(String(aText.c_str()).GetAscii());
}

std::unique_ptr<Parameter> MakeNamed(const DeviceParameter& aRecord) {
    return std::make_unique<Parameter>(AnsiText(aRecord.GetName()), aRecord.GetId());
}

std::unique_ptr<Parameter> MakeInteger(const DeviceParameter& aRecord, Result& aCombined) {
    std::unique_ptr<Parameter> parameter = MakeNamed(aRecord);
    parameter->InitInteger(aRecord.GetDefaultDWord(), aRecord.GetMin(), aRecord.GetMax());

    std::string description = aRecord.GetDescription();
    const std::string unit = aRecord.GetUnit();
    if (!unit.empty()) description.append(" (").append(unit).append(")");
    aCombined |= parameter->SetDescription(String(description.c_str()));
    aCombined |= parameter->SetInt(aRecord.GetValueDWord());
    return parameter;
}

std::unique_ptr<Parameter> MakeEnumeration(const DeviceParameter& aRecord, Result& aCombined) {
    std::unique_ptr<Parameter> parameter = MakeNamed(aRecord);
    parameter->InitEnum();
    aCombined |= parameter->SetDescription(String(aRecord.GetDescription().c_str()));

    // A driver may have more entries than names fit in a record. A maximum above this limit is
    // damaged, and adding that many entries would take forever.
    constexpr unsigned long kLast = 4095;
    if (aRecord.GetMax() > kLast) {
        aCombined |= ReportError(Result(Code::UnexpectedSize), ".\\DeviceParameterRepository",
                                 __LINE__, "The driver did not return the expected size of data");
    }
    const unsigned long last = std::min(aRecord.GetMax(), kLast);
    for (unsigned long index = 0; index <= last; ++index) {
        aCombined |= parameter->AddEnumValue(AnsiText(aRecord.GetValueName(index)));
    }
    aCombined |= parameter->SetDefaultInt(aRecord.GetDefaultDWord());
    aCombined |= parameter->SetInt(aRecord.GetValueDWord());
    return parameter;
}

std::unique_ptr<Parameter> MakeString(const DeviceParameter& aRecord, Result& aCombined) {
    std::unique_ptr<Parameter> parameter = MakeNamed(aRecord);
    parameter->InitString(AnsiText(aRecord.GetDefaultString()).GetAscii());
    aCombined |= parameter->SetDescription(String(aRecord.GetDescription().c_str()));
    aCombined |= parameter->SetString(String(aRecord.GetValueString().c_str()));
    return parameter;
}

// The flag word is the first field of a record.
unsigned long ReadFlags(const DeviceParameter& aRecord) {
    unsigned long flags = 0;
    std::memcpy(&flags, &aRecord, sizeof flags);
    return flags;
}

void WriteFlags(DeviceParameter& aRecord, unsigned long aFlags) {
    std::memcpy(static_cast<void*>(&aRecord), &aFlags, sizeof aFlags);
}

bool HasFlag(const DeviceParameter& aRecord, unsigned long aFlag) {
    return (ReadFlags(aRecord) & aFlag) != 0;
}

// Cuts the unit in parentheses off the end of a description, together with the one character before
// it, which is the space of "description (unit)", and returns the unit, which stays in the same
// buffer. A description with another ending stays whole and has no unit.
const char* SplitUnit(char* aDescription, std::size_t aLength) {
    if (aLength < 2 || aDescription[aLength - 1] != ')') return "";
    std::size_t open = aLength - 2;
    while (open > 0 && aDescription[open] != '(') --open;
    if (aDescription[open] != '(') return "";

    aDescription[aLength - 1] = '\0';
    aDescription[open > 0 ? open - 1 : 0] = '\0';
    return aDescription + open + 1;
}

// The names one after another, each with its terminator, and one more zero.
std::wstring PackEnumValueNames(const Parameter& aParameter, unsigned long& aCount) {
    aCount = 0;
    (void)aParameter.GetEnumValueCount(aCount);  // It is an enumeration.
    std::wstring names;
    for (unsigned long index = 0; index < aCount; ++index) {
        names.append(aParameter.GetEnumValueString(index).GetUnicode());
        names.push_back(L'\0');
    }
    names.push_back(L'\0');
    return names;
}

// The flags that have a meaning. Others in a record are left alone.
constexpr unsigned long kOwnFlags =
    QV_PARAMETER_ADVANCED | QV_PARAMETER_SENT | QV_PARAMETER_HIDDEN | QV_PARAMETER_PERSISTENT |
    QV_PARAMETER_READ_ONLY | QV_PARAMETER_RESTART_REQUIRED | QV_PARAMETER_VOLATILE;

// Of these, read-only and volatile are never sent.
unsigned long FlagsOf(const Parameter& aParameter) {
    unsigned long flags = QV_PARAMETER_SENT;
    if (aParameter.IsAdvanced()) flags |= QV_PARAMETER_ADVANCED;
    if (aParameter.IsHidden()) flags |= QV_PARAMETER_HIDDEN;
    if (aParameter.IsPersistent()) flags |= QV_PARAMETER_PERSISTENT;
    if (aParameter.IsRestartRequired()) flags |= QV_PARAMETER_RESTART_REQUIRED;
    return flags;
}

// Records hold 32 bits of a number.
unsigned long Low32(long long aValue) { return static_cast<unsigned long>(aValue); }

void FillInteger(const Parameter& aParameter, const char* aUnit, DeviceParameter& aRecord) {
    long long min = 0;
    long long max = 0;
    (void)aParameter.GetRangeInt(min, max);  // It is an integer.
    aRecord.InitDWord(Low32(min), Low32(max), Low32(aParameter.GetDefaultInt()), aUnit);
    (void)aRecord.SetValue(Low32(aParameter.GetInt()));  // An integer record takes any number.
}

void FillEnumeration(const Parameter& aParameter, DeviceParameter& aRecord) {
    unsigned long count = 0;
    const std::wstring names = PackEnumValueNames(aParameter, count);
    aRecord.InitEnum(count, names.c_str(), Low32(aParameter.GetDefaultInt()));
    (void)aRecord.SetValue(Low32(aParameter.GetInt()));  // Nor does an enumeration record check it.
}

void FillString(const Parameter& aParameter, DeviceParameter& aRecord) {
    aRecord.InitString(aParameter.GetDefaultString().GetUnicode());
    // A text that is too long for the record is refused; the record is then sent with the default.
    (void)aRecord.SetValue(aParameter.GetString().GetUnicode());
}

}  // namespace

bool HasKnownType(const DeviceParameter& aRecord) {
    const DeviceParameter::Type type = aRecord.GetType();
    return type == DeviceParameter::Integer || type == DeviceParameter::Enumeration ||
           type == DeviceParameter::String;
}

std::unique_ptr<Parameter> MakeParameter(const DeviceParameter& aRecord, Result& aCombined) {
    if (aRecord.GetType() == DeviceParameter::Integer) return MakeInteger(aRecord, aCombined);
    if (aRecord.GetType() == DeviceParameter::String) return MakeString(aRecord, aCombined);
    return MakeEnumeration(aRecord, aCombined);
}

Result SetMarks(Parameter* aParameter, const DeviceParameter& aRecord) {
    Result combined = aParameter->SetAdvanced(HasFlag(aRecord, QV_PARAMETER_ADVANCED));
    combined |= aParameter->SetHidden(HasFlag(aRecord, QV_PARAMETER_HIDDEN));
    combined |= aParameter->SetPersistent(HasFlag(aRecord, QV_PARAMETER_PERSISTENT));
    combined |= aParameter->SetReadOnly(HasFlag(aRecord, QV_PARAMETER_READ_ONLY));
    combined |= aParameter->SetRestartRequired(HasFlag(aRecord, QV_PARAMETER_RESTART_REQUIRED));
    combined |= aParameter->SetVolatile(HasFlag(aRecord, QV_PARAMETER_VOLATILE));
    return combined;
}

void MarkUnchanged(const Parameter* aParameter) { (void)aParameter->HasChanged(/*aReset=*/true); }

void FillRecord(const Parameter& aParameter, DeviceParameter& aRecord) {
    const char* const whole = aParameter.GetDescription().GetAscii();
    const std::size_t length = ::strnlen(whole, kMaxDescriptionLength);
    char description[kMaxDescriptionLength + 1];
    std::memcpy(description, whole, length);
    description[length] = '\0';
    const bool isInteger = aParameter.GetType() == Parameter::TypeInteger;
    const char* const unit = isInteger ? SplitUnit(description, length) : "";

    aRecord.InitCommon(aParameter.GetID(), aParameter.GetName().GetUnicode(), description);
    WriteFlags(aRecord, (ReadFlags(aRecord) & ~kOwnFlags) | FlagsOf(aParameter));
    switch (aParameter.GetType()) {
        case Parameter::TypeInteger:
            FillInteger(aParameter, unit, aRecord);
            break;
        case Parameter::TypeString:
            FillString(aParameter, aRecord);
            break;
        case Parameter::TypeEnumeration:
            FillEnumeration(aParameter, aRecord);
            break;
        default:
            break;
    }
}

}  // namespace QvUserLib
