// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Spelling.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace QvKit {
namespace {

constexpr std::size_t kMostMistakes = 2;

char Lower(char aCharacter) {
    return aCharacter >= 'A' && aCharacter <= 'Z' ? static_cast<char>(aCharacter - 'A' + 'a')
                                                  : aCharacter;
}

bool IsAlike(char aLeft, char aRight) { return Lower(aLeft) == Lower(aRight); }

// How many mistakes lie between two words, row by row: each row is the distances of one beginning
// of the left word to all beginnings of the right one.
std::size_t Mistakes(const std::string& aLeft, const std::string& aRight) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(aRight.size() + 1);
    for (std::size_t i = 0; i < last.size(); ++i) last[i] = i;
    for (std::size_t i = 1; i <= aLeft.size(); ++i) {
        std::vector<std::size_t> row(aRight.size() + 1, i);
        for (std::size_t j = 1; j <= aRight.size(); ++j) {
            const std::size_t wrong = IsAlike(aLeft[i - 1], aRight[j - 1]) ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + wrong});
            const bool isExchanged = i > 1 && j > 1 && IsAlike(aLeft[i - 1], aRight[j - 2]) &&
                                     IsAlike(aLeft[i - 2], aRight[j - 1]);
            if (isExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

}  // namespace

std::string FindNearestWord(const std::string& aWord, const std::vector<std::string>& aKnown) {
    std::size_t least = std::min(kMostMistakes, aWord.size() / 3) + 1;
    std::string nearest;
    for (const std::string& known : aKnown) {
        const std::size_t mistakes = Mistakes(aWord, known);
        if (mistakes >= least) continue;
        least = mistakes;
        nearest = known;
    }
    return nearest;
}

}  // namespace QvKit
