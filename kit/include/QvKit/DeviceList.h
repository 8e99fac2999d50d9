// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICELIST_H
#define QVKIT_DEVICELIST_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QvKit/Error.h"
#include "QvKit/RequestLimits.h"

struct _GUID;

namespace QvKit {

/// Where a device is found.
struct DeviceAddress {
    std::string link;  ///< Its symbolic link in the ANSI code page, as the library takes it.
    std::string path;  ///< The same in UTF-8.
    bool isListed;     ///< Whether the system named it. A path that somebody gave may be wrong.
    /// Such as `ROOT\QVSAMPLE\0000`; empty if it is not listed. Braces may leave it out.
    std::string instanceId = {};  // NOLINT(readability-redundant-member-init)
};

/// The present devices of an interface class, in the system's order; none is an empty list.
///
/// Throws `Error`: `ErrorKind::SystemFailed`.
std::vector<DeviceAddress> ListDevices(const _GUID& aInterface);

/// Which of these devices has this instance ID, in any case; nothing if none has.
std::optional<std::size_t> FindByInstanceId(const std::vector<DeviceAddress>& aDevices,
                                            const std::string& aInstanceId);

/// Which of these devices have a parameter with this name and value, such as a serial number. The
/// value is a text as of `Setting::ToEscapedText`. Each device is opened; those that cannot be read
/// are passed over.
///
/// Throws `Error`: `ErrorKind::TimedOut` when none has it and one of them did not answer in time;
/// `ErrorKind::Cancelled`.
std::vector<std::size_t> FindByParameter(const std::vector<DeviceAddress>& aDevices,
                                         const std::string& aName, const std::string& aValue,
                                         const RequestLimits& aLimits = {});

/// How many devices have ever had this interface on this machine, started or not; 0 also when the
/// system does not know.
std::size_t CountKnownDevices(const _GUID& aInterface);

/// The address of a device path in UTF-8, such as `\\.\NAME`. It is not looked up: opening it shows
/// whether there is such a device.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice` for a path with characters that no link can have.
DeviceAddress MakeAddress(const std::string& aPath);

/// Whether there is anything at the path, also if another program has it for itself. The path is
/// opened for a moment, without a right to read or write.
bool IsPresent(const DeviceAddress& aDevice);

/// The error of a device that did not open with this error of the system: `ErrorKind::NoSuchDevice`
/// when there is none at that path, or something else such as a file; `ErrorKind::DeviceGone` when
/// the system listed it; `ErrorKind::AccessDenied`; `ErrorKind::DeviceInUse`; otherwise
/// `ErrorKind::DeviceFailed`.
Error ExplainOpening(const DeviceAddress& aDevice, unsigned long aSystemError);

/// The error of a request that failed on the device: if the device has been removed, as
/// `ErrorKind::DeviceGone` with that news in front, otherwise as it is. A device refuses requests
/// shortly before the system takes its path away, so this may wait for half a second.
Error ExplainRemoval(const DeviceAddress& aDevice, const Error& aError);

}  // namespace QvKit

#endif
