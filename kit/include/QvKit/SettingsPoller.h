// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SETTINGSPOLLER_H
#define QVKIT_SETTINGSPOLLER_H

#include <memory>

#include "QvKit/Device.h"
#include "QvKit/DeviceList.h"
#include "QvKit/DeviceParameters.h"

namespace QvKit {

class CallbackThread;

/// Reads the parameters of one device again and again for its subscriptions, on a thread of its
/// own, and calls them back there. However many subscriptions there are, it looks no more often
/// than the one with the shortest interval wants; without any it sends no request.
///
/// A look takes as long as the connection lets a request take. One that fails is reported, and the
/// next one is made in its time. After the device has been removed there are no more looks.
///
/// Any thread may use it at any time. The destructor is for one thread, when no other call is
/// running.
class SettingsPoller {
public:
    /// Takes a device over and loads its parameters.
    ///
    /// Throws what `Device::LoadParameters` throws, and `Error`: `ErrorKind::SystemFailed` when the
    /// system has no thread left.
    explicit SettingsPoller(std::unique_ptr<Device> aDevice);

    /// Reads parameters that are loaded already. What they hold now is what the first look is
    /// compared with.
    ///
    /// @param aParameters  Borrowed; nobody else may use them meanwhile.
    /// @param aDevice  To find out whether it has been removed.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no thread left.
    SettingsPoller(DeviceParameters& aParameters, DeviceAddress aDevice);

    /// Ends the subscriptions: no callback begins any more. Waits for a look or a callback that is
    /// running, unless it is called from a callback. Subscriptions may outlive it.
    ~SettingsPoller();

    SettingsPoller(const SettingsPoller&) = delete;
    SettingsPoller& operator=(const SettingsPoller&) = delete;

    /// Looks now, for all subscriptions, whatever their intervals. Returns when all of them have
    /// been called; in a callback at once, and the look comes after it.
    void Look();

private:
    friend class Subscription;
    struct State;

    void Start();

    std::shared_ptr<State> state_;
    std::unique_ptr<CallbackThread> thread_;
};

}  // namespace QvKit

#endif
