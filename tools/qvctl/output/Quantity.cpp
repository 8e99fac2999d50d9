// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/Quantity.h"

#include <cmath>
#include <cstdio>

namespace Qvctl {
namespace {

// With two digits after the point, or one for numbers from 10 on.
std::string Number(double aValue) {
    char text[64];
    std::snprintf(text, sizeof text, aValue < 10 ? "%.2f" : "%.1f", aValue);
    return text;
}

std::string TwoParts(std::uint64_t aFirst, const char* aFirstUnit, std::uint64_t aSecond,
                     const char* aSecondUnit) {
    char text[64];
    std::snprintf(text, sizeof text, "%llu %s %02u %s", static_cast<unsigned long long>(aFirst),
                  aFirstUnit, static_cast<unsigned int>(aSecond), aSecondUnit);
    return text;
}

}  // namespace

std::string DurationText(std::uint64_t aNanoseconds) {
    const auto value = static_cast<double>(aNanoseconds);
    if (value < 1e6) return Number(value / 1e3) + " us";
    if (value < 1e9) return Number(value / 1e6) + " ms";
    return Number(value / 1e9) + " s";
}

std::string RateText(double aBytesPerSecond) { return Number(aBytesPerSecond / 1e6) + " MB/s"; }

std::string TimeLeftText(double aSeconds) {
    // Keeps the conversion to an integer in range.
    constexpr double kLongest = 1e12;
    const auto seconds =
        static_cast<std::uint64_t>(std::ceil(std::fmin(std::fmax(aSeconds, 0.0), kLongest)));
    if (seconds < 60) return std::to_string(seconds) + " s";
    if (seconds < 3600) return TwoParts(seconds / 60, "min", seconds % 60, "s");
    return TwoParts(seconds / 3600, "h", seconds / 60 % 60, "min");
}

std::string CountText(std::uint64_t aCount, const char* aNoun) {
    return std::to_string(aCount) + " " + aNoun + (aCount == 1 ? "" : "s");
}

double PerSecond(std::uint64_t aCount, double aSeconds) {
    return aSeconds > 0 ? static_cast<double>(aCount) / aSeconds : 0.0;
}

}  // namespace Qvctl
