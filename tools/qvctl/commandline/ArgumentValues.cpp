// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ArgumentValues.h"

#include <charconv>
#include <set>

#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

// The whole text has to be read.
template <typename Number>
bool Read(const std::string& aText, Number& aNumber) {
    const char* const end = aText.data() + aText.size();
    const std::from_chars_result result = std::from_chars(aText.data(), end, aNumber);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

std::uint64_t ParseWhole(const std::string& aText, std::uint64_t aMinimum, std::uint64_t aMaximum) {
    std::uint64_t number = 0;
    if (Read(aText, number) && number >= aMinimum && number <= aMaximum) return number;
    throw WrongUsage("'" + aText + "' is no whole number from " + std::to_string(aMinimum) +
                     " to " + std::to_string(aMaximum));
}

double ParseSeconds(const std::string& aText) {
    constexpr double kMost = 1000000;
    double seconds = 0;
    if (Read(aText, seconds) && seconds > 0 && seconds <= kMost) return seconds;
    throw WrongUsage("'" + aText + "' is no time in seconds, above 0 and up to 1000000");
}

std::string ParseFileName(const std::string& aText) {
    if (aText.empty()) throw WrongUsage("a file name cannot be empty");
    return aText;
}

void RequireDistinctNames(const std::vector<std::string>& aNames) {
    std::set<std::string> seen;
    for (const std::string& name : aNames) {
        if (name.empty()) throw WrongUsage("a parameter's name is empty");
        if (!seen.insert(name).second) throw WrongUsage("'" + name + "' is given more than once");
    }
}

}  // namespace Qvctl
