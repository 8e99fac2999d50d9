// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceEvents.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "OpenDevice.h"
#include "QvKit/Error.h"
#include "QvKit/Guid.h"
#include "QvKit/StopSignal.h"
#include "QvKit/Text.h"
#include "TryUntilDone.h"
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
    return DeviceEvent{aKind, MakeListedAddress(aPath), GuidToText(aClass)};
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
    return TryUntilDone([&] { return TryNext(end); });
}

// When it throws, nothing is lost: the next call begins where this one was.
std::optional<DeviceEvent> DeviceEvents::TryNext(Time aEnd) {
    while (!IsEnded()) {
        if (!found_.empty()) {
            DeviceEvent event = std::move(found_.front());
            found_.pop_front();
            return event;
        }
        if (!taken_) taken_ = Take(std::min(aEnd, nextLook_));
        if (taken_) {
            std::optional<DeviceEvent> event = Understand(*taken_);
            taken_.reset();
            if (event) return event;
        } else if (steady_clock::now() >= nextLook_) {
            Look();
        } else if (steady_clock::now() >= aEnd) {
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
    const auto kind = aNotice.isArrival ? DeviceEvent::Kind::Arrival : DeviceEvent::Kind::Removal;
    DeviceEvent event = MakeEvent(kind, path, interfaceClass);
    const bool isNews =
        aNotice.isArrival ? known_.emplace(path, interfaceClass).second : known_.erase(path) != 0;
    return isNews ? std::optional<DeviceEvent>(std::move(event)) : std::nullopt;
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
    std::map<std::wstring, GUID> gone = known_;
    std::map<std::wstring, GUID> now;
    std::deque<DeviceEvent> arrivals;
    for (const auto& [interfaceClass, path] : listed) {
        now.emplace(path, interfaceClass);
        if (gone.erase(path) == 0) {
            arrivals.push_back(MakeEvent(DeviceEvent::Kind::Arrival, path, interfaceClass));
        }
    }
    std::deque<DeviceEvent> news;
    for (const auto& [path, interfaceClass] : gone) {
        news.push_back(MakeEvent(DeviceEvent::Kind::Removal, path, interfaceClass));
    }
    std::move(arrivals.begin(), arrivals.end(), std::back_inserter(news));
    known_.swap(now);
    found_.swap(news);  // It was empty.
}

std::vector<DeviceInterface> DeviceEvents::List() const {
    std::vector<DeviceInterface> list = system_.list(class_ ? &*class_ : nullptr);
    for (DeviceInterface& present : list) present.path = ToLower(std::move(present.path));
    return list;
}

}  // namespace QvKit
