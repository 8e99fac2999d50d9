// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICE_H
#define QVKIT_DEVICE_H

#include <memory>

#include "QvKit/Channel.h"
#include "QvKit/DeviceList.h"
#include "QvKit/DeviceParameters.h"
#include "QvKit/RequestLimits.h"

namespace QvKit {

/// One device that is open, and its parameters. For one thread at a time, except for `Cancel`.
///
/// No request waits for the driver longer than the limits say: it fails with
/// `ErrorKind::TimedOut`, or with `ErrorKind::Cancelled` when it was cancelled. Only opening the
/// device has no limit, see `OpenChannel`.
class Device {
public:
    /// Opens the device.
    ///
    /// Throws `Error` when it does not open; the kind says why, as from `ExplainOpening`.
    explicit Device(const DeviceAddress& aAddress, const RequestLimits& aLimits = {});

    /// Sends requests through a channel of yours, which is open. The address is only its name.
    Device(DeviceAddress aAddress, std::unique_ptr<Channel> aChannel,
           const RequestLimits& aLimits = {});
    ~Device();

    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// Where it was opened.
    const DeviceAddress& GetAddress() const;

    /// Loads the parameters. To be called once; `DeviceParameters::Refresh` loads them again. They
    /// belong to the device.
    ///
    /// Throws `Error`: `ErrorKind::DeviceFailed` when the driver does not return parameters;
    /// `ErrorKind::NoSuchDevice` when what was opened is a file; `ErrorKind::TimedOut`;
    /// `ErrorKind::Cancelled`.
    DeviceParameters& LoadParameters();

    /// Ends the request that is pending. Any thread may call it. To end those that begin later as
    /// well, use `RequestLimits::stop`.
    void Cancel();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace QvKit

#endif
