// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ValueFromText.h"

#include <charconv>
#include <limits>
#include <system_error>
#include <vector>

#include "LibraryCall.h"
#include "QvKit/Text.h"
#include "WindowsApi.h"

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

// The number in front of the unit, "12" of "12 dB" and "12dB".
std::string WithoutUnit(const std::string& aText, const std::string& aUnit) {
    const bool hasUnit = !aUnit.empty() && aText.size() > aUnit.size() &&
                         aText.compare(aText.size() - aUnit.size(), aUnit.size(), aUnit) == 0;
    if (!hasUnit) return aText;
    const std::string number = aText.substr(0, aText.size() - aUnit.size());
    return number.substr(0, number.find_last_not_of(' ') + 1);
}

Refused SetInteger(Parameter& aParameter, const Setting& aSetting, const std::string& aText) {
    long long number = 0;
    // A hexadecimal number may end like a unit.
    std::errc error = ParseNumber(aText, number);
    if (error == std::errc::invalid_argument) {
        error = ParseNumber(WithoutUnit(aText, aSetting.unit), number);
    }
    if (error == std::errc::result_out_of_range) {
        return Refuse(Code::NotSupported, "The number does not fit in 64 bits");
    }
    if (error != std::errc()) {
        return Refuse(Code::NotSupported, "Not a whole number, decimal or with 0x hexadecimal");
    }
    return RefusedBy(aParameter.SetInt(number));
}

// As the system compares names of files, without regard to case in any language.
bool IsSameName(std::string_view aLeft, std::string_view aRight) {
    return ::CompareStringOrdinal(FromUtf8(aLeft).c_str(), -1, FromUtf8(aRight).c_str(), -1,
                                  /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

// The index of the entry with exactly this name, or with the only name that differs in case.
std::optional<long long> FindEntry(const EntryNames& aEntries, const std::string& aText) {
    std::vector<long long> alike;
    long long index = 0;
    for (const std::string_view entry : aEntries) {
        if (entry == aText) return index;
        if (IsSameName(entry, aText)) alike.push_back(index);
        ++index;
    }
    if (alike.size() != 1) return std::nullopt;
    return alike.front();
}

Refused SetEntry(Parameter& aParameter, const Setting& aSetting, const std::string& aText) {
    const std::optional<long long> entry = FindEntry(aSetting.entries, aText);
    if (entry) return RefusedBy(aParameter.SetInt(*entry));

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
Refused SetText(Parameter& aParameter, const Setting& aSetting, const std::wstring& aText) {
    if (aText.find(L'\0') != std::wstring::npos) {
        return Refuse(Code::InvalidArgument, "A text cannot have a zero character");
    }
    if (static_cast<long long>(aText.size()) > aSetting.maximum) {
        return Refuse(Code::InvalidArgument,
                      "The text has more than " + std::to_string(aSetting.maximum) + " characters");
    }
    return RefusedBy(SetMarkedText(aParameter, aText));
}

}  // namespace

Refused SetFromText(Parameter& aParameter, const Setting& aSetting, const std::wstring& aText) {
    // Refused whatever the text says, so this reason comes first.
    if (aSetting.isReadOnly) return Refuse(Code::NotAllowed, "Parameter is read-only");

    switch (aSetting.type) {
        case SettingType::Integer:
            return SetInteger(aParameter, aSetting, ToUtf8(aText));
        case SettingType::Enumeration:
            return SetEntry(aParameter, aSetting, ToUtf8(aText));
        default:
            return SetText(aParameter, aSetting, aText);
    }
}

Refused SetToValue(Parameter& aParameter, const Setting& aSetting, const Value& aValue) {
    if (const auto* text = std::get_if<CompactWideText>(&aValue)) {
        return SetText(aParameter, aSetting, *text);
    }
    return RefusedBy(aParameter.SetInt(std::get<long long>(aValue)));
}

Refused SetToDefault(Parameter& aParameter, const Setting& aSetting) {
    if (aSetting.type != SettingType::String) return RefusedBy(aParameter.ResetDefault());
    return RefusedBy(SetMarkedText(aParameter, std::get<CompactWideText>(aSetting.defaultValue)));
}

}  // namespace QvKit
