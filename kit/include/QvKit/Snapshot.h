// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SNAPSHOT_H
#define QVKIT_SNAPSHOT_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "QvKit/Error.h"
#include "QvKit/Setting.h"

namespace QvUserLib {
class ParameterRepository;
}

namespace QvKit {

/// A detached copy of all parameters of a device at one moment, in the driver's order. It is a
/// value: it stays valid whatever becomes of the device and the repository, and any thread may read
/// it.
class Snapshot {
public:
    /// How many UTF-16 units the texts of strings may have, by identifier. A repository of the
    /// library does not hold these limits.
    using TextLimits = std::map<unsigned long, unsigned long>;

    Snapshot() = default;

    /// Copies what the repository holds; nothing is asked of a driver. Parameters of other types
    /// than integer, enumeration and string, which no driver has, are left out. A string without a
    /// limit gets that of a record.
    explicit Snapshot(const QvUserLib::ParameterRepository& aParameters,
                      const TextLimits& aLimits = TextLimits());

    /// The settings, in the driver's order.
    const std::vector<Setting>& GetSettings() const { return settings_; }
    /// The same in the order of their names. They belong to the snapshot.
    std::vector<const Setting*> GetSettingsByName() const;
    /// Whether there are no settings.
    bool IsEmpty() const { return settings_.empty(); }

    /// The setting with exactly this name, in UTF-8, the first one of several; null when there is
    /// none. It belongs to the snapshot.
    const Setting* Find(std::string_view aName) const;

    /// The same with this identifier.
    const Setting* Find(unsigned long aId) const;

    /// Copies of the settings with these names, in the order of the names.
    ///
    /// Throws `Error`: `ErrorKind::Refused` with a refusal for each name that does not exist.
    std::vector<Setting> Select(const std::vector<std::string>& aNames) const;

    /// The refusal of a name that `Find` does not know, with a hint at the name that was meant.
    Refusal RefuseUnknown(const std::string& aName) const;

private:
    std::vector<Setting> settings_;
    std::vector<unsigned int>
        byName_;  // In the order of the names; the first of a name comes first.
};

}  // namespace QvKit

#endif
