// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSubscription.h"

#include <string>
#include <utility>

#include "QvKit/Error.h"

namespace QvKit {
namespace {

class ManagerSubscription final : public DeviceSubscription {
public:
    ManagerSubscription(const DeviceSystem& aSystem, const GUID* aClass, DeviceNoticeSink aSink)
        : system_(aSystem), sink_(std::move(aSink)) {
        CM_NOTIFY_FILTER filter = {};
        filter.cbSize = sizeof filter;
        filter.FilterType = CM_NOTIFY_FILTER_TYPE_DEVICEINTERFACE;
        if (aClass == nullptr) {
            filter.Flags = CM_NOTIFY_FILTER_FLAG_ALL_INTERFACE_CLASSES;
        } else {
            filter.u.DeviceInterface.ClassGuid = *aClass;
        }
        const CONFIGRET result =
            system_.registerNotification(&filter, /*pContext=*/this, TakeNotice, &notification_);
        if (result != CR_SUCCESS) {
            throw Error(ErrorKind::SystemFailed, "the system cannot watch its devices: error " +
                                                     std::to_string(result) +
                                                     " of the configuration manager");
        }
    }

    // The system waits for a notice that is being taken.
    ~ManagerSubscription() override { system_.unregisterNotification(notification_); }

private:
    static DWORD CALLBACK TakeNotice(HCMNOTIFICATION, void* aSelf, CM_NOTIFY_ACTION aAction,
                                     CM_NOTIFY_EVENT_DATA* aData, DWORD /*aDataSize*/) {
        const bool isArrival = aAction == CM_NOTIFY_ACTION_DEVICEINTERFACEARRIVAL;
        if (isArrival || aAction == CM_NOTIFY_ACTION_DEVICEINTERFACEREMOVAL) {
            const auto& interfaceOf = aData->u.DeviceInterface;
            static_cast<const ManagerSubscription*>(aSelf)->sink_(
                {isArrival, {interfaceOf.ClassGuid, interfaceOf.SymbolicLink}});
        }
        return ERROR_SUCCESS;
    }

    const DeviceSystem& system_;
    const DeviceNoticeSink sink_;
    HCMNOTIFICATION notification_ = nullptr;
};

}  // namespace

std::unique_ptr<DeviceSubscription> Subscribe(const DeviceSystem& aSystem, const GUID* aClass,
                                              DeviceNoticeSink aSink) {
    if (!aSystem.registerNotification) return SubscribeWithWindow(aClass, std::move(aSink));
    return std::make_unique<ManagerSubscription>(aSystem, aClass, std::move(aSink));
}

}  // namespace QvKit
