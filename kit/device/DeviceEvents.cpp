// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceEvents.h"

#include <algorithm>
#include <utility>

#include "QvKit/Error.h"
#include "QvKit/Guid.h"
#include "QvKit/StopSignal.h"
#include "QvKit/Text.h"
#include "WideTexts.h"

namespace QvKit {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A system may begin to send notices a moment after it has taken a subscription, as Wine does, and
// may drop one that a window on a busy machine takes too late. So there is a look at the list now
// and then, at first soon. Whatever differs from what is known has a notice that was dropped, or is
// still on its way: then it finds that it is known.
constexpr milliseconds kFirstPause(100);
constexpr milliseconds kLongestPause(30000);

DeviceEvent MakeEvent(DeviceEvent::Kind aKind, const std::wstring& aPath, const GUID& aClass) {
    // A path with characters that the code page lacks has a link that does not open.
    const DeviceAddress address{QvUserLib::String(aPath.c_str()).GetAscii(), ToUtf8(aPath),
                                /*isListed=*/true};
    return DeviceEvent{aKind, address, GuidToText(aClass)};
}

}  // namespace

DeviceEvents::DeviceEvents(const GUID* aClass, DeviceSystem aSystem)
    : system_(std::move(aSystem)),
      class_(aClass == nullptr ? std::nullopt : std::optional<GUID>(*aClass)),
      nextLook_(steady_clock::now() + kFirstPause),
      pause_(kFirstPause) {
    // Notices first, then the list: what happens between is in both, and is counted once.
    subscription_ =
        Subscribe(system_, aClass, [this](DeviceNotice aNotice) { Put(std::move(aNotice)); });
    for (const DeviceInterface& present : List()) {
        known_.emplace(present.path, present.interfaceClass);
        found_.push_back(
            MakeEvent(DeviceEvent::Kind::Present, present.path, present.interfaceClass));
        present_.push_back(found_.back().device);
    }
}

std::optional<DeviceEvent> DeviceEvents::Next(milliseconds aLimit) {
    const Time end = aLimit == kNoLimit ? Time::max() : steady_clock::now() + aLimit;
    while (!IsEnded()) {
        if (!found_.empty()) {
            DeviceEvent event = std::move(found_.front());
            found_.pop_front();
            return event;
        }
        if (const std::optional<DeviceNotice> notice = Take(std::min(end, nextLook_))) {
            if (auto event = Understand(*notice)) return event;
        } else if (steady_clock::now() >= nextLook_) {
            Look();
        } else if (steady_clock::now() >= end) {
            break;
        }
    }
    return std::nullopt;
}

void DeviceEvents::End() {
    const std::lock_guard<std::mutex> guard(mutex_);
    isEnded_ = true;
    changed_.notify_all();
}

bool DeviceEvents::IsEnded() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return isEnded_;
}

void DeviceEvents::Put(DeviceNotice aNotice) {
    aNotice.interfaceOf.path = ToLower(std::move(aNotice.interfaceOf.path));
    const std::lock_guard<std::mutex> guard(mutex_);
    if (isEnded_) return;
    notices_.push_back(std::move(aNotice));
    changed_.notify_all();
}

// Nothing when the time is over, or the events have been ended.
std::optional<DeviceNotice> DeviceEvents::Take(Time aEnd) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, aEnd, [this] { return isEnded_ || !notices_.empty(); });
    if (isEnded_ || notices_.empty()) return std::nullopt;
    DeviceNotice notice = std::move(notices_.front());
    notices_.pop_front();
    return notice;
}

// Nothing when the list had it before.
std::optional<DeviceEvent> DeviceEvents::Understand(const DeviceNotice& aNotice) {
    const auto& [interfaceClass, path] = aNotice.interfaceOf;
    if (aNotice.isArrival) {
        if (!known_.emplace(path, interfaceClass).second) return std::nullopt;
        return MakeEvent(DeviceEvent::Kind::Arrival, path, interfaceClass);
    }
    if (known_.erase(path) == 0) return std::nullopt;
    return MakeEvent(DeviceEvent::Kind::Removal, path, interfaceClass);
}

// Notices that have come but were not taken, or are on their way, are later than what is known, and
// the first of them for an interface is what the list shows here.
void DeviceEvents::Look() {
    pause_ = std::min(2 * pause_, kLongestPause);
    nextLook_ = steady_clock::now() + pause_;
    std::vector<DeviceInterface> listed;
    try {
        listed = List();
    } catch (const Error&) {
        return;  // The notices are the news; the next look is soon.
    }
    std::map<std::wstring, GUID> gone = std::exchange(known_, {});
    std::vector<DeviceInterface> come;
    for (const DeviceInterface& present : listed) {
        known_.emplace(present.path, present.interfaceClass);
        if (gone.erase(present.path) == 0) come.push_back(present);
    }
    for (const auto& [path, interfaceClass] : gone) {
        found_.push_back(MakeEvent(DeviceEvent::Kind::Removal, path, interfaceClass));
    }
    for (const DeviceInterface& arrived : come) {
        found_.push_back(
            MakeEvent(DeviceEvent::Kind::Arrival, arrived.path, arrived.interfaceClass));
    }
}

std::vector<DeviceInterface> DeviceEvents::List() const {
    std::vector<DeviceInterface> list = system_.list(class_ ? &*class_ : nullptr);
    for (DeviceInterface& present : list) present.path = ToLower(std::move(present.path));
    return list;
}

}  // namespace QvKit
