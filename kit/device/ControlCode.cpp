// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/ControlCode.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <vector>

#include "QvKit/Error.h"

namespace QvKit {
namespace {

constexpr unsigned int kLargestDeviceType = 0xFFFF;
constexpr unsigned int kLargestFunction = 0xFFF;

using Names = std::array<const char*, 4>;
constexpr Names kMethods = {"buffered", "in-direct", "out-direct", "neither"};
constexpr Names kAccesses = {"any", "read", "write", "read-write"};

std::optional<std::uint32_t> ReadNumber(const std::string& aText) {
    const bool isHexadecimal = aText.rfind("0x", 0) == 0 || aText.rfind("0X", 0) == 0;
    const char* const begin = aText.data() + (isHexadecimal ? 2 : 0);
    const char* const end = aText.data() + aText.size();
    std::uint32_t number = 0;
    const std::from_chars_result read =
        std::from_chars(begin, end, number, isHexadecimal ? 16 : 10);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

unsigned int ReadPart(const std::string& aText, unsigned int aLargest, const char* aWhat) {
    const std::optional<std::uint32_t> number = ReadNumber(aText);
    if (number && *number <= aLargest) return *number;
    char range[32];
    std::snprintf(range, sizeof range, "0 to 0x%x", aLargest);
    throw Error(ErrorKind::WrongUse, "'" + aText + "' is no " + aWhat + ", a number from " + range);
}

unsigned int ReadName(const std::string& aText, const Names& aNames, const char* aWhat) {
    const std::optional<std::uint32_t> number = ReadNumber(aText);
    for (unsigned int index = 0; index < aNames.size(); ++index) {
        if (aText == aNames[index] || number == index) return index;
    }
    throw Error(ErrorKind::WrongUse, "'" + aText + "' is no " + aWhat + ": " + aNames[0] + ", " +
                                         aNames[1] + ", " + aNames[2] + " or " + aNames[3]);
}

std::vector<std::string> SplitAtColons(const std::string& aText) {
    std::vector<std::string> parts(1);
    for (const char character : aText) {
        if (character == ':') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

}  // namespace

ControlCode ControlCode::FromNumber(unsigned long aNumber) {
    return {static_cast<unsigned int>(aNumber >> 16 & kLargestDeviceType),
            static_cast<unsigned int>(aNumber >> 2 & kLargestFunction),
            static_cast<Method>(aNumber & 3), static_cast<Access>(aNumber >> 14 & 3)};
}

unsigned long ControlCode::ToNumber() const {
    return static_cast<unsigned long>(deviceType) << 16 | static_cast<unsigned long>(access) << 14 |
           static_cast<unsigned long>(function) << 2 | static_cast<unsigned long>(method);
}

std::string ControlCode::ToText() const {
    char text[80];
    std::snprintf(text, sizeof text, "device 0x%x, function 0x%x, %s, %s access", deviceType,
                  function, NameOf(method), NameOf(access));
    return text;
}

const char* NameOf(ControlCode::Method aMethod) {
    return kMethods.at(static_cast<std::size_t>(aMethod));
}

const char* NameOf(ControlCode::Access aAccess) {
    return kAccesses.at(static_cast<std::size_t>(aAccess));
}

ControlCode ParseControlCode(const std::string& aText) {
    const std::vector<std::string> parts = SplitAtColons(aText);
    if (parts.size() == 4) {
        return {ReadPart(parts[0], kLargestDeviceType, "device type"),
                ReadPart(parts[1], kLargestFunction, "function"),
                static_cast<ControlCode::Method>(ReadName(parts[2], kMethods, "method")),
                static_cast<ControlCode::Access>(ReadName(parts[3], kAccesses, "access"))};
    }
    const std::optional<std::uint32_t> number = ReadNumber(aText);
    if (number) return ControlCode::FromNumber(*number);
    throw Error(ErrorKind::WrongUse,
                "'" + aText +
                    "' is no control code: a number of 32 bits such as 0x222004, or "
                    "DEVICE:FUNCTION:METHOD:ACCESS");
}

}  // namespace QvKit
