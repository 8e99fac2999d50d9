// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Amounts as people read them.

#ifndef QVCTL_OUTPUT_QUANTITY_H
#define QVCTL_OUTPUT_QUANTITY_H

#include <cstdint>
#include <string>

namespace Qvctl {

// "12.3 us", "4.56 ms" or "7.89 s".
std::string DurationText(std::uint64_t aNanoseconds);

// "16.4 MB/s", a megabyte being a million bytes.
std::string RateText(double aBytesPerSecond);

// "45 s", "3 min 05 s" or "2 h 03 min", rounded up to whole seconds.
std::string TimeLeftText(double aSeconds);

// "1 packet", "2 packets".
std::string CountText(std::uint64_t aCount, const char* aNoun);

// Per second; 0 when no time has passed.
double PerSecond(std::uint64_t aCount, double aSeconds);

}  // namespace Qvctl

#endif
