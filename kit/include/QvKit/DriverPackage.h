// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DRIVERPACKAGE_H
#define QVKIT_DRIVERPACKAGE_H

#include <string>

#include "QvKit/Error.h"

namespace QvKit {

/// A driver of root-enumerated devices, as its INF describes it. Such devices need no hardware: a
/// program creates them. All texts are UTF-8, all paths complete.
struct DriverPackage {
    std::string inf;            ///< The path of the INF.
    std::string hardwareId;     ///< As the INF spells it, such as `ROOT\NAME`.
    std::string className;      ///< The setup class of the devices.
    std::string classId;        ///< Its GUID, with braces.
    std::string service;        ///< The name of the driver's service.
    std::string driverFile;     ///< What is installed, whether it exists or not.
    std::string installedFile;  ///< The place where the system will keep it.
};

/// Reads an INF. Nothing on the machine is changed. Any thread may call it.
///
/// @param aInf  The path, in UTF-8.
/// @param aHardwareId  Which of the INF's devices is meant; upper and lower case do not count. If
/// it
///     is empty, the INF has to name exactly one hardware id that begins with `ROOT\`.
///
/// Throws `Error`: `ErrorKind::WrongUse` when the file is not an INF, does not name this hardware
/// id for 64-bit systems, or names none or several to choose from; `ErrorKind::SystemFailed` when
/// the INF or an entry of it is missing.
DriverPackage ReadDriverPackage(const std::string& aInf,
                                const std::string& aHardwareId = std::string());

}  // namespace QvKit

#endif
