// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_INTERVALSTATISTICS_H
#define QVKIT_INTERVALSTATISTICS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace QvKit {

/// Times between events, summed up in little memory: a histogram whose bins grow with the time they
/// stand for. It takes the same memory for any number of times, and a percentile is at most 1/32
/// too high. The shortest and the longest time are exact.
class IntervalStatistics {
public:
    /// Adds a time.
    void Add(std::uint64_t aNanoseconds);

    /// How many times were added.
    std::uint64_t GetCount() const { return count_; }

    /// The shortest time in ns; 0 as long as nothing was added.
    std::uint64_t GetMinimum() const { return minimum_; }
    /// The longest time in ns; 0 as long as nothing was added.
    std::uint64_t GetMaximum() const { return maximum_; }

    /// The time, in ns, that at least `aPercent` of 100 do not exceed; 0 as long as nothing was
    /// added.
    std::uint64_t GetPercentile(unsigned int aPercent) const;

private:
    // Up to 2 * kSteps ns each ns has a bin; from there on each power of two has kSteps.
    static constexpr unsigned int kStepBits = 5;
    static constexpr std::size_t kSteps = std::size_t{1} << kStepBits;
    static constexpr std::size_t kBins = (64 - kStepBits + 1) * kSteps;

    static std::size_t BinOf(std::uint64_t aNanoseconds);
    static std::uint64_t LastOf(std::size_t aBin);

    std::array<std::uint64_t, kBins> bins_{};
    std::uint64_t count_ = 0;
    std::uint64_t minimum_ = 0;
    std::uint64_t maximum_ = 0;
};

}  // namespace QvKit

#endif
