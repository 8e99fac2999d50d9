// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SPELLING_H
#define QVKIT_SPELLING_H

#include <string>
#include <vector>

namespace QvKit {

/// The word of `aKnown` that was probably meant by `aWord`; empty when none is near enough. Upper
/// and lower case do not count. One letter of three may be wrong, missing, too many, or swapped
/// with its neighbour, but no more than two in all.
std::string FindNearestWord(const std::string& aWord, const std::vector<std::string>& aKnown);

}  // namespace QvKit

#endif
