// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a poller and its subscriptions share.

#ifndef QVKIT_SETTINGS_POLLING_H
#define QVKIT_SETTINGS_POLLING_H

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "QvKit/SettingsPoller.h"
#include "QvKit/Subscription.h"
#include "SlimLock.h"

namespace QvKit {

// The poller's thread holds it as well while it calls: the callback may destroy the subscription.
struct Subscription::State {
    std::chrono::steady_clock::time_point GetDue() const { return seen + interval; }

    const std::vector<std::string> names;
    const std::chrono::milliseconds interval;

    // Guarded by the poller's lock.
    Callback callback;
    std::shared_ptr<const Snapshot> known;       // What the next look is compared with.
    std::chrono::steady_clock::time_point seen;  // When its last look was.
    std::deque<SettingEvent> events = {};        // Those that are not delivered yet.
    bool isFailing = false;                      // Whether it was told so.
};

// The poller's thread holds it as well: a callback may destroy the poller. Subscriptions may
// outlive it.
struct SettingsPoller::State {
    using Time = std::chrono::steady_clock::time_point;
    using Guard = std::unique_lock<SlimLock>;

    struct Sight {
        std::shared_ptr<const Snapshot> snapshot;  // Null if the look failed.
        std::optional<SettingEvent> failure;
        Time time;
    };

    explicit State(std::unique_ptr<Device> aDevice);
    State(DeviceParameters& aParameters, DeviceAddress aDevice);

    void Run();
    void Poll();
    void Call(Guard& aGuard, std::shared_ptr<Subscription::State> aSubscription);
    void Look(Guard& aGuard);
    Sight Read() const;

    // The lock is held while these are called.
    std::shared_ptr<Subscription::State> FindNext() const;
    Time GetNextLook() const;
    void Note(const Sight& aSight, bool aIsForAll);
    static void Tell(Subscription::State& aSubscription, const Sight& aSight);
    void SettleLooks();
    bool IsPollersThread() const;

    std::unique_ptr<Device> device;  // Null if the parameters are borrowed.
    DeviceParameters& parameters;    // Of the poller's thread.
    const DeviceAddress address;

    SlimLock lock;  // Guards what follows.
    std::vector<std::shared_ptr<Subscription::State>> subscriptions;
    const Subscription::State* running = nullptr;  // Whose callback is running.
    std::shared_ptr<const Snapshot> latest;
    Time lastLook = std::chrono::steady_clock::now();
    std::optional<SettingEvent> removal;
    unsigned long long asked = 0;    // How many looks programs have asked for,
    unsigned long long looked = 0;   // up to which one they were made,
    unsigned long long settled = 0;  // and up to which one everybody has been called.
    unsigned long thread = 0;
    bool isEnded = false;
};

}  // namespace QvKit

#endif
