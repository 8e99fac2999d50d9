// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceLink.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "CallbackThread.h"
#include "DeviceEvents.h"
#include "Event.h"
#include "OpenDevice.h"
#include "QvKit/Clock.h"
#include "QvKit/Text.h"
#include "TryUntilDone.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

using std::chrono::milliseconds;

// Between two tries to open a device that is there.
constexpr milliseconds kFirstPause(100);
constexpr milliseconds kLongestPause(5000);

milliseconds TimeLeft(milliseconds aLimit, const Stopwatch& aTime) {
    if (aLimit == kNoLimit) return aLimit;
    const auto passed = std::chrono::floor<milliseconds>(aTime.GetTime());
    return std::max(aLimit - passed, milliseconds::zero());
}

}  // namespace

DeviceIdentity DeviceIdentity::ByInstancePath(std::string aPath) {
    return {Kind::InstancePath, std::string(), std::move(aPath)};
}

DeviceIdentity DeviceIdentity::ByParameter(std::string aName, std::string aValue) {
    return {Kind::Parameter, std::move(aName), std::move(aValue)};
}

DeviceIdentity DeviceIdentity::ByLocation(std::string aLocation) {
    return {Kind::Location, std::string(), std::move(aLocation)};
}

std::string DeviceIdentity::ToText() const {
    switch (kind) {
        case Kind::Parameter:
            return "the device with " + name + "=" + value;
        case Kind::Location:
            return "the device in " + value;
        default:
            return "the device " + value;
    }
}

// The link's thread holds it as well: the listener may destroy the link.
struct DeviceLink::State {
    // A device of the class.
    struct Candidate {
        DeviceAddress address;
        bool isOther;  // Whether it turned out to be another device.
    };

    State(const GUID& aInterface, DeviceIdentity aIdentity, Listener aListener,
          const DeviceSystem& aSystem)
        : interfaceClass(aInterface),
          identity(std::move(aIdentity)),
          listener(std::move(aListener)),
          system(aSystem),
          events(&aInterface, aSystem) {}

    void Run();
    void Note(const DeviceEvent& aEvent);
    void Note(const char* aReason);
    void TryToOpen();
    std::shared_ptr<Device> Open(Candidate& aCandidate);
    bool IsTheDevice(const DeviceAddress& aDevice) const;
    void Replace(std::shared_ptr<Device> aDevice);
    std::shared_ptr<Device> GetDevice() const;
    milliseconds GetPause() const;
    Error MakeTimeout(milliseconds aLimit) const;

    const GUID interfaceClass;
    const DeviceIdentity identity;
    const Listener listener;
    const DeviceSystem system;
    const QvBaseLib::KernelHandle isOpen = CreateManualEvent();
    const StopSignal end;
    DeviceEvents events;
    CallbackThread thread;

    // Of the link's thread.
    std::vector<Candidate> candidates;
    milliseconds pause = kFirstPause;

    mutable std::mutex mutex;  // Guards what follows.
    std::shared_ptr<Device> device;
    std::string reason;  // Why it did not open.
};

void DeviceLink::State::Run() {
    while (!events.IsEnded()) {
        if (const auto event = events.Next(GetPause())) {
            TryUntilDone([&] { Note(*event); });
        }
        if (!events.IsEnded() && GetDevice() == nullptr) TryToOpen();
    }
    const std::lock_guard<std::mutex> guard(mutex);
    device = nullptr;
}

void DeviceLink::State::Note(const DeviceEvent& aEvent) {
    pause = kFirstPause;
    const std::string& path = aEvent.device.path;
    if (aEvent.kind != DeviceEvent::Kind::Removal) {
        candidates.push_back({aEvent.device, /*isOther=*/false});
        return;
    }
    candidates.erase(
        std::remove_if(candidates.begin(), candidates.end(),
                       [&](const Candidate& aOne) { return aOne.address.path == path; }),
        candidates.end());
    const std::shared_ptr<Device> old = GetDevice();
    if (old != nullptr && old->GetAddress().path == path) Replace(nullptr);
}

void DeviceLink::State::TryToOpen() {
    for (Candidate& candidate : candidates) {
        if (std::shared_ptr<Device> opened = Open(candidate)) {
            Replace(std::move(opened));
            return;
        }
    }
    pause = std::min(2 * pause, kLongestPause);
}

