// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICE_H
#define QVKIT_DEVICE_H

#include <memory>

#include "QvKit/DeviceList.h"
#include "QvKit/DeviceParameters.h"

namespace QvKit {

/// One device that is open, and its parameters. For one thread at a time.
class Device {
public:
    /// Opens the device.
    ///
    /// Throws `Error` when it does not open; the kind says why, as from `ExplainOpening`.
    explicit Device(DeviceAddress aAddress);
    ~Device();

    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// Where it was opened.
    const DeviceAddress& GetAddress() const;

    /// Loads the parameters. To be called once; `DeviceParameters::Refresh` loads them again. They
    /// belong to the device.
    ///
    /// Throws `Error`: `ErrorKind::DeviceFailed` when the driver does not return parameters;
    /// `ErrorKind::NoSuchDevice` when what was opened is a file.
    DeviceParameters& LoadParameters();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace QvKit

#endif
