// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Notices of devices through a window, for systems that have no other way.

#include <future>
#include <string>
#include <system_error>
#include <utility>

#include "DeviceSubscription.h"
#include "QvKit/Error.h"
#include "UniqueHandle.h"

// After windows.h, which it needs.
#include <dbt.h>

namespace QvKit {
namespace {

using UniqueWindow = QvBaseLib::UniqueHandle<HWND, &::DestroyWindow>;
using UniqueNotification = QvBaseLib::UniqueHandle<HDEVNOTIFY, &::UnregisterDeviceNotification>;

// A window that only gets messages, on a thread that does nothing but take them.
class WindowSubscription final : public DeviceSubscription {
public:
    WindowSubscription(const GUID* aClass, DeviceNoticeSink aSink) : sink_(std::move(aSink)) {
        std::promise<HWND> ready;
        std::future<HWND> window = ready.get_future();
        try {
            thread_ =
                std::async(std::launch::async, [this, aClass, ready = std::move(ready)]() mutable {
                    TakeMessages(aClass, std::move(ready));
                });
        } catch (const std::system_error& error) {
            throw Error(ErrorKind::SystemFailed,
                        std::string("cannot start a thread to watch devices: ") + error.what());
        }
        window_ = window.get();
    }

    ~WindowSubscription() override;

private:
    void TakeMessages(const GUID* aClass, std::promise<HWND> aReady);

    // Of a class that every program has: one of our own would have to have a name that no other
    // copy of this code in the process uses.
    UniqueWindow MakeWindow();

    static UniqueNotification Register(HWND aWindow, const GUID* aClass);
    static LRESULT CALLBACK TakeMessage(HWND aWindow, UINT aMessage, WPARAM aWhat, LPARAM aData);
    static void TakeChange(HWND aWindow, WPARAM aWhat, const DEV_BROADCAST_HDR* aData);

    const DeviceNoticeSink sink_;
    std::future<void> thread_;
    HWND window_ = nullptr;
};

WindowSubscription::~WindowSubscription() {
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
    thread_.wait();
}

void WindowSubscription::TakeMessages(const GUID* aClass, std::promise<HWND> aReady) {
    UniqueWindow window;
    UniqueNotification notification;
    try {
        window = MakeWindow();
        notification = Register(window.Get(), aClass);
    } catch (...) {
        aReady.set_exception(std::current_exception());
        return;
    }
    aReady.set_value(window.Get());
    MSG message;
    while (::GetMessageW(&message, /*hWnd=*/nullptr, 0, 0) > 0) ::DispatchMessageW(&message);
}

UniqueWindow WindowSubscription::MakeWindow() {
    UniqueWindow window(::CreateWindowExW(0, L"STATIC", /*lpWindowName=*/nullptr, 0, 0, 0, 0, 0,
                                          HWND_MESSAGE, /*hMenu=*/nullptr,
                                          /*hInstance=*/nullptr, /*lpParam=*/nullptr));
    const DWORD error = ::GetLastError();
    if (!window.IsValid()) {
        throw SystemError(ErrorKind::SystemFailed, "cannot make a window to watch devices with",
                          error);
    }
    ::SetWindowLongPtrW(window.Get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ::SetWindowLongPtrW(window.Get(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(TakeMessage));
    return window;
}

UniqueNotification WindowSubscription::Register(HWND aWindow, const GUID* aClass) {
    DEV_BROADCAST_DEVICEINTERFACE_W filter = {};
    filter.dbcc_size = sizeof filter;
    filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
    if (aClass != nullptr) filter.dbcc_classguid = *aClass;
    UniqueNotification notification(::RegisterDeviceNotificationW(
        aWindow, &filter, aClass == nullptr ? DEVICE_NOTIFY_ALL_INTERFACE_CLASSES : 0));
    const DWORD error = ::GetLastError();
    if (!notification.IsValid()) {
        throw SystemError(ErrorKind::SystemFailed, "the system cannot watch its devices", error);
    }
    return notification;
}

// The system hands pointers over as numbers.
// NOLINTBEGIN(performance-no-int-to-ptr)
LRESULT CALLBACK WindowSubscription::TakeMessage(HWND aWindow, UINT aMessage, WPARAM aWhat,
                                                 LPARAM aData) {
    switch (aMessage) {
        case WM_CLOSE:
            ::PostQuitMessage(0);
            return 0;
        case WM_DEVICECHANGE:
            TakeChange(aWindow, aWhat, reinterpret_cast<const DEV_BROADCAST_HDR*>(aData));
            return TRUE;
        default:
            return ::DefWindowProcW(aWindow, aMessage, aWhat, aData);
    }
}

void WindowSubscription::TakeChange(HWND aWindow, WPARAM aWhat, const DEV_BROADCAST_HDR* aData) {
    if (aWhat != DBT_DEVICEARRIVAL && aWhat != DBT_DEVICEREMOVECOMPLETE) return;
    if (aData == nullptr || aData->dbch_devicetype != DBT_DEVTYP_DEVICEINTERFACE) return;
    const auto* const self =
        reinterpret_cast<const WindowSubscription*>(::GetWindowLongPtrW(aWindow, GWLP_USERDATA));
    const auto* const interfaceOf = reinterpret_cast<const DEV_BROADCAST_DEVICEINTERFACE_W*>(aData);
    self->sink_(
        {aWhat == DBT_DEVICEARRIVAL, {interfaceOf->dbcc_classguid, interfaceOf->dbcc_name}});
}
// NOLINTEND(performance-no-int-to-ptr)

}  // namespace

std::unique_ptr<DeviceSubscription> SubscribeWithWindow(const GUID* aClass,
                                                        DeviceNoticeSink aSink) {
    return std::make_unique<WindowSubscription>(aClass, std::move(aSink));
}

}  // namespace QvKit