// Null when it is another device, or does not open.
std::shared_ptr<Device> DeviceLink::State::Open(Candidate& aCandidate) {
    try {
        if (!aCandidate.isOther) aCandidate.isOther = !IsTheDevice(aCandidate.address);
        if (!aCandidate.isOther) return std::make_shared<Device>(aCandidate.address);
    } catch (const Error& error) {
        Note(error.what());
    } catch (const std::bad_alloc& error) {
        Note(error.what());
    }
    return nullptr;
}

void DeviceLink::State::Note(const char* aReason) {
    TryUntilDone([&] {
        const std::lock_guard<std::mutex> guard(mutex);
        reason = aReason;
    });
}

bool DeviceLink::State::IsTheDevice(const DeviceAddress& aDevice) const {
    if (identity.kind == DeviceIdentity::Kind::Parameter) {
        RequestLimits limits;
        limits.stop = &end;
        const std::optional<Setting> setting = ReadSetting(aDevice, identity.name, limits);
        return setting && setting->ToText(setting->value) == identity.value;
    }
    const std::wstring wanted = FromUtf8(identity.value);
    const DeviceDescription description = system.describe({interfaceClass, FromUtf8(aDevice.path)});
    if (identity.kind == DeviceIdentity::Kind::InstancePath) {
        return IsSameText(description.instancePath, wanted);
    }
    return std::any_of(
        description.locations.begin(), description.locations.end(),
        [&](const std::wstring& aLocation) { return IsSameText(aLocation, wanted); });
}

// Null when it has gone.
void DeviceLink::State::Replace(std::shared_ptr<Device> aDevice) {
    {
        const std::lock_guard<std::mutex> guard(mutex);
        device = aDevice;
        reason.clear();
        if (device != nullptr) {
            ::SetEvent(isOpen.Get());
        } else {
            ::ResetEvent(isOpen.Get());
        }
    }
    if (listener) listener(aDevice);
}

std::shared_ptr<Device> DeviceLink::State::GetDevice() const {
    const std::lock_guard<std::mutex> guard(mutex);
    return device;
}

// Until the next try, if there is anything to try.
milliseconds DeviceLink::State::GetPause() const {
    const bool hasUntried = std::any_of(candidates.begin(), candidates.end(),
                                        [](const Candidate& aOne) { return !aOne.isOther; });
    return hasUntried && GetDevice() == nullptr ? pause : kNoLimit;
}

Error DeviceLink::State::MakeTimeout(milliseconds aLimit) const {
    const std::lock_guard<std::mutex> guard(mutex);
    return Error(ErrorKind::TimedOut, identity.ToText() + " has not come within " +
                                          std::to_string(aLimit.count()) + " ms" +
                                          (reason.empty() ? reason : ": " + reason));
}

DeviceLink::DeviceLink(const GUID& aInterface, DeviceIdentity aIdentity, Listener aListener)
    : DeviceLink(aInterface, std::move(aIdentity), std::move(aListener), DeviceSystem::Load()) {}

DeviceLink::DeviceLink(const GUID& aInterface, DeviceIdentity aIdentity, Listener aListener,
                       const DeviceSystem& aSystem)
    : state_(std::make_shared<State>(aInterface, std::move(aIdentity), std::move(aListener),
                                     aSystem)) {}

DeviceLink::~DeviceLink() { Stop(); }

void DeviceLink::Start() {
    state_->thread.Start([state = state_] { state->Run(); });
}

std::shared_ptr<Device> DeviceLink::GetDevice() const { return state_->GetDevice(); }

std::shared_ptr<Device> DeviceLink::WaitForDevice(milliseconds aLimit,
                                                  const StopSignal* aStop) const {
    const HANDLE events[] = {state_->end.GetEvent(), state_->isOpen.Get(),
                             aStop == nullptr ? nullptr : aStop->GetEvent()};
    const Stopwatch time;
    for (;;) {
        if (std::shared_ptr<Device> device = state_->GetDevice()) return device;
        const milliseconds left = TimeLeft(aLimit, time);
        switch (::WaitForMultipleObjects(aStop == nullptr ? 2 : 3, events, /*bWaitAll=*/FALSE,
                                         ToSystemWait(left))) {
            case WAIT_OBJECT_0 + 1:
                break;
            case WAIT_TIMEOUT:
                if (left == milliseconds::zero()) throw state_->MakeTimeout(aLimit);
                break;
            default:
                throw Error(ErrorKind::Cancelled,
                            "the wait for " + state_->identity.ToText() + " was stopped");
        }
    }
}

void DeviceLink::Stop() {
    state_->events.End();
    state_->end.Request();
    state_->thread.Wait();
}

}  // namespace QvKit
