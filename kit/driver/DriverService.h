// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The service by which the system loads a driver.

#ifndef QVKIT_DRIVER_DRIVERSERVICE_H
#define QVKIT_DRIVER_DRIVERSERVICE_H

#include <filesystem>
#include <optional>
#include <string>

#include "WindowsApi.h"

namespace QvKit {

struct DriverService {
    std::filesystem::path file;  // The driver's; empty when the service does not say.
    bool isRunning;
    unsigned long exitCode;  // Why it is not running; 0 when the system does not say.
};

// Nothing when there is no such service, or it cannot be read.
std::optional<DriverService> FindDriverService(const std::wstring& aName);

// The file of a service's driver: what the service says, or the file in the system's directory of
// drivers that has its name. Empty when there is neither.
std::filesystem::path FindDriverFile(const std::wstring& aService);

// Unloads the driver and deletes its file, as far as the system allows it, which is when no device
// is left. Windows unloads the driver by itself then, Wine has to be asked. The file is deleted
// because neither needs to replace it by another one of the same version.
void DiscardDriver(const std::wstring& aService, const std::filesystem::path& aFile);

}  // namespace QvKit

#endif
