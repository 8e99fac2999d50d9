// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/SettingsPoller.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "CallbackThread.h"
#include "Polling.h"
#include "QvKit/StopSignal.h"
#include "SettingChanges.h"
#include "TryUntilDone.h"

namespace QvKit {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

namespace {

// What a look that failed on the device is to its subscriptions.
SettingEvent MakeFailure(const DeviceAddress& aDevice, const Error& aError) {
    const Error reason = ExplainRemoval(aDevice, aError);
    const bool isGone = reason.GetKind() == ErrorKind::DeviceGone;
    return SettingEvent{isGone ? SettingEvent::Kind::Removal : SettingEvent::Kind::Failure,
                        system_clock::now(), std::nullopt, std::nullopt, reason};
}

}  // namespace

SettingsPoller::State::State(std::unique_ptr<Device> aDevice)
    : device(std::move(aDevice)),
      parameters(device->LoadParameters()),
      address(device->GetAddress()),
      latest(std::make_shared<const Snapshot>(parameters.GetSnapshot())) {}

SettingsPoller::State::State(DeviceParameters& aParameters, DeviceAddress aDevice)
    : parameters(aParameters),
      address(std::move(aDevice)),
      latest(std::make_shared<const Snapshot>(parameters.GetSnapshot())) {}

void SettingsPoller::State::Run() {
    Poll();
    // Subscriptions may live on, but need no device.
    device = nullptr;
}

void SettingsPoller::State::Poll() {
    Guard guard(lock);
    thread = ::GetCurrentThreadId();
    while (!isEnded) {
        if (auto subscription = FindNext()) {
            Call(guard, std::move(subscription));
            continue;
        }
        SettleLooks();
        const Time next = GetNextLook();
        const auto left = next - steady_clock::now();
        if (left <= left.zero()) {
            Look(guard);
        } else {
            // Whatever woke it is looked at again.
            (void)lock.WaitForWake(next == Time::max() ? kNoLimit
                                                       : std::chrono::ceil<milliseconds>(left));
        }
    }
}

// One with an event to deliver; null if there is none.
std::shared_ptr<Subscription::State> SettingsPoller::State::FindNext() const {
    const auto found = std::find_if(subscriptions.begin(), subscriptions.end(),
                                    [](const auto& aOne) { return !aOne->events.empty(); });
    return found == subscriptions.end() ? nullptr : *found;
}

void SettingsPoller::State::Call(Guard& aGuard,
                                 std::shared_ptr<Subscription::State> aSubscription) {
    const SettingEvent event = std::move(aSubscription->events.front());
    aSubscription->events.pop_front();
    running = aSubscription.get();
    aGuard.unlock();
    aSubscription->callback(event);
    aGuard.lock();
    running = nullptr;
    lock.WakeAll();
}

// Every event has been delivered.
void SettingsPoller::State::SettleLooks() {
    if (removal) looked = asked;
    if (std::exchange(settled, looked) != looked) lock.WakeAll();
}

SettingsPoller::State::Time SettingsPoller::State::GetNextLook() const {
    if (removal) return Time::max();
    if (asked != looked) return lastLook;
    Time next = Time::max();
    milliseconds shortest = kNoLimit;
    for (const auto& subscription : subscriptions) {
        next = std::min(next, subscription->GetDue());
        shortest = std::min(shortest, subscription->interval);
    }
    // So that subscriptions whose times differ a little share a look.
    return subscriptions.empty() ? next : std::max(next, lastLook + shortest);
}

void SettingsPoller::State::Look(Guard& aGuard) {
    const unsigned long long ticket = asked;
    aGuard.unlock();
    const Sight sight = Read();
    aGuard.lock();
    Note(sight, /*aIsForAll=*/ticket != looked);
    looked = ticket;
}

SettingsPoller::State::Sight SettingsPoller::State::Read() const {
    Sight sight;
    try {
        parameters.Refresh();
        sight.snapshot = std::make_shared<const Snapshot>(parameters.GetSnapshot());
    } catch (const Error& error) {
        sight.failure = TryUntilDone([&] { return MakeFailure(address, error); });
    } catch (const std::bad_alloc&) {
        sight.failure = TryUntilDone([&] {
            return MakeFailure(address,
                               Error(ErrorKind::SystemFailed, "there is not enough memory"));
        });
    }
    sight.time = steady_clock::now();
    return sight;
}

void SettingsPoller::State::Note(const Sight& aSight, bool aIsForAll) {
    const bool isGone = aSight.failure && aSight.failure->kind == SettingEvent::Kind::Removal;
    if (isGone) TryUntilDone([&] { removal = aSight.failure; });
    if (aSight.snapshot != nullptr) latest = aSight.snapshot;
    lastLook = aSight.time;
    for (const auto& subscription : subscriptions) {
        const bool isDue = subscription->GetDue() <= aSight.time;
        if (isDue || aIsForAll || isGone) TryUntilDone([&] { Tell(*subscription, aSight); });
    }
}

// When it throws, nothing has changed.
void SettingsPoller::State::Tell(Subscription::State& aSubscription, const Sight& aSight) {
    std::deque<SettingEvent> news;
    if (aSight.failure) {
        const bool isLast = aSight.failure->kind == SettingEvent::Kind::Removal;
        if (isLast || !aSubscription.isFailing) news.push_back(*aSight.failure);
    } else {
        const auto now = system_clock::now();
        const std::vector<std::string>& names = aSubscription.names;
        news = FindChanges(FindSettings(*aSubscription.known, names),
                           FindSettings(*aSight.snapshot, names), now);
        if (aSubscription.isFailing) {
            news.push_front(SettingEvent{SettingEvent::Kind::Recovery, now, std::nullopt,
                                         std::nullopt, std::nullopt});
        }
    }
    std::deque<SettingEvent>& events = aSubscription.events;
    events.insert(events.end(), std::make_move_iterator(news.begin()),
                  std::make_move_iterator(news.end()));
    if (!aSight.failure) aSubscription.known = aSight.snapshot;
    aSubscription.isFailing = aSight.failure.has_value();
    aSubscription.seen = aSight.time;
}

bool SettingsPoller::State::IsPollersThread() const { return thread == ::GetCurrentThreadId(); }

SettingsPoller::SettingsPoller(std::unique_ptr<Device> aDevice)
    : state_(std::make_shared<State>(std::move(aDevice))),
      thread_(std::make_unique<CallbackThread>()) {
    Start();
}

SettingsPoller::SettingsPoller(DeviceParameters& aParameters, DeviceAddress aDevice)
    : state_(std::make_shared<State>(aParameters, std::move(aDevice))),
      thread_(std::make_unique<CallbackThread>()) {
    Start();
}

void SettingsPoller::Start() {
    thread_->Start([state = state_] { state->Run(); });
}

// The thread is waited for when it is destroyed.
SettingsPoller::~SettingsPoller() {
    const State::Guard guard(state_->lock);
    state_->isEnded = true;
    state_->lock.WakeAll();
}

void SettingsPoller::Look() {
    const State::Guard guard(state_->lock);
    const unsigned long long ticket = ++state_->asked;
    state_->lock.WakeAll();
    while (!state_->IsPollersThread() && !state_->isEnded && state_->settled < ticket) {
        (void)state_->lock.WaitForWake(kNoLimit);
    }
}

}  // namespace QvKit
