// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What happens to the interfaces of devices, as a queue.

#ifndef QVKIT_DEVICE_DEVICEEVENTS_H
#define QVKIT_DEVICE_DEVICEEVENTS_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "DeviceSubscription.h"
#include "DeviceSystem.h"
#include "QvKit/DeviceWatcher.h"

namespace QvKit {

// First what is present, then the news. One thread takes the events; any thread may end them.
class DeviceEvents {
public:
    // `aClass` is null for all classes. Throws `Error`: `ErrorKind::SystemFailed`.
    DeviceEvents(const GUID* aClass, DeviceSystem aSystem);

    DeviceEvents(const DeviceEvents&) = delete;
    DeviceEvents& operator=(const DeviceEvents&) = delete;

    const std::vector<DeviceAddress>& GetPresent() const { return present_; }

    // The next event, which is waited for. Nothing when the time is over, or the events have been
    // ended.
    std::optional<DeviceEvent> Next(std::chrono::milliseconds aLimit);

    void End();
    bool IsEnded() const;

private:
    using Time = std::chrono::steady_clock::time_point;

    void Put(DeviceNotice aNotice);
    std::optional<DeviceEvent> TryNext(Time aEnd);
    std::optional<DeviceNotice> Take(Time aEnd);
    std::optional<DeviceEvent> Understand(const DeviceNotice& aNotice);
    void Look();
    std::vector<DeviceInterface> List() const;

    const DeviceSystem system_;
    const std::optional<GUID> class_;
    std::vector<DeviceAddress> present_;

    // Of the thread that takes the events.
    std::map<std::wstring, GUID> known_;  // The interfaces that are there, by their paths.
    std::deque<DeviceEvent> found_;       // By looking.
    std::optional<DeviceNotice> taken_;   // And not understood yet.
    Time nextLook_;
    std::chrono::milliseconds pause_;

    mutable std::mutex mutex_;  // Guards what follows.
    std::condition_variable changed_;
    std::deque<DeviceNotice> notices_;
    bool isEnded_ = false;

    // The last member: no notice comes any more when the others go.
    std::unique_ptr<DeviceSubscription> subscription_;
};

}  // namespace QvKit

#endif
