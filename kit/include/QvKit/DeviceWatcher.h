// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICEWATCHER_H
#define QVKIT_DEVICEWATCHER_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QvKit/DeviceList.h"

struct _GUID;

namespace QvKit {

struct DeviceSystem;

/// What happened to an interface of a device.
struct DeviceEvent {
    /// What can happen.
    enum class Kind {
        Present,  ///< It was there when the watch began.
        Arrival,  ///< It has come.
        Removal   ///< It has gone.
    };

    Kind kind;                   ///< What happened.
    DeviceAddress device;        ///< The path is in lower case.
    std::string interfaceClass;  ///< Its GUID, with braces and lower-case digits.
};

/// Calls back when interfaces of devices come and go. No window or message loop is needed.
///
/// The watch begins with the constructor. First comes what was there then, then the news, one call
/// for each event and in the order in which things happened. Of one device arrivals and removals
/// take turns. Nothing is left out between the list and the news, nor when much happens at once.
///
/// The events wait in a queue until they are delivered, so a slow callback holds up neither the
/// system nor other programs; the queue takes as much memory as it needs.
///
/// | what                           | on which thread                                             |
/// |--------------------------------|-------------------------------------------------------------|
/// | constructor, Start, GetPresent | any, one at a time                                          |
/// | callback                       | the watch's own, one call at a time                         |
/// | Stop                           | any, at any time, also within a callback                    |
/// | destructor                     | any, also within a callback, when no other call is running  |
class DeviceWatcher {
public:
    /// May stop or destroy its watch. It must not throw: that ends the process.
    using Callback = std::function<void(const DeviceEvent&)>;

    /// Begins the watch. Events wait until `Start`.
    ///
    /// @param aInterface  The interface class, or null for all of them.
    /// @param aCallback   Takes the events; must not be empty.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    DeviceWatcher(const _GUID* aInterface, Callback aCallback);

    /// The same on a system with scripted answers, for the kit's own tests.
    DeviceWatcher(const _GUID* aInterface, Callback aCallback, const DeviceSystem& aSystem);

    /// Stops the watch, see `Stop`.
    ~DeviceWatcher();

    DeviceWatcher(const DeviceWatcher&) = delete;
    DeviceWatcher& operator=(const DeviceWatcher&) = delete;

    /// Begins to deliver. To be called once. The callback may run before this returns.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no thread left.
    void Start();

    /// Ends the watch: no callback begins any more. Waits for one that is running, unless it is
    /// called from there. So do not hold a lock that the callback waits for.
    void Stop();

    /// What was there when the watch began, in the order in which it is delivered.
    const std::vector<DeviceAddress>& GetPresent() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace QvKit

#endif
