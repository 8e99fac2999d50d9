// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "commandline/Duration.h"

#include <charconv>
#include <cstdint>

#include "output/ErrorReport.h"

namespace Qvctl {
namespace {

constexpr struct {
    const char* name;
    std::int64_t ms;
} kUnits[] = {{"", 1}, {"ms", 1}, {"s", 1000}, {"min", 60000}};

// Longer than anybody waits, and short enough for every clock.
constexpr std::int64_t kLongestMs = 1000000000;

}  // namespace

std::chrono::milliseconds ParseDuration(const std::string& aText) {
    const std::string quoted = "'" + aText + "'";
    if (!aText.empty() && aText.front() == '-') {
        throw WrongUsage(quoted + " is negative; a duration is 0 or more");
    }
    std::int64_t number = 0;
    const std::from_chars_result read =
        std::from_chars(aText.data(), aText.data() + aText.size(), number);
    const std::string unit = aText.substr(static_cast<std::size_t>(read.ptr - aText.data()));
    for (const auto& known : kUnits) {
        if (read.ec == std::errc::invalid_argument || unit != known.name) continue;
        if (read.ec == std::errc::result_out_of_range || number > kLongestMs / known.ms) {
            throw WrongUsage(quoted + " is too long; the longest duration is 1000000s");
        }
        return std::chrono::milliseconds(number * known.ms);
    }
    throw WrongUsage(quoted + " is no duration such as 500ms, 30s or 2min");
}

}  // namespace Qvctl
