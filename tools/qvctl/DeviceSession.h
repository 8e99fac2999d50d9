// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// One device, opened, with its parameters loaded.

#ifndef QVCTL_DEVICESESSION_H
#define QVCTL_DEVICESESSION_H

#include "Context.h"
#include "DeviceList.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace Qvctl {

class DeviceSession {
public:
    // Finds and opens the device that the options name, and loads its parameters. Throws `Failure`.
    explicit DeviceSession(const Context& aContext);

    const Device& GetDevice() const { return device_; }
    QvUserLib::DeviceConnection& GetConnection() { return connection_; }
    QvUserLib::DeviceParameterRepository& GetParameters() { return parameters_; }

    // What failed on the device, with the news that the device has been removed if it has.
    Failure Explain(const Failure& aFailure) const;

private:
    Device device_;
    // The repository borrows the connection, so it has to go first.
    QvUserLib::DeviceConnection connection_;
    QvUserLib::DeviceParameterRepository parameters_;
};

}  // namespace Qvctl

#endif
