// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The root-enumerated sample devices of this machine, through SetupAPI.

#ifndef QVSAMPLE_SAMPLEDEVICES_H
#define QVSAMPLE_SAMPLEDEVICES_H

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace QvSampleSetup {

// What went wrong in words, and the system's code for it.
class SetupError : public std::runtime_error {
public:
    SetupError(const std::string& aWhat, unsigned long aCode);
    unsigned long GetCode() const;

private:
    unsigned long code_;
};

struct SampleDevice {
    std::wstring instanceId;
    std::wstring interfacePath;  // Empty while the device is not started.
    unsigned long problem = 0;   // The device manager's problem code, 0 for none.

    bool IsStarted() const;
};

// All devices that are registered, started or not, ordered by instance id.
std::vector<SampleDevice> FindDevices();

// Registers one more device, which has no driver yet, and returns its instance id.
std::wstring RegisterDevice();

// Installs the driver for all registered devices that have none, or an older one. Returns whether
// the machine has to be restarted before it works.
bool InstallDriver(const std::filesystem::path& aInf);

// Returns whether the machine has a driver file that differs from the one beside the INF. A driver
// that is loaded is not replaced.
bool IsOtherDriverInstalled(const std::filesystem::path& aInf);

// Unloads the driver and deletes its file. The system allows that when no device is left. Windows
// unloads the driver by itself then, Wine has to be asked. The file is deleted because neither
// needs to replace it by another one of the same version.
void DiscardDriver();

// Removes one device. Returns whether it goes away only when the machine is restarted.
bool RemoveDevice(const std::wstring& aInstanceId);

}  // namespace QvSampleSetup

#endif
