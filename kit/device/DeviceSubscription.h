// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Notices of the system that interfaces of devices have come or gone.

#ifndef QVKIT_DEVICE_DEVICESUBSCRIPTION_H
#define QVKIT_DEVICE_DEVICESUBSCRIPTION_H

#include <functional>
#include <memory>

#include "DeviceSystem.h"

namespace QvKit {

struct DeviceNotice {
    bool isArrival;  // Or it has gone.
    DeviceInterface interfaceOf;
};

// Takes each notice, on a thread of the system. It must be quick, as the system may wait for it.
using DeviceNoticeSink = std::function<void(DeviceNotice)>;

class DeviceSubscription {
public:
    // No notice comes afterwards, and none is being taken. Not to be destroyed by the sink.
    virtual ~DeviceSubscription() = default;
};

// Subscribes to an interface class, or to all for null: with the configuration manager where the
// system has its notifications, otherwise with a window. The system is borrowed.
//
// Throws `Error`: `ErrorKind::SystemFailed`.
std::unique_ptr<DeviceSubscription> Subscribe(const DeviceSystem& aSystem, const GUID* aClass,
                                              DeviceNoticeSink aSink);

// The same, with a window in any case.
std::unique_ptr<DeviceSubscription> SubscribeWithWindow(const GUID* aClass, DeviceNoticeSink aSink);

}  // namespace QvKit

#endif
