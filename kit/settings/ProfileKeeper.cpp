// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/ProfileKeeper.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "CallbackThread.h"
#include "DeviceEvents.h"
#include "QvKit/Clock.h"
#include "QvKit/Device.h"
#include "QvKit/StopSignal.h"
#include "TryUntilDone.h"

namespace QvKit {
namespace {

using std::chrono::milliseconds;

// Between two tries of a device that is there.
constexpr milliseconds kFirstPause(50);
constexpr milliseconds kLongestPause(1000);

// A device that has come and has not been changed yet.
struct NewDevice {
    DeviceAddress address;
    Stopwatch time;
    std::optional<Error> error;  // Why it could not be changed at the last try.
};

}  // namespace

// The keeper's thread holds it as well: the listener may destroy the keeper.
struct ProfileKeeper::State {
    State(const GUID& aInterface, Profile aProfile, KeepOptions aOptions, Listener aListener,
          const DeviceSystem& aSystem)
        : profile(std::move(aProfile)),
          options(std::move(aOptions)),
          listener(std::move(aListener)),
          events(&aInterface, aSystem) {}

    void Run();
    void Note(const DeviceEvent& aEvent);
    void TryAll();
    bool IsDone(NewDevice& aNew);
    Result Apply(Device& aDevice, DeviceParameters& aParameters) const;
    void Report(const Result& aResult) const;
    void GiveUp(const NewDevice& aNew) const;

    const Profile profile;
    const KeepOptions options;
    const Listener listener;
    DeviceEvents events;
    CallbackThread thread;

    // Of the keeper's thread.
    std::vector<NewDevice> newDevices;
    milliseconds pause = kFirstPause;
};

void ProfileKeeper::State::Run() {
    while (!events.IsEnded()) {
        if (const auto event = events.Next(newDevices.empty() ? kNoLimit : pause)) {
            TryUntilDone([&] { Note(*event); });
        }
        TryAll();
    }
}

void ProfileKeeper::State::Note(const DeviceEvent& aEvent) {
    pause = kFirstPause;
    if (aEvent.kind != DeviceEvent::Kind::Removal) {
        newDevices.push_back(NewDevice{aEvent.device, Stopwatch(), std::nullopt});
        return;
    }
    const auto gone = std::find_if(
        newDevices.begin(), newDevices.end(),
        [&](const NewDevice& aNew) { return aNew.address.path == aEvent.device.path; });
    if (gone == newDevices.end()) return;
    GiveUp(*gone);
    newDevices.erase(gone);
}

void ProfileKeeper::State::TryAll() {
    newDevices.erase(std::remove_if(newDevices.begin(), newDevices.end(),
                                    [this](NewDevice& aNew) { return IsDone(aNew); }),
                     newDevices.end());
    pause = std::min(2 * pause, kLongestPause);
}

// Whether the profile was applied, or it is of no use to try again.
bool ProfileKeeper::State::IsDone(NewDevice& aNew) {
    if (events.IsEnded()) return true;
    try {
        Device device(aNew.address, options.limits);
        DeviceParameters& parameters = device.LoadParameters();
        Report(Apply(device, parameters));
        return true;
    } catch (const Error& error) {
        TryUntilDone([&] { aNew.error = error; });
    } catch (const std::bad_alloc&) {
        // What was changed before is changed again.
        TryUntilDone(
            [&] { aNew.error = Error(ErrorKind::SystemFailed, "there is not enough memory"); });
    }
    if (aNew.time.GetTime() < options.patience) return false;
    GiveUp(aNew);
    return true;
}

ProfileKeeper::Result ProfileKeeper::State::Apply(Device& aDevice,
                                                  DeviceParameters& aParameters) const {
    Result result{aDevice.GetAddress(), ChangeOutcome(), ProfileRest()};
    Change change(aParameters);
    try {
        result.rest = ApplyProfile(profile, options.choice, aParameters.GetSnapshot(), change);
        result.outcome = change.Send(options.sending);
    } catch (const Error& error) {
        result.outcome = change.GetPlan();
        result.outcome.error = error;
    }
    auto& error = result.outcome.error;
    if (error) error = ExplainRemoval(result.device, *error);
    return result;
}

// Stopping promises that the listener is not called any more.
void ProfileKeeper::State::Report(const Result& aResult) const {
    if (listener && !events.IsEnded()) listener(aResult);
}

void ProfileKeeper::State::GiveUp(const NewDevice& aNew) const {
    Result result{aNew.address, ChangeOutcome(), ProfileRest()};
    result.outcome.error = aNew.error;
    Report(result);
}

ProfileKeeper::ProfileKeeper(const GUID& aInterface, Profile aProfile, KeepOptions aOptions,
                             Listener aListener)
    : ProfileKeeper(aInterface, std::move(aProfile), std::move(aOptions), std::move(aListener),
                    DeviceSystem::Load()) {}

ProfileKeeper::ProfileKeeper(const GUID& aInterface, Profile aProfile, KeepOptions aOptions,
                             Listener aListener, const DeviceSystem& aSystem)
    : state_(std::make_shared<State>(aInterface, std::move(aProfile), std::move(aOptions),
                                     std::move(aListener), aSystem)) {}

ProfileKeeper::~ProfileKeeper() { Stop(); }

void ProfileKeeper::Start() {
    state_->thread.Start([state = state_] { state->Run(); });
}

void ProfileKeeper::Stop() {
    state_->events.End();
    state_->thread.Wait();
}

}  // namespace QvKit
