// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceWatcher.h"

#include <utility>

#include "CallbackThread.h"
#include "DeviceEvents.h"
#include "QvKit/StopSignal.h"

namespace QvKit {

// The watch's thread holds it as well: the callback may destroy the watch.
struct DeviceWatcher::State {
    State(const GUID* aInterface, Callback aCallback, const DeviceSystem& aSystem)
        : callback(std::move(aCallback)), events(aInterface, aSystem) {}

    const Callback callback;
    DeviceEvents events;
    CallbackThread thread;
};

DeviceWatcher::DeviceWatcher(const GUID* aInterface, Callback aCallback)
    : DeviceWatcher(aInterface, std::move(aCallback), DeviceSystem::Load()) {}

DeviceWatcher::DeviceWatcher(const GUID* aInterface, Callback aCallback,
                             const DeviceSystem& aSystem)
    : state_(std::make_shared<State>(aInterface, std::move(aCallback), aSystem)) {}

DeviceWatcher::~DeviceWatcher() { Stop(); }

void DeviceWatcher::Start() {
    state_->thread.Start([state = state_] {
        while (const auto event = state->events.Next(kNoLimit)) state->callback(*event);
    });
}

void DeviceWatcher::Stop() {
    state_->events.End();
    state_->thread.Wait();
}

const std::vector<DeviceAddress>& DeviceWatcher::GetPresent() const {
    return state_->events.GetPresent();
}

}  // namespace QvKit
