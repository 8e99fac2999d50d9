// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// How much the long tests do: little in a normal run, more when scripts/soak.sh asks for it.

#ifndef QVTESTS_TESTSCALE_H
#define QVTESTS_TESTSCALE_H

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace QvTests {

/// The number in the environment variable, or `aDefault` when it is not set.
inline unsigned long Scaled(const char* aVariable, unsigned long aDefault) {
    const char* const text = std::getenv(aVariable);
    return text != nullptr ? std::strtoul(text, nullptr, 0) : aDefault;
}

/// The seed in QVTEST_SEED, or a new one, the same for the whole process. It is printed, so that a
/// failure can be repeated.
inline unsigned long Seed() {
    static const unsigned long kSeed = Scaled("QVTEST_SEED", std::random_device()());
    std::cout << "QVTEST_SEED=" << kSeed << std::endl;
    return kSeed;
}

}  // namespace QvTests

#endif
