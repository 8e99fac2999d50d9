// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Difference.h"

#include <map>

namespace QvKit {
namespace {

bool IsSame(const SavedSetting& aFirst, const SavedSetting& aSecond) {
    const bool isUnitKnown = aFirst.unit && aSecond.unit;
    return aFirst.type == aSecond.type && aFirst.value == aSecond.value &&
           (!isUnitKnown || aFirst.unit == aSecond.unit);
}

std::vector<SavedSetting> Keep(const Snapshot& aSnapshot) {
    std::vector<SavedSetting> settings;
    settings.reserve(aSnapshot.GetSettings().size());
    for (const Setting& setting : aSnapshot.GetSettings()) {
        settings.emplace_back(setting, setting.value);
    }
    return settings;
}

}  // namespace

std::vector<Difference> FindDifferences(const std::vector<SavedSetting>& aFirst,
                                        const std::vector<SavedSetting>& aSecond) {
    std::map<std::string, Difference> byName;
    for (const SavedSetting& setting : aFirst) byName[setting.name].first = setting;
    for (const SavedSetting& setting : aSecond) byName[setting.name].second = setting;

    std::vector<Difference> differences;
    for (auto& [name, difference] : byName) {
        const bool isInBoth = difference.first && difference.second;
        if (isInBoth && IsSame(*difference.first, *difference.second)) continue;
        difference.name = name;
        differences.push_back(std::move(difference));
    }
    return differences;
}

std::vector<Difference> FindDifferences(const Snapshot& aFirst, const Snapshot& aSecond) {
    return FindDifferences(Keep(aFirst), Keep(aSecond));
}

}  // namespace QvKit
