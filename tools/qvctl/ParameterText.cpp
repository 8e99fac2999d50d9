// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ParameterText.h"

#include <charconv>
#include <limits>
#include <system_error>

#include "LibraryError.h"
#include "QvBaseLib/DeviceParameter.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

using QvUserLib::Code;
using QvUserLib::Parameter;
using QvUserLib::Result;

bool IsString(const Parameter& aParameter) { return aParameter.GetType() == Parameter::TypeString; }

bool IsEnumeration(const Parameter& aParameter) {
    return aParameter.GetType() == Parameter::TypeEnumeration;
}

unsigned long EntryCount(const Parameter& aParameter) {
    unsigned long count = 0;
    // Not an enumeration: then there are none.
    (void)aParameter.GetEnumValueCount(count);
    return count;
}

// The error is invalid_argument for what is no number, result_out_of_range for one that does not
// fit 64 bits.
std::errc ParseNumber(const std::string& aText, long long& aNumber) {
    constexpr unsigned long long kLargest = std::numeric_limits<long long>::max();
    const bool negative = !aText.empty() && aText.front() == '-';
    const bool hasSign = negative || (!aText.empty() && aText.front() == '+');
    const std::string unsignedText = aText.substr(hasSign ? 1 : 0);
    const std::string prefix = unsignedText.substr(0, 2);
    const bool hexadecimal = prefix == "0x" || prefix == "0X";
    const std::string digits = unsignedText.substr(hexadecimal ? 2 : 0);

    unsigned long long magnitude = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] =
        std::from_chars(digits.data(), end, magnitude, hexadecimal ? 16 : 10);
    if (stop != end) return std::errc::invalid_argument;
    if (error != std::errc()) return error;
    if (magnitude > kLargest + (negative ? 1 : 0)) return std::errc::result_out_of_range;
    // In unsigned arithmetic, where the smallest number has a magnitude, too.
    aNumber = static_cast<long long>(negative ? 0 - magnitude : magnitude);
    return std::errc();
}

Result SetInteger(Parameter& aParameter, const std::string& aText) {
    long long number = 0;
    const std::errc error = ParseNumber(aText, number);
    if (error == std::errc::result_out_of_range) {
        return Refuse(Code::NotSupported, __LINE__, "The number does not fit in 64 bits");
    }
    if (error != std::errc()) {
        return Refuse(Code::NotSupported, __LINE__,
                      "Not a whole number, decimal or with 0x hexadecimal");
    }
    return aParameter.SetInt(number);
}

Result SetEntry(Parameter& aParameter, const std::string& aText) {
    const std::vector<std::string> entries = GetEntries(aParameter);
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (entries[index] == aText) return aParameter.SetInt(static_cast<long long>(index));
    }
    long long number = 0;
    if (ParseNumber(aText, number) == std::errc()) return aParameter.SetInt(number);

    unsigned long index = 0;
    const Result result = aParameter.FindEnumValue(LibraryText(aText), index);
    if (result.IsFailure()) return result;
    // The library compares in the code page, where unlike characters may look alike.
    return Refuse(Code::NotFound, __LINE__, "No entry has exactly this name");
}

// The library tells a change of text by the 8-bit forms. In those, characters that the code page
// lacks are all alike, and a change from one to another would not be marked and not be sent. A
// detour over a text that differs in the 8-bit form, too, leaves the mark.
Result SetMarkedText(Parameter& aParameter, const std::wstring& aText) {
    const bool differs = aText != aParameter.GetString().GetUnicode();
    const Result result = aParameter.SetString(aText.c_str());
    if (result.IsFailure() || !differs || aParameter.HasChanged(/*aReset=*/false)) return result;

    const Result detour = aParameter.SetString((aText + L'.').c_str());
    return detour.IsFailure() ? detour : aParameter.SetString(aText.c_str());
}

// The library takes texts of any length, and sends the default in place of one that is too long
// for a record.
Result SetText(Parameter& aParameter, const std::wstring& aText) {
    QvBaseLib::DeviceParameter record;
    record.InitString(L"");
    if (record.SetValue(aText.c_str()).IsFailure()) {
        const std::string reason =
            "The text has more than " + std::to_string(QV_PARAMETER_TEXT_UNITS) + " characters";
        return Refuse(Code::InvalidArgument, __LINE__, reason.c_str());
    }
    return SetMarkedText(aParameter, aText);
}

}  // namespace

