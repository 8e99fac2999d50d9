// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DIFFERENCE_H
#define QVKIT_DIFFERENCE_H

#include <optional>
#include <string>
#include <vector>

#include "QvKit/SavedSetting.h"
#include "QvKit/Snapshot.h"

namespace QvKit {

/// A setting that two sets do not have alike.
struct Difference {
    std::string name;                    ///< UTF-8.
    std::optional<SavedSetting> first;   ///< Nothing when the first set does not have it.
    std::optional<SavedSetting> second;  ///< The same of the second set.
};

/// The settings that differ in value, type or unit, or that only one set has, in the order of their
/// names. A unit that is not known differs from none. Identifiers and lines do not count. Of
/// settings with the same name in one set, the last one counts.
std::vector<Difference> FindDifferences(const std::vector<SavedSetting>& aFirst,
                                        const std::vector<SavedSetting>& aSecond);

/// The same between the values of two snapshots.
std::vector<Difference> FindDifferences(const Snapshot& aFirst, const Snapshot& aSecond);

}  // namespace QvKit

#endif
