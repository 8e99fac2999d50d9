// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICELINK_H
#define QVKIT_DEVICELINK_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "QvKit/Device.h"
#include "QvKit/StopSignal.h"

struct _GUID;

namespace QvKit {

struct DeviceSystem;

/// What a device is, however often it is unplugged. All texts are UTF-8. Upper and lower case count
/// in parameters only.
struct DeviceIdentity {
    /// By what a device is recognised.
    enum class Kind { InstancePath, Parameter, Location };

    /// The device with this instance path, such as `ROOT\NAME\0000`.
    static DeviceIdentity ByInstancePath(std::string aPath);

    /// The device with a parameter, such as a serial number, of this value. The value is a text as
    /// `Setting::ToText` returns it. To find out, each device of the class is opened and its
    /// parameters are loaded.
    static DeviceIdentity ByParameter(std::string aName, std::string aValue);

    /// Whatever device is in this place: its location information, or one of its location paths, as
    /// the system states them.
    static DeviceIdentity ByLocation(std::string aLocation);

    /// `the device ROOT\NAME\0000`, `the device with SerialNumber=7`, `the device in SLOT 3`.
    std::string ToText() const;

    Kind kind;          ///< By what the device is recognised.
    std::string name;   ///< Of the parameter; empty for other kinds.
    std::string value;  ///< The path, the value of the parameter, or the place.
};

/// Keeps a device open through removals: opens it as soon as it is there, and again when it has
/// come back, under whatever path, and tells its user each time. Of several devices that fit, the
/// first one is taken, and another one when it has gone.
///
/// A device that is there and does not open, as while another program has it, is tried again and
/// again.
///
/// | what                           | on which thread                                             |
/// |--------------------------------|-------------------------------------------------------------|
/// | constructor, Start             | any, one at a time                                          |
/// | listener                       | the link's own, one call at a time                          |
/// | GetDevice, WaitForDevice, Stop | any, at any time, also within the listener                  |
/// | destructor                     | any, also within the listener, when no other call is running|
/// | the device                     | one at a time; the link opens it and then leaves it alone   |
class DeviceLink {
public:
    /// Takes the device when it has been opened, and null when it has gone. May stop or destroy its
    /// link. It must not throw: that ends the process.
    using Listener = std::function<void(const std::shared_ptr<Device>&)>;

    /// @param aInterface  The class of the interface that is opened.
    /// @param aIdentity   Which device of the class.
    /// @param aListener  May be empty.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    DeviceLink(const _GUID& aInterface, DeviceIdentity aIdentity, Listener aListener = Listener());

    /// The same on a system with scripted answers, for the kit's own tests.
    DeviceLink(const _GUID& aInterface, DeviceIdentity aIdentity, Listener aListener,
               const DeviceSystem& aSystem);

    /// Stops the link, see `Stop`.
    ~DeviceLink();

    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    /// Begins to look for the device. To be called once.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no thread left.
    void Start();

    /// Ends the link: the device is let go, waits end, and the listener is not called any more.
    /// Waits for the listener if it is running, unless it is called from there.
    void Stop();

    /// The device while it is there, otherwise null. When it has gone, requests to it fail, and its
    /// handle is closed with the last pointer.
    std::shared_ptr<Device> GetDevice() const;

    /// Waits until the device is there and open.
    ///
    /// @param aLimit  For how long; `kNoLimit` for any time.
    /// @param aStop   Ends the wait; may be null.
    ///
    /// Throws `Error`: `ErrorKind::TimedOut` when the time is over, with the reason why it did not
    /// open, if it was there; `ErrorKind::Cancelled` when `aStop` was requested or the link was
    /// stopped.
    std::shared_ptr<Device> WaitForDevice(std::chrono::milliseconds aLimit,
                                          const StopSignal* aStop = nullptr) const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace QvKit

#endif
