// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_PROFILE_H
#define QVKIT_PROFILE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QvKit/Change.h"
#include "QvKit/SavedSetting.h"
#include "QvKit/Snapshot.h"

namespace QvKit {

/// Settings of a device that are kept in a file: one JSON document that people read, edit and
/// compare, with a setting in each line. It is a value.
struct Profile {
    /// The version that this kit writes. It reads all versions up to this one.
    static constexpr long long kVersion = 1;

    /// A file may be as large as this.
    static constexpr std::size_t kMostBytes = 4194304;

    /// What it was taken from. What is not known is left out.
    struct Origin {
        /// The GUID of its interface class.
        std::optional<std::string> deviceClass;
        /// Of the device.
        std::optional<std::string> serialNumber;
        /// Of the driver's file.
        std::optional<std::string> driverVersion;
    };

    /// A setting that is not in the profile.
    struct Omission {
        /// UTF-8.
        std::string name;
        std::string reason;  ///< "it is read-only", and so on.
    };

    std::optional<std::string> time;  ///< When it was taken, in UTC: "2026-01-31T12:00:00Z".
    /// What it was taken from.
    Origin origin;
    /// With their values.
    std::vector<SavedSetting> settings;
    std::vector<Omission> omissions;  ///< Of `Take`; a file does not have them.

    /// Takes the values that can be set again: left out are settings that are read-only or
    /// volatile, that the driver does not keep, or whose value has no exact form in a file. The
    /// time is now.
    ///
    /// @param aSnapshot  What the device holds.
    /// @param aNames     The settings to take; all of them when there is no name.
    /// @param aOrigin    Is kept as it is.
    ///
    /// Throws `Error`: `ErrorKind::Refused` when there is no setting of a name.
    static Profile Take(const Snapshot& aSnapshot, const std::vector<std::string>& aNames,
                        Origin aOrigin);

    /// The document in UTF-8, with the settings in the order of their names.
    std::string ToJson() const;

    /// Reads a document.
    ///
    /// @param aJson  The document in UTF-8.
    /// @param aFile  How messages call it.
    ///
    /// Throws `Error`: `ErrorKind::BadFile`, with line and column, for anything that is not exactly
    /// a profile: a member that is missing, unknown or there twice, a value of another type, and
    /// so on; also for a document of a newer version, or one that is larger than `kMostBytes`.
    static Profile FromJson(std::string_view aJson, const std::string& aFile);

    /// Writes the document to a file. An earlier file is replaced at once by the whole new one, or
    /// stays as it is.
    ///
    /// @param aPath  In UTF-8.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`; `ErrorKind::BadFile` when it would be larger than
    /// `kMostBytes`.
    void Save(const std::string& aPath) const;

    /// Reads a file, with the errors of `FromJson`, and `ErrorKind::SystemFailed`.
    static Profile Open(const std::string& aPath);
};

/// What a profile is loaded for.
struct ProfileChoice {
    std::vector<std::string> only;  ///< The settings to load; all of them when there is no name.
    bool isMissingIgnored = false;  ///< Whether the device may lack settings of the profile.
};

/// What a device does not take from a profile, by names.
struct ProfileRest {
    /// Settings that are read-only on the device.
    std::vector<std::string> readOnly;
    /// Settings that the device lacks.
    std::vector<std::string> missing;
};

/// Sets the values of a profile in a change, which the caller sends. Settings that are read-only on
/// this device are passed over.
///
/// @param aDevice  What the change is made on.
///
/// Throws `Error`: `ErrorKind::Refused` with all refusals, also the change's own, when a value does
/// not fit the device exactly: a setting that it lacks, another type or unit, an entry that is
/// gone, a number out of range. Each says the line in the file. The change is not to be sent then.
ProfileRest ApplyProfile(const Profile& aProfile, const ProfileChoice& aChoice,
                         const Snapshot& aDevice, Change& aChange);

}  // namespace QvKit

#endif
