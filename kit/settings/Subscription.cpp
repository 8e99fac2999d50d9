// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Subscription.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "Polling.h"
#include "QvKit/StopSignal.h"
#include "SettingChanges.h"

namespace QvKit {
namespace {

using std::chrono::milliseconds;

// As good as for ever, and a time can be added to it.
constexpr milliseconds kLongestInterval = std::chrono::hours(24 * 365);

}  // namespace

Subscription::Subscription(SettingsPoller& aPoller, const std::vector<std::string>& aNames,
                           milliseconds aInterval, Callback aCallback)
    : poller_(aPoller.state_) {
    if (aInterval < kLeastInterval) {
        throw Error(ErrorKind::WrongUse, "the interval of a subscription is at least " +
                                             std::to_string(kLeastInterval.count()) + " ms");
    }
    const SettingsPoller::State::Guard guard(poller_->lock);
    (void)poller_->latest->Select(aNames);  // Refuses unknown names.
    state_ =
        std::make_shared<State>(State{aNames, std::min(aInterval, kLongestInterval),
                                      std::move(aCallback), poller_->latest, poller_->lastLook});
}

Subscription::~Subscription() { Stop(); }

void Subscription::Start() {
    const auto now = std::chrono::system_clock::now();
    const SettingsPoller::State::Guard guard(poller_->lock);
    for (const Setting* const setting : FindSettings(*state_->known, state_->names)) {
        state_->events.push_back(
            SettingEvent{SettingEvent::Kind::Present, now, std::nullopt, *setting, std::nullopt});
    }
    if (const std::optional<SettingEvent>& removal = poller_->removal) {
        state_->events.push_back(*removal);
    }
    poller_->subscriptions.push_back(state_);
    poller_->lock.WakeAll();
}

void Subscription::Stop() {
    Callback callback;  // What it owns goes when the lock is free.
    const SettingsPoller::State::Guard guard(poller_->lock);
    auto& all = poller_->subscriptions;
    all.erase(std::remove(all.begin(), all.end(), state_), all.end());
    while (poller_->running == state_.get() && !poller_->IsPollersThread()) {
        (void)poller_->lock.WaitForWake(kNoLimit);
    }
    if (poller_->running != state_.get()) callback.swap(state_->callback);
}

}  // namespace QvKit