Value GetValue(const Parameter& aParameter) {
    if (IsString(aParameter)) return std::wstring(aParameter.GetString().GetUnicode());
    return aParameter.GetInt();
}

Value GetDefault(const Parameter& aParameter) {
    if (IsString(aParameter)) return std::wstring(aParameter.GetDefaultString().GetUnicode());
    return aParameter.GetDefaultInt();
}

std::string ToText(const Parameter& aParameter, const Value& aValue) {
    if (const auto* text = std::get_if<std::wstring>(&aValue)) return ToUtf8(*text);

    const long long number = std::get<long long>(aValue);
    if (!IsEnumeration(aParameter)) return std::to_string(number);
    return Utf8Of(aParameter.GetEnumValueString(static_cast<unsigned long>(number)));
}

std::string ToDisplay(const Parameter& aParameter, const Value& aValue) {
    const std::string text = Printable(ToText(aParameter, aValue));
    return text.empty() ? "\"\"" : text;
}

std::string ToDisplayWithUnit(const Parameter& aParameter, const Value& aValue) {
    const std::string unit = Printable(GetDescription(aParameter).unit);
    return ToDisplay(aParameter, aValue) + (unit.empty() ? unit : " " + unit);
}

Description GetDescription(const Parameter& aParameter) {
    const std::string text = Utf8Of(aParameter.GetDescription());
    const std::size_t open = text.rfind('(');
    if (aParameter.GetType() != Parameter::TypeInteger || text.empty() || text.back() != ')' ||
        open == std::string::npos) {
        return Description{text, std::string()};
    }
    const std::string unit = text.substr(open + 1, text.size() - open - 2);
    // With the blank before the parenthesis, if there is one.
    const std::size_t end = open > 0 && text[open - 1] == ' ' ? open - 1 : open;
    return Description{text.substr(0, end), unit};
}

std::string TypeName(const Parameter& aParameter) {
    if (IsString(aParameter)) return "string";
    return IsEnumeration(aParameter) ? "enumeration" : "integer";
}

std::string RangeText(const Parameter& aParameter) {
    if (IsString(aParameter)) return "any text";
    if (!IsEnumeration(aParameter)) {
        return std::to_string(aParameter.GetMinInt()) + " to " +
               std::to_string(aParameter.GetMaxInt());
    }
    std::string names;
    for (const std::string& entry : GetEntries(aParameter)) {
        names += names.empty() ? entry : ", " + entry;
    }
    return Printable(names);
}

std::vector<std::string> GetEntries(const Parameter& aParameter) {
    std::vector<std::string> entries;
    const unsigned long count = EntryCount(aParameter);
    entries.reserve(count);
    for (unsigned long index = 0; index < count; ++index) {
        entries.push_back(Utf8Of(aParameter.GetEnumValueString(index)));
    }
    return entries;
}

std::vector<std::string> GetMarks(const Parameter& aParameter) {
    std::vector<std::string> marks;
    if (aParameter.IsReadOnly()) marks.emplace_back("read-only");
    if (aParameter.IsVolatile()) marks.emplace_back("volatile");
    if (aParameter.IsRestartRequired()) marks.emplace_back("restart");
    // Of what nobody sets, nobody expects it.
    if (!aParameter.IsPersistent() && !aParameter.IsReadOnly()) marks.emplace_back("not saved");
    if (aParameter.IsAdvanced()) marks.emplace_back("advanced");
    if (aParameter.IsHidden()) marks.emplace_back("hidden");
    return marks;
}

Result SetFromText(Parameter* aParameter, const std::string& aText) {
    // Refused whatever the text says, so this reason comes first.
    if (aParameter->IsReadOnly()) return aParameter->SetParameter(aParameter);

    switch (aParameter->GetType()) {
        case Parameter::TypeInteger:
            return SetInteger(*aParameter, aText);
        case Parameter::TypeEnumeration:
            return SetEntry(*aParameter, aText);
        case Parameter::TypeString:
            return SetText(*aParameter, FromUtf8(aText));
        default:
            // A parameter that is not there has no type, and the setter says so.
            return aParameter->SetInt(0);
    }
}

Result SetToDefault(Parameter* aParameter) {
    if (aParameter->GetType() != Parameter::TypeString) return aParameter->ResetDefault();
    return SetMarkedText(*aParameter, aParameter->GetDefaultString().GetUnicode());
}

}  // namespace Qvctl
