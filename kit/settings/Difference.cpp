// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Difference.h"

#include <algorithm>
#include <utility>

namespace QvKit {
namespace {

SavedSetting Keep(const SavedSetting& aSetting) { return aSetting; }
SavedSetting Keep(const Setting& aSetting) { return {aSetting, aSetting.value}; }

bool IsSame(const SavedSetting& aFirst, const SavedSetting& aSecond) {
    const bool isUnitKnown = aFirst.unit && aSecond.unit;
    return aFirst.type == aSecond.type && aFirst.value == aSecond.value &&
           (!isUnitKnown || aFirst.unit == aSecond.unit);
}

bool IsSame(const Setting& aFirst, const Setting& aSecond) {
    const bool isEqual = aFirst.type == aSecond.type && aFirst.value == aSecond.value &&
                         aFirst.unit == aSecond.unit && aFirst.entries == aSecond.entries;
    return isEqual || IsSame(Keep(aFirst), Keep(aSecond));
}

std::vector<const SavedSetting*> SortByName(const std::vector<SavedSetting>& aSettings) {
    std::vector<const SavedSetting*> sorted;
    sorted.reserve(aSettings.size());
    for (const SavedSetting& setting : aSettings) sorted.push_back(&setting);
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto* aLeft, const auto* aRight) {
        return aLeft->name < aRight->name;
    });
    return sorted;
}

// Of the same name the last one counts.
template <typename Item>
void KeepLast(std::vector<const Item*>& aSorted) {
    const auto isSameName = [](const Item* aLeft, const Item* aRight) {
        return aLeft->name == aRight->name;
    };
    // Of equal ones the first that it meets stays, so it begins at the end.
    const auto kept = std::unique(aSorted.rbegin(), aSorted.rend(), isSameName);
    aSorted.erase(aSorted.begin(), kept.base());
}

template <typename Item>
Difference MakeDifference(const Item* aFirst, const Item* aSecond) {
    Difference difference;
    difference.name = (aFirst != nullptr ? aFirst : aSecond)->name;
    if (aFirst != nullptr) difference.first = Keep(*aFirst);
    if (aSecond != nullptr) difference.second = Keep(*aSecond);
    return difference;
}

// Both are in the order of the names.
template <typename Item>
std::vector<Difference> Compare(std::vector<const Item*> aFirst, std::vector<const Item*> aSecond) {
    KeepLast(aFirst);
    KeepLast(aSecond);
    std::vector<Difference> differences;
    auto left = aFirst.begin();
    auto right = aSecond.begin();
    while (left != aFirst.end() || right != aSecond.end()) {
        int order = left == aFirst.end() ? 1 : -1;
        if (left != aFirst.end() && right != aSecond.end()) {
            order = (*left)->name.compare((*right)->name);
        }
        const Item* const one = order <= 0 ? *left++ : nullptr;
        const Item* const other = order >= 0 ? *right++ : nullptr;
        if (order == 0 && IsSame(*one, *other)) continue;
        differences.push_back(MakeDifference(one, other));
    }
    return differences;
}

}  // namespace

std::vector<Difference> FindDifferences(const std::vector<SavedSetting>& aFirst,
                                        const std::vector<SavedSetting>& aSecond) {
    return Compare(SortByName(aFirst), SortByName(aSecond));
}

std::vector<Difference> FindDifferences(const Snapshot& aFirst, const Snapshot& aSecond) {
    return Compare(aFirst.GetSettingsByName(), aSecond.GetSettingsByName());
}

}  // namespace QvKit
