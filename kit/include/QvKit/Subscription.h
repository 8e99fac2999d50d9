// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SUBSCRIPTION_H
#define QVKIT_SUBSCRIPTION_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QvKit/SettingEvent.h"
#include "QvKit/SettingsPoller.h"

namespace QvKit {

/// Calls back when settings of a device change, as long as it lives. First comes what was there,
/// one event for each setting, then what has changed, then the removal of the device.
///
/// A setting is the same as long as its identifier, name and type are. Descriptions are not
/// compared. Of one setting a change of entries, range and marks comes before that of the value.
///
/// The poller's thread calls, one callback at a time. A slow one holds up the next look and the
/// other subscriptions of the poller, but no event is lost and none piles up: the next look is
/// compared with the last one. A value that changes and changes back between two looks is not
/// noticed.
///
/// | what                           | on which thread                                             |
/// |--------------------------------|-------------------------------------------------------------|
/// | constructor, Start             | any, one at a time                                          |
/// | callback                       | the poller's, one call at a time                            |
/// | Stop                           | any, at any time, also within a callback                    |
/// | destructor                     | any, also within a callback, when no other call is running  |
class Subscription {
public:
    /// May stop or destroy any subscription, its own included, make new ones, and destroy the
    /// poller. It must not throw: that ends the process.
    using Callback = std::function<void(const SettingEvent&)>;

    /// The least time between two looks.
    static constexpr std::chrono::milliseconds kLeastInterval{1};

    /// Events wait until `Start`.
    ///
    /// @param aPoller  That of the device. It may end before the subscription.
    /// @param aNames  The settings; all of them, also those that come later, when there is no name.
    /// @param aInterval  Between two looks, from the end of one to the begin of the next. At least
    ///                   `kLeastInterval`. With `kNoLimit` only `SettingsPoller::Look` looks.
    /// @param aCallback  Takes the events.
    ///
    /// Throws `Error`: `ErrorKind::Refused` when there is no setting of a name;
    /// `ErrorKind::WrongUse` for a shorter interval.
    Subscription(SettingsPoller& aPoller, const std::vector<std::string>& aNames,
                 std::chrono::milliseconds aInterval, Callback aCallback);

    /// Stops the subscription, see `Stop`.
    ~Subscription();

    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    /// Begins to call back. To be called once. The callback may run before this returns.
    void Start();

    /// Ends the subscription: its callback does not begin any more. Waits for it if it is running,
    /// unless it is called from a callback. So do not hold a lock that the callback waits for.
    void Stop();

private:
    friend class SettingsPoller;
    struct State;

    std::shared_ptr<SettingsPoller::State> poller_;
    std::shared_ptr<State> state_;
};

}  // namespace QvKit

#endif
