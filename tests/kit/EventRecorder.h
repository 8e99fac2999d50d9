// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What callbacks on other threads have told.

#ifndef QVTESTS_EVENTRECORDER_H
#define QVTESTS_EVENTRECORDER_H

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "QvKit/DeviceWatcher.h"

namespace QvTests {

/// "arrival \\?\root#name".
inline std::string TextOf(const QvKit::DeviceEvent& aEvent) {
    switch (aEvent.kind) {
        case QvKit::DeviceEvent::Kind::Present:
            return "present " + aEvent.device.path;
        case QvKit::DeviceEvent::Kind::Arrival:
            return "arrival " + aEvent.device.path;
        default:
            return "removal " + aEvent.device.path;
    }
}

class EventRecorder {
public:
    void Add(const std::string& aText) {
        const std::lock_guard<std::mutex> guard(lock_);
        texts_.push_back(aText);
        changed_.notify_all();
    }

    /// Takes the events of a watch.
    QvKit::DeviceWatcher::Callback Callback() {
        return [this](const QvKit::DeviceEvent& aEvent) { Add(TextOf(aEvent)); };
    }

    /// Waits until there are so many, and returns all.
    std::vector<std::string> Await(std::size_t aCount) {
        std::unique_lock<std::mutex> lock(lock_);
        changed_.wait(lock, [&] { return texts_.size() >= aCount; });
        return texts_;
    }

    std::vector<std::string> Get() { return Await(0); }

private:
    std::mutex lock_;  // Guards what follows.
    std::condition_variable changed_;
    std::vector<std::string> texts_;
};

}  // namespace QvTests

#endif
