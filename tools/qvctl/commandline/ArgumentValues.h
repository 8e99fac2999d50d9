// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Values of arguments that several verbs take.

#ifndef QVCTL_COMMANDLINE_ARGUMENTVALUES_H
#define QVCTL_COMMANDLINE_ARGUMENTVALUES_H

#include <cstdint>
#include <string>
#include <vector>

namespace Qvctl {

// These throw `QvKit::Error` for wrong usage.

// A whole number in decimal, in a range.
std::uint64_t ParseWhole(const std::string& aText, std::uint64_t aMinimum, std::uint64_t aMaximum);

// The same as a function of the text.
template <typename Number>
auto WholeNumber(Number aMinimum, Number aMaximum) {
    return [=](const std::string& aText) {
        return static_cast<Number>(ParseWhole(aText, aMinimum, aMaximum));
    };
}

// A time above 0 that this program can wait for.
double ParseSeconds(const std::string& aText);

// A text that may name a file.
std::string ParseFileName(const std::string& aText);

// Refuses names of parameters of which one is empty or is given twice.
void RequireDistinctNames(const std::vector<std::string>& aNames);

}  // namespace Qvctl

#endif
