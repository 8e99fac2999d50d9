// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Watches of devices and links to them, with the sample driver's devices as they come and go.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "EventRecorder.h"
#include "KitTestSupport.h"
#include "OpenHandles.h"
#include "PluggedDevices.h"
#include "QvKit/QvKit.h"
#include "SampleDevice.h"

namespace QvTests {
namespace {

using QvKit::Device;
using QvKit::DeviceEvent;
using QvKit::DeviceIdentity;
using QvKit::DeviceLink;
using QvKit::DeviceWatcher;
using testing::ElementsAre;
using testing::SizeIs;
using testing::StartsWith;

// So that a failure has a reason.
constexpr std::chrono::seconds kLimit(30);

std::string PathOf(std::size_t aIndex) {
    return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(aIndex).path;
}

void SetLocation(const std::string& aInstancePath, const std::wstring& aLocation) {
    const QvBaseLib::UniqueDeviceSet set(::SetupDiCreateDeviceInfoList(nullptr, nullptr));
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    EXPECT_TRUE(
        ::SetupDiOpenDeviceInfoW(set.Get(), Widen(aInstancePath).c_str(), nullptr, 0, &device));
    EXPECT_TRUE(::SetupDiSetDeviceRegistryPropertyW(
        set.Get(), &device, SPDRP_LOCATION_INFORMATION,
        reinterpret_cast<const BYTE*>(aLocation.c_str()),
        static_cast<DWORD>((aLocation.size() + 1) * sizeof(wchar_t))));
}

using KitPluggedDeviceTest = SampleDeviceTest;

TEST_F(KitPluggedDeviceTest, TheDevicesOfAClassArePresentUnderTheirPaths) {
    EventRecorder recorder;
    DeviceWatcher watcher(&GUID_DEVINTERFACE_QVSAMPLE, recorder.Callback());
    watcher.Start();

    EXPECT_THAT(recorder.Await(2), ElementsAre("present " + PathOf(0), "present " + PathOf(1)));
    ASSERT_THAT(watcher.GetPresent(), SizeIs(2));
    EXPECT_NO_THROW(QvKit::Device(watcher.GetPresent()[1]));
}

TEST_F(KitPluggedDeviceTest, AnArrivalAndARemovalAreReported) {
    EventRecorder recorder;
    DeviceWatcher watcher(&GUID_DEVINTERFACE_QVSAMPLE, recorder.Callback());
    watcher.Start();

    auto devices = std::make_unique<PluggedDevices>(1);
    const std::string path = devices->GetPaths().at(0);
    devices.reset();

    EXPECT_THAT(recorder.Await(4), ElementsAre("present " + PathOf(0), "present " + PathOf(1),
                                               "arrival " + path, "removal " + path));
}

TEST_F(KitPluggedDeviceTest, AWatchOfAllClassesSeesThemToo) {
    EventRecorder recorder;
    std::vector<std::string> present;
    DeviceWatcher watcher(nullptr, [&](const DeviceEvent& aEvent) {
        const bool isPresent = aEvent.kind == DeviceEvent::Kind::Present;
        if (aEvent.interfaceClass != QV_SAMPLE_INTERFACE_TEXT) return;
        if (isPresent) {
            present.push_back(aEvent.device.path);
        } else {
            recorder.Add(TextOf(aEvent));
        }
    });
    watcher.Start();

    auto devices = std::make_unique<PluggedDevices>(1);
    const std::string path = devices->GetPaths().at(0);
    devices.reset();

    EXPECT_THAT(recorder.Await(2), ElementsAre("arrival " + path, "removal " + path));
    EXPECT_THAT(present, ElementsAre(PathOf(0), PathOf(1)));
}

TEST_F(KitPluggedDeviceTest, ASubscriptionEndsWithTheRemovalOfItsDevice) {
    auto devices = std::make_unique<PluggedDevices>(1);
    QvKit::SettingsPoller poller(
        std::make_unique<Device>(QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(2)));
    EventRecorder recorder;
    QvKit::Subscription subscription(
        poller, {"Gain"}, std::chrono::milliseconds(1), [&](const QvKit::SettingEvent& aEvent) {
            recorder.Add(aEvent.error ? aEvent.error->what() : aEvent.after->name);
        });
    subscription.Start();
    recorder.Await(1);

    devices.reset();

    EXPECT_THAT(recorder.Await(2),
                ElementsAre("Gain", StartsWith("the device has been removed: cannot read ")));
    poller.Look();
    EXPECT_THAT(recorder.Get(), SizeIs(2));
}

TEST_F(KitPluggedDeviceTest, SubscriptionsThatOutliveTheirPollersKeepNoDeviceOpen) {
    // More than the system may open for itself meanwhile, such as events of its locks.
    constexpr std::size_t kCount = 10;
    const auto address = QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(0);
    const auto open = [&] {
        return std::make_unique<QvKit::SettingsPoller>(std::make_unique<Device>(address));
    };
    open().reset();  // What is opened once stays open.
    const std::size_t before = CountOpenHandles();
    std::vector<std::unique_ptr<QvKit::SettingsPoller>> pollers;
    std::list<QvKit::Subscription> subscriptions;
    while (pollers.size() < kCount) {
        pollers.push_back(open());
        subscriptions.emplace_back(*pollers.back(), std::vector<std::string>(), QvKit::kNoLimit,
                                   [](const QvKit::SettingEvent&) {});
        subscriptions.back().Start();
    }
    ASSERT_LE(before + kCount, CountOpenHandles());

    pollers.clear();

    EXPECT_LT(CountOpenHandles(), before + kCount);
}

TEST_F(KitPluggedDeviceTest, ADeviceIsLinkedByItsInstancePath) {
    DeviceLink link(GUID_DEVINTERFACE_QVSAMPLE,
                    DeviceIdentity::ByInstancePath("ROOT\\QVSAMPLE\\0001"));
    link.Start();

    const std::shared_ptr<Device> device = link.WaitForDevice(kLimit);

    EXPECT_EQ(PathOf(1), device->GetAddress().path);
    EXPECT_NE(nullptr, device->LoadParameters().GetSnapshot().Find("Gain"));
}

TEST_F(KitPluggedDeviceTest, ADeviceIsLinkedByItsSerialNumber) {
    Device second(QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(1));
    const QvKit::Snapshot snapshot = second.LoadParameters().GetSnapshot();
    const QvKit::Setting* const serial = snapshot.Find("SerialNumber");
    ASSERT_NE(nullptr, serial);
    DeviceLink link(GUID_DEVINTERFACE_QVSAMPLE,
                    DeviceIdentity::ByParameter("SerialNumber", serial->ToText(serial->value)));
    link.Start();

    EXPECT_EQ(PathOf(1), link.WaitForDevice(kLimit)->GetAddress().path);
}

TEST_F(KitPluggedDeviceTest, ADeviceIsLinkedByItsLocation) {
    const PluggedDevices devices(1);
    const std::string path = devices.GetPaths().at(0);
    SetLocation(InstancePathOf(path), L"Slot 7");
    DeviceLink link(GUID_DEVINTERFACE_QVSAMPLE, DeviceIdentity::ByLocation("slot 7"));
    link.Start();

    EXPECT_EQ(path, link.WaitForDevice(kLimit)->GetAddress().path);
}

TEST_F(KitPluggedDeviceTest, ALinkFollowsADeviceThatIsUnpluggedAndPluggedIn) {
    auto devices = std::make_unique<PluggedDevices>(1);
    const std::string path = devices->GetPaths().at(0);
    EventRecorder recorder;
    DeviceLink link(GUID_DEVINTERFACE_QVSAMPLE,
                    DeviceIdentity::ByInstancePath(InstancePathOf(path)),
                    [&](const std::shared_ptr<Device>& aDevice) {
                        recorder.Add(aDevice == nullptr ? "gone" : aDevice->GetAddress().path);
                    });
    link.Start();
    recorder.Await(1);

    devices.reset();
    EXPECT_THAT(recorder.Await(2), ElementsAre(path, "gone"));
    devices = std::make_unique<PluggedDevices>(1);

    EXPECT_THAT(recorder.Await(3), ElementsAre(path, "gone", path));
    EXPECT_NE(nullptr, link.GetDevice()->LoadParameters().GetSnapshot().Find("Gain"));
}

}  // namespace
}  // namespace QvTests
