// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What was meant by a word that is not known.

#ifndef QVCTL_SPELLING_H
#define QVCTL_SPELLING_H

#include <string>
#include <vector>

namespace Qvctl {

// The word of `aKnown` that is nearest to `aWord`, if it is near enough to be meant: upper and
// lower case do not count, and one letter of three may be wrong, missing, too much, or have changed
// places with its neighbour, but not more than two. Empty if there is none.
std::string NearestWord(const std::string& aWord, const std::vector<std::string>& aKnown);

// " (did you mean show?)", or nothing.
std::string Suggestion(const std::string& aWord, const std::vector<std::string>& aKnown);

}  // namespace Qvctl

#endif
