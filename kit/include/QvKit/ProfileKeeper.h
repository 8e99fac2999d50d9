// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_PROFILEKEEPER_H
#define QVKIT_PROFILEKEEPER_H

#include <chrono>
#include <functional>
#include <memory>

#include "QvKit/Change.h"
#include "QvKit/DeviceList.h"
#include "QvKit/Profile.h"
#include "QvKit/RequestLimits.h"

struct _GUID;

namespace QvKit {

struct DeviceSystem;

/// How a profile is applied to devices that come.
struct KeepOptions {
    ProfileChoice choice;  ///< Which parameters of the profile count.
    SendOptions sending;   ///< How they are sent.
    RequestLimits limits;  ///< Of each request to a device.

    /// How long a device that does not open, or does not return its parameters, is tried again. The
    /// system reports arrivals before drivers are ready.
    std::chrono::milliseconds patience = std::chrono::seconds(10);
};

/// Keeps the settings of devices: applies a profile to each device of an interface class that is
/// there, and to each one that arrives or comes back. A device that fails, refuses or vanishes does
/// not end it.
///
/// | what              | on which thread                                            |
/// |-------------------|------------------------------------------------------------|
/// | constructor, Start| any, one at a time                                         |
/// | listener          | the keeper's own, one call at a time                       |
/// | Stop              | any, at any time, also within the listener                 |
/// | destructor        | any, also within the listener, when no other call is running|
class ProfileKeeper {
public:
    /// What became of the profile on a device that has come.
    struct Result {
        DeviceAddress device;   ///< The path is in lower case.
        ChangeOutcome outcome;  ///< Without edits when the device did not open.
        ProfileRest rest;       ///< What of the profile was passed over.
    };

    /// Is called once for each device that comes. May stop or destroy its keeper. It must not
    /// throw: that ends the process.
    using Listener = std::function<void(const Result&)>;

    /// Devices that come from now on are not missed.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    ProfileKeeper(const _GUID& aInterface, Profile aProfile, KeepOptions aOptions,
                  Listener aListener);

    /// The same on a system with scripted answers, for the kit's own tests.
    ProfileKeeper(const _GUID& aInterface, Profile aProfile, KeepOptions aOptions,
                  Listener aListener, const DeviceSystem& aSystem);

    /// Stops it, see `Stop`.
    ~ProfileKeeper();

    ProfileKeeper(const ProfileKeeper&) = delete;
    ProfileKeeper& operator=(const ProfileKeeper&) = delete;

    /// Begins with the devices that are there. To be called once.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no thread left.
    void Start();

    /// No further device is changed, and the listener is not called any more. Waits for a device
    /// that is being changed, and for the listener if it is running, unless it is called from
    /// there.
    void Stop();

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace QvKit

#endif
