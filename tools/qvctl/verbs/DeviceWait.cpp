// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/DeviceWait.h"

#include <optional>
#include <string>

#include "CtrlC.h"

namespace Qvctl {
namespace {

using QvKit::DeviceEvent;
using QvKit::Error;
using QvKit::ErrorKind;
using Addresses = std::vector<QvKit::DeviceAddress>;

// Also a path is looked up, as nobody can wait for it by opening it.
ChosenDevice FindPresent(const Context& aContext) {
    const Options& options = aContext.options;
    ChosenDevice device = FindDevice(options.interfaceClass, options.device, aContext.GetLimits());
    if (device.index || QvKit::IsPresent(device.address)) return device;
    throw Error(ErrorKind::NoSuchDevice, "there is no device '" + device.address.path + "'");
}

}  // namespace

bool WaitForDevices(const Context& aContext, const GUID* aClass, std::chrono::milliseconds aLimit,
                    const std::function<bool(const Addresses&)>& aIsMet,
                    const std::function<bool(const DeviceEvent&)>& aIsMetByEvent) {
    const QvKit::StopSignal isMet;
    QvKit::DeviceWatcher watcher(aClass, [&](const DeviceEvent& aEvent) {
        if (!isMet.IsRequested() && aIsMetByEvent(aEvent)) isMet.Request();
    });
    if (aIsMet(watcher.GetPresent())) return true;
    aContext.Note("waiting");
    watcher.Start();
    (void)isMet.WaitForEither(*aContext.stop, aLimit);
    watcher.Stop();
    if (!isMet.IsRequested() && aContext.stop->IsRequested()) throw Interrupted();
    return isMet.IsRequested();
}

ChosenDevice AwaitDevice(const Context& aContext, std::chrono::milliseconds aLimit) {
    std::optional<ChosenDevice> device;
    Error error(ErrorKind::NoSuchDevice, std::string());  // Why there is no device yet.
    // Whether there is nothing to wait for any more.
    const auto isDecided = [&] {
        try {
            device = FindPresent(aContext);
        } catch (const Error& reason) {
            error = reason;
        }
        return device || error.GetKind() != ErrorKind::NoSuchDevice;
    };
    const bool isPath = aContext.options.device.kind == DeviceChoice::Path;  // Of any class.
    const bool isInTime = WaitForDevices(
        aContext, isPath ? nullptr : &aContext.options.interfaceClass, aLimit,
        [&](const Addresses&) { return isDecided(); },
        [&](const DeviceEvent& aEvent) {
            return aEvent.kind == DeviceEvent::Kind::Arrival && isDecided();
        });
    if (device) return *device;
    if (isInTime) throw Error(error);
    throw Error(ErrorKind::TimedOut, std::string(error.what()) + "; it has not come within " +
                                         std::to_string(aLimit.count()) + " ms");
}

}  // namespace Qvctl
