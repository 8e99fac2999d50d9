// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/IntervalStatistics.h"

#include <algorithm>

namespace QvKit {

void IntervalStatistics::Add(std::uint64_t aNanoseconds) {
    minimum_ = count_ == 0 ? aNanoseconds : std::min(minimum_, aNanoseconds);
    maximum_ = std::max(maximum_, aNanoseconds);
    ++count_;
    ++bins_[BinOf(aNanoseconds)];
}

std::uint64_t IntervalStatistics::GetPercentile(unsigned int aPercent) const {
    // Rounded up, and in this order so that no count overflows.
    const std::uint64_t rank = count_ / 100 * aPercent + (count_ % 100 * aPercent + 99) / 100;
    std::uint64_t seen = 0;
    std::size_t bin = 0;
    // All times together reach every rank.
    while ((seen += bins_[bin]) < rank) ++bin;
    return std::clamp(LastOf(bin), minimum_, maximum_);
}

std::size_t IntervalStatistics::BinOf(std::uint64_t aNanoseconds) {
    std::size_t shift = 0;
    while ((aNanoseconds >> shift) >= 2 * kSteps) ++shift;
    return shift * kSteps + static_cast<std::size_t>(aNanoseconds >> shift);
}

std::uint64_t IntervalStatistics::LastOf(std::size_t aBin) {
    if (aBin < 2 * kSteps) return aBin;
    const std::size_t shift = aBin / kSteps - 1;
    const std::uint64_t first = std::uint64_t{kSteps + aBin % kSteps} << shift;
    return first + ((std::uint64_t{1} << shift) - 1);
}

}  // namespace QvKit
