// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/ArgumentChecks.h"

#include <charconv>
#include <functional>
#include <set>
#include <string>

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

CLI::Validator Check(const std::function<std::string(std::string&)>& aTest) {
    // An empty name, as the help would show any other.
    return CLI::Validator(aTest, std::string(), std::string());
}

}  // namespace

CLI::Validator CheckWhole(std::uint64_t aMinimum, std::uint64_t aMaximum) {
    return Check([=](const std::string& aText) {
        std::uint64_t number = 0;
        if (Read(aText, number) && number >= aMinimum && number <= aMaximum) return std::string();
        return "'" + aText + "' is no whole number from " + std::to_string(aMinimum) + " to " +
               std::to_string(aMaximum);
    });
}

CLI::Validator CheckSeconds() {
    return Check([](const std::string& aText) {
        constexpr double kMost = 1000000;
        double seconds = 0;
        if (Read(aText, seconds) && seconds > 0 && seconds <= kMost) return std::string();
        return "'" + aText + "' is no time in seconds, above 0 and up to 1000000";
    });
}

CLI::Validator CheckFileName() {
    return Check([](const std::string& aText) {
        return aText.empty() ? std::string("a file name cannot be empty") : std::string();
    });
}

void RequireDistinctNames(const std::vector<std::string>& aNames) {
    std::set<std::string> seen;
    for (const std::string& name : aNames) {
        if (name.empty()) throw WrongUsage("a parameter's name is empty");
        if (!seen.insert(name).second) throw WrongUsage("'" + name + "' is given more than once");
    }
}

}  // namespace Qvctl
