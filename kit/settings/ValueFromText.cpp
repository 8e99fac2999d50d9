// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ValueFromText.h"

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <limits>
#include <system_error>

#include "LibraryCall.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvKit/Text.h"

namespace QvKit {
namespace {

using QvUserLib::Code;
using QvUserLib::Parameter;
using QvUserLib::Result;
using Refused = std::optional<ValueRefusal>;

Refused Refuse(Code aCode, std::string aReason) {
    return ValueRefusal{std::move(aReason), static_cast<unsigned long>(aCode), false};
}

// To be called with the result of a setter, before anything else is asked of the library.
Refused RefusedBy(const Result& aResult) {
    if (aResult.IsSuccess()) return std::nullopt;
    LibraryReason reason = CaptureReason(aResult);
    return ValueRefusal{std::move(reason.text), aResult.GetCode(), reason.isLogged};
}

// The error is invalid_argument for what is no number, result_out_of_range for a number that does
// not fit 64 bits.
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
    // In unsigned arithmetic, as the magnitude of the smallest number does not fit a signed one.
    aNumber = static_cast<long long>(negative ? 0 - magnitude : magnitude);
    return std::errc();
}

Refused SetInteger(Parameter& aParameter, const std::string& aText) {
    long long number = 0;
    const std::errc error = ParseNumber(aText, number);
    if (error == std::errc::result_out_of_range) {
        return Refuse(Code::NotSupported, "The number does not fit in 64 bits");
    }
    if (error != std::errc()) {
        return Refuse(Code::NotSupported, "Not a whole number, decimal or with 0x hexadecimal");
    }
    return RefusedBy(aParameter.SetInt(number));
}

Refused SetEntry(Parameter& aParameter, const Setting& aSetting, const std::string& aText) {
    const auto begin = aSetting.entries.begin();
    const auto entry = std::find(begin, aSetting.entries.end(), aText);
    if (entry != aSetting.entries.end()) return RefusedBy(aParameter.SetInt(entry - begin));

    long long number = 0;
    if (ParseNumber(aText, number) == std::errc()) return RefusedBy(aParameter.SetInt(number));

    unsigned long index = 0;
    const Result found = aParameter.FindEnumValue(ToLibraryText(aText), index);
    if (found.IsFailure()) return RefusedBy(found);
    // The library compares in the code page, where unlike characters may look alike.
    return Refuse(Code::NotFound, "No entry has exactly this name");
}

// The library notices a change of text by comparing the 8-bit forms. There, all characters that the
// code page lacks look alike, so a change from one to another would not be marked and not be sent.
// A detour over a text whose 8-bit form differs sets the mark.
Result SetMarkedText(Parameter& aParameter, const std::wstring& aText) {
    const bool differs = aText != aParameter.GetString().GetUnicode();
    const Result result = aParameter.SetString(aText.c_str());
    if (result.IsFailure() || !differs || aParameter.HasChanged(/*aReset=*/false)) return result;

    const Result detour = aParameter.SetString((aText + L'.').c_str());
    return detour.IsFailure() ? detour : aParameter.SetString(aText.c_str());
}

// The library takes texts of any length, but sends the default instead of a text that is too long
// for a record.
Refused SetText(Parameter& aParameter, const std::wstring& aText) {
    if (std::wcslen(aText.c_str()) > QV_PARAMETER_TEXT_UNITS) {
        return Refuse(
            Code::InvalidArgument,
            "The text has more than " + std::to_string(QV_PARAMETER_TEXT_UNITS) + " characters");
    }
    return RefusedBy(SetMarkedText(aParameter, aText));
}

}  // namespace

Refused SetFromText(Parameter& aParameter, const Setting& aSetting, const std::string& aText) {
    // Refused whatever the text says, so this reason comes first.
    if (aSetting.isReadOnly) return Refuse(Code::NotAllowed, "Parameter is read-only");

    switch (aSetting.type) {
        case SettingType::Integer:
            return SetInteger(aParameter, aText);
        case SettingType::Enumeration:
            return SetEntry(aParameter, aSetting, aText);
        default:
            return SetText(aParameter, FromUtf8(aText));
    }
}

Refused SetToDefault(Parameter& aParameter, const Setting& aSetting) {
    if (aSetting.type != SettingType::String) return RefusedBy(aParameter.ResetDefault());
    return RefusedBy(SetMarkedText(aParameter, std::get<std::wstring>(aSetting.defaultValue)));
}

}  // namespace QvKit
