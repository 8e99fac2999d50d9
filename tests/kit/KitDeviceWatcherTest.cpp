// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Watches of devices on a system with scripted answers: how news and lists are put together, and
// how a watch ends.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "EventRecorder.h"
#include "ImportPatch.h"
#include "KitTestSupport.h"
#include "QvKit/QvKit.h"
#include "ScriptedDeviceSystem.h"

// After windows.h, which it needs.
#include <dbt.h>

namespace QvTests {
namespace {

using QvKit::DeviceEvent;
using QvKit::DeviceWatcher;
using QvKit::ErrorKind;
using QvKit::StopSignal;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class KitDeviceWatcherTest : public testing::Test {
protected:
    void Watch(const GUID* aClass = &kScriptedClass) {
        watcher_ = std::make_unique<DeviceWatcher>(aClass, recorder_.Callback(), system_.Get());
        watcher_->Start();
    }

    ScriptedDeviceSystem system_;
    EventRecorder recorder_;
    std::unique_ptr<DeviceWatcher> watcher_;
};

// What is present, and the news

TEST_F(KitDeviceWatcherTest, WhatIsPresentComesFirstInTheOrderOfTheList) {
    system_.Plug(L"b");
    system_.Plug(L"a");

    Watch();

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present b", "present a"));
    ASSERT_THAT(watcher_->GetPresent(), SizeIs(2));
    EXPECT_EQ("b", watcher_->GetPresent()[0].path);
}

TEST_F(KitDeviceWatcherTest, NewsFollowInTheirOrder) {
    system_.Plug(L"a");
    Watch();

    system_.Plug(L"b");
    system_.Unplug(L"a");
    system_.Plug(L"a");

    EXPECT_THAT(recorder_.Await(4),
                ElementsAre("present a", "arrival b", "removal a", "arrival a"));
}

TEST_F(KitDeviceWatcherTest, AnEventNamesTheInterfaceClass) {
    std::promise<std::string> text;
    system_.Plug(L"a");
    DeviceWatcher watcher(
        nullptr, [&](const DeviceEvent& aEvent) { text.set_value(aEvent.interfaceClass); },
        system_.Get());
    watcher.Start();

    EXPECT_EQ("{11223344-5566-7788-99aa-bbccddeeff00}", text.get_future().get());
}

TEST_F(KitDeviceWatcherTest, ADeviceThatComesBeforeTheListIsMadeIsCountedOnce) {
    system_.beforeList = [&] { system_.Plug(L"a"); };
    Watch();
    system_.Unplug(L"a");

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present a", "removal a"));
}

TEST_F(KitDeviceWatcherTest, ADeviceThatComesAfterTheListWasMadeIsNotLost) {
    system_.afterList = [&] { system_.Plug(L"a"); };
    Watch();

    EXPECT_THAT(recorder_.Await(1), ElementsAre("arrival a"));
}

TEST_F(KitDeviceWatcherTest, ADeviceThatGoesBeforeTheListIsMadeWasNeverThere) {
    system_.Plug(L"a");
    system_.beforeList = [&] { system_.Unplug(L"a"); };
    Watch();
    system_.Plug(L"b");

    EXPECT_THAT(recorder_.Await(1), ElementsAre("arrival b"));
}

TEST_F(KitDeviceWatcherTest, ADeviceThatGoesAfterTheListWasMadeIsRemoved) {
    system_.Plug(L"a");
    system_.afterList = [&] { system_.Unplug(L"a"); };
    Watch();

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present a", "removal a"));
}

// The system spells a path in upper case in notices, and in lower case in lists.
TEST_F(KitDeviceWatcherTest, UpperAndLowerCaseAreOneDevice) {
    system_.Plug(L"root#device");
    Watch();

    system_.Notify(CM_NOTIFY_ACTION_DEVICEINTERFACEARRIVAL, L"ROOT#Device");
    system_.Notify(CM_NOTIFY_ACTION_DEVICEINTERFACEREMOVAL, L"ROOT#Device");

    EXPECT_THAT(recorder_.Await(2), ElementsAre("present root#device", "removal root#device"));
}

TEST_F(KitDeviceWatcherTest, OtherNoticesAreNoNews) {
    Watch();

    system_.Notify(CM_NOTIFY_ACTION_DEVICEQUERYREMOVE, L"a");
    system_.Notify(CM_NOTIFY_ACTION_DEVICEINSTANCESTARTED, L"a");
    system_.Plug(L"b");

    EXPECT_THAT(recorder_.Await(1), ElementsAre("arrival b"));
}

// Dropped notices

TEST_F(KitDeviceWatcherTest, ADroppedNoticeIsMadeUpForByALook) {
    system_.Plug(L"a");
    Watch();

    system_.PlugUnnoticed(L"b");
    EXPECT_THAT(recorder_.Await(2), ElementsAre("present a", "arrival b"));
    system_.UnplugUnnoticed(L"a");
    EXPECT_THAT(recorder_.Await(3), ElementsAre("present a", "arrival b", "removal a"));
}

TEST_F(KitDeviceWatcherTest, ANoticeAfterTheLookIsNotCountedAgain) {
    Watch();
    system_.PlugUnnoticed(L"a");
    recorder_.Await(1);

    system_.Notify(CM_NOTIFY_ACTION_DEVICEINTERFACEARRIVAL, L"a");
    system_.Plug(L"b");

    EXPECT_THAT(recorder_.Await(2), ElementsAre("arrival a", "arrival b"));
}

// Load

TEST_F(KitDeviceWatcherTest, ABurstWaitsForASlowCallbackAndIsDeliveredAsItHappened) {
    constexpr std::size_t kTimes = 2000;
    const StopSignal release;
    DeviceWatcher watcher(
        &kScriptedClass,
        [&](const DeviceEvent& aEvent) {
            (void)release.WaitFor(QvKit::kNoLimit);
            recorder_.Add(TextOf(aEvent));
        },
        system_.Get());
    watcher.Start();

    // Each returns, though the callback does not.
    for (std::size_t time = 0; time < kTimes; ++time) {
        system_.Plug(L"a");
        system_.Unplug(L"a");
    }
    release.Request();

    const std::vector<std::string> events = recorder_.Await(2 * kTimes);
    ASSERT_THAT(events, SizeIs(2 * kTimes));
    for (std::size_t index = 0; index < events.size(); ++index) {
        ASSERT_EQ(index % 2 == 0 ? "arrival a" : "removal a", events[index]) << index;
    }
}

// The end

TEST_F(KitDeviceWatcherTest, NothingIsDeliveredBeforeTheStart) {
    system_.Plug(L"a");
    {
        const DeviceWatcher watcher(&kScriptedClass, recorder_.Callback(), system_.Get());
    }

    EXPECT_THAT(recorder_.Get(), IsEmpty());
}

TEST_F(KitDeviceWatcherTest, NothingIsDeliveredAfterStop) {
    system_.Plug(L"a");
    Watch();
    recorder_.Await(1);

    watcher_->Stop();
    system_.Plug(L"b");
    watcher_.reset();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present a"));
}

TEST_F(KitDeviceWatcherTest, TheCallbackMayStopTheWatch) {
    system_.Plug(L"a");
    system_.Plug(L"b");
    watcher_ = std::make_unique<DeviceWatcher>(
        &kScriptedClass,
        [&](const DeviceEvent& aEvent) {
            watcher_->Stop();
            recorder_.Add(TextOf(aEvent));
        },
        system_.Get());
    watcher_->Start();
    recorder_.Await(1);

    watcher_.reset();

    EXPECT_THAT(recorder_.Get(), ElementsAre("present a"));
}

TEST_F(KitDeviceWatcherTest, TheCallbackMayDestroyTheWatch) {
    const auto alive = std::make_shared<int>();
    system_.Plug(L"a");
    system_.Plug(L"b");
    watcher_ = std::make_unique<DeviceWatcher>(
        &kScriptedClass,
        [this, alive](const DeviceEvent& aEvent) {
            watcher_.reset();
            // What the callback owns is still there.
            recorder_.Add(TextOf(aEvent) + " " + std::to_string(alive.use_count() > 1));
        },
        system_.Get());

    watcher_->Start();

    EXPECT_THAT(recorder_.Await(1), ElementsAre("present a 1"));
    // The watch's thread lets go of all that it has, and then ends.
    while (alive.use_count() > 1) std::this_thread::yield();
    EXPECT_EQ(1, system_.unregistrations);
    EXPECT_THAT(recorder_.Get(), ElementsAre("present a 1"));
}

TEST_F(KitDeviceWatcherTest, DestructionWaitsForTheCallback) {
    std::promise<void> began;
    bool hasEnded = false;
    system_.Plug(L"a");
    watcher_ = std::make_unique<DeviceWatcher>(
        &kScriptedClass,
        [&](const DeviceEvent&) {
            began.set_value();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            hasEnded = true;
        },
        system_.Get());
    watcher_->Start();
    began.get_future().wait();

    watcher_.reset();

    EXPECT_TRUE(hasEnded);
}

TEST_F(KitDeviceWatcherTest, SeveralThreadsMayStopTheWatch) {
    system_.Plug(L"a");
    Watch();
    recorder_.Await(1);

    const auto other = std::async(std::launch::async, [&] { watcher_->Stop(); });
    watcher_->Stop();
    other.wait();

    system_.Plug(L"b");
    EXPECT_THAT(recorder_.Get(), ElementsAre("present a"));
}

// The system

TEST_F(KitDeviceWatcherTest, OneClassIsAskedForByItsGuid) {
    Watch();

    EXPECT_EQ(CM_NOTIFY_FILTER_TYPE_DEVICEINTERFACE, system_.filter.FilterType);
    EXPECT_EQ(0u, system_.filter.Flags);
    EXPECT_TRUE(::IsEqualGUID(kScriptedClass, system_.filter.u.DeviceInterface.ClassGuid));
}

TEST_F(KitDeviceWatcherTest, AllClassesAreAskedForByAFlag) {
    Watch(nullptr);

    EXPECT_EQ(static_cast<DWORD>(CM_NOTIFY_FILTER_FLAG_ALL_INTERFACE_CLASSES),
              system_.filter.Flags);
}

TEST_F(KitDeviceWatcherTest, TheSystemIsAskedForNothingAfterTheEnd) {
    Watch();
    watcher_.reset();

    EXPECT_EQ(1, system_.unregistrations);
}

TEST_F(KitDeviceWatcherTest, ARefusedRegistrationIsAFailureOfTheSystem) {
    system_.registrationResult = CR_OUT_OF_MEMORY;

    const auto error = ErrorOf([&] { Watch(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_STREQ("the system cannot watch its devices: error 2 of the configuration manager",
                 error->what());
}

TEST_F(KitDeviceWatcherTest, AListThatFailsEndsTheRegistration) {
    system_.isListFailing = true;

    EXPECT_EQ("there is no list", MessageOf([&] { Watch(); }));

    EXPECT_EQ(1, system_.unregistrations);
}

// A system without notifications of the configuration manager

// The window that wants news, and what it asked for.
struct WindowRegistration {
    inline static HWND window = nullptr;
    inline static DWORD flags = 0;
    inline static GUID interfaceClass = {};
    inline static bool isRefused = false;

    static HDEVNOTIFY WINAPI Register(HANDLE aWindow, void* aFilter, DWORD aFlags) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        if (isRefused) return nullptr;
        window = static_cast<HWND>(aWindow);
        flags = aFlags;
        interfaceClass = static_cast<DEV_BROADCAST_DEVICEINTERFACE_W*>(aFilter)->dbcc_classguid;
        return window;
    }
    static BOOL WINAPI Unregister(HDEVNOTIFY aNotification) {
        EXPECT_EQ(window, aNotification);
        window = nullptr;
        return TRUE;
    }
};

class KitDeviceWindowTest : public KitDeviceWatcherTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(register_.IsActive());
        ASSERT_TRUE(unregister_.IsActive());
        WindowRegistration::isRefused = false;
    }
    // Before the system gets its functions back.
    void TearDown() override { watcher_.reset(); }

    void WatchWithWindow(const GUID* aClass = &kScriptedClass) {
        QvKit::DeviceSystem system = system_.Get();
        system.registerNotification = nullptr;
        watcher_ = std::make_unique<DeviceWatcher>(aClass, recorder_.Callback(), system);
        watcher_->Start();
    }

    // As the system sends it, in upper case.
    static void Send(WPARAM aWhat, const wchar_t* aName, DWORD aType = DBT_DEVTYP_DEVICEINTERFACE) {
        std::vector<unsigned char> bytes(sizeof(DEV_BROADCAST_DEVICEINTERFACE_W) + 100);
        auto* const data = reinterpret_cast<DEV_BROADCAST_DEVICEINTERFACE_W*>(bytes.data());
        data->dbcc_size = static_cast<DWORD>(bytes.size());
        data->dbcc_devicetype = aType;
        data->dbcc_classguid = kScriptedClass;
        ::lstrcpyW(data->dbcc_name, aName);
        ::SendMessageW(WindowRegistration::window, WM_DEVICECHANGE, aWhat,
                       reinterpret_cast<LPARAM>(data));
    }

private:
    const ImportPatch register_{"RegisterDeviceNotificationW", &WindowRegistration::Register,
                                nullptr};
    const ImportPatch unregister_{"UnregisterDeviceNotification", &WindowRegistration::Unregister,
                                  nullptr};
};

TEST_F(KitDeviceWindowTest, MessagesAreNews) {
    WatchWithWindow();

    Send(DBT_DEVICEARRIVAL, L"ROOT#A");
    Send(DBT_DEVICEREMOVECOMPLETE, L"ROOT#A");

    EXPECT_THAT(recorder_.Await(2), ElementsAre("arrival root#a", "removal root#a"));
    EXPECT_EQ(0u, WindowRegistration::flags);
    EXPECT_TRUE(::IsEqualGUID(kScriptedClass, WindowRegistration::interfaceClass));
}

TEST_F(KitDeviceWindowTest, OtherMessagesAreNoNews) {
    WatchWithWindow();

    Send(DBT_DEVICEQUERYREMOVE, L"A");
    Send(DBT_DEVICEARRIVAL, L"B", DBT_DEVTYP_VOLUME);
    ::SendMessageW(WindowRegistration::window, WM_DEVICECHANGE, DBT_DEVNODES_CHANGED, 0);
    Send(DBT_DEVICEARRIVAL, L"C");

    EXPECT_THAT(recorder_.Await(1), ElementsAre("arrival c"));
}

TEST_F(KitDeviceWindowTest, AllClassesAreAskedForByAFlag) {
    WatchWithWindow(nullptr);

    EXPECT_EQ(static_cast<DWORD>(DEVICE_NOTIFY_ALL_INTERFACE_CLASSES), WindowRegistration::flags);
}

TEST_F(KitDeviceWindowTest, TheWindowGoesWithTheWatch) {
    WatchWithWindow();
    const HWND window = WindowRegistration::window;
    EXPECT_TRUE(::IsWindow(window));

    watcher_.reset();

    EXPECT_EQ(nullptr, WindowRegistration::window);
    EXPECT_FALSE(::IsWindow(window));
}

TEST_F(KitDeviceWindowTest, ARefusedRegistrationIsAFailureOfTheSystem) {
    WindowRegistration::isRefused = true;

    const auto error = ErrorOf([&] { WatchWithWindow(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_THAT(error->what(), StartsWith("the system cannot watch its devices: error 5"));
}

HWND WINAPI CreateNoWindow(DWORD, LPCWSTR, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU,
                           HINSTANCE, LPVOID) {
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

TEST_F(KitDeviceWindowTest, WithoutAWindowThereIsNoWatch) {
    const ImportPatch patch("CreateWindowExW", &CreateNoWindow, nullptr);
    ASSERT_TRUE(patch.IsActive());

    EXPECT_THAT(MessageOf([&] { WatchWithWindow(); }),
                StartsWith("cannot make a window to watch devices with: error 8"));
}

}  // namespace
}  // namespace QvTests
