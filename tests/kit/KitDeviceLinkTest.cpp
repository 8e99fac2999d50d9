// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Links to devices on a system with scripted answers, with pipes in the place of devices.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "EventRecorder.h"
#include "KitTestSupport.h"
#include "PipeServer.h"
#include "ProgramRun.h"
#include "QvKit/QvKit.h"
#include "ScriptedDeviceSystem.h"

namespace QvTests {
namespace {

using QvKit::Device;
using QvKit::DeviceIdentity;
using QvKit::DeviceLink;
using QvKit::ErrorKind;
using QvKit::kNoLimit;
using QvKit::StopSignal;
using std::chrono::milliseconds;
using testing::ElementsAre;

// A device that can be opened once.
class PipeDevice {
public:
    explicit PipeDevice(ScriptedDeviceSystem& aSystem,
                        std::wstring aInstancePath = L"ROOT\\A\\0000",
                        std::vector<std::wstring> aLocations = {})
        : system_(aSystem) {
        system_.descriptions[Path()] = {std::move(aInstancePath), std::move(aLocations)};
        system_.Plug(Path());
    }

    std::wstring Path() const { return Widen(pipe_.Name()); }
    std::string Name() const { return pipe_.Name(); }
    bool IsOpen() const { return pipe_.HasClient(); }
    void Unplug() { system_.Unplug(Path()); }

private:
    ScriptedDeviceSystem& system_;
    PipeServer pipe_;
};

class KitDeviceLinkTest : public testing::Test {
protected:
    void Link(DeviceIdentity aIdentity) {
        const auto record = [this](const std::shared_ptr<Device>& aDevice) {
            recorder_.Add(aDevice == nullptr ? "gone" : aDevice->GetAddress().path);
        };
        link_ = std::make_unique<DeviceLink>(kScriptedClass, std::move(aIdentity), record,
                                             system_.Get());
        link_->Start();
    }

    ScriptedDeviceSystem system_;
    EventRecorder recorder_;
    std::unique_ptr<DeviceLink> link_;
};

// What the device is

TEST_F(KitDeviceLinkTest, ADeviceIsFoundByItsInstancePath) {
    const PipeDevice other(system_, L"ROOT\\A\\0000");
    const PipeDevice wanted(system_, L"ROOT\\A\\0001");

    Link(DeviceIdentity::ByInstancePath("root\\a\\0001"));

    EXPECT_EQ(wanted.Name(), link_->WaitForDevice(kNoLimit)->GetAddress().path);
    EXPECT_TRUE(wanted.IsOpen());
    EXPECT_FALSE(other.IsOpen());
}

TEST_F(KitDeviceLinkTest, ADeviceIsFoundByOneOfItsLocations) {
    const PipeDevice other(system_, L"A", {L"Slot 1", L"PCI(0)"});
    const PipeDevice wanted(system_, L"B", {L"Slot 2", L"PCI(1)"});

    Link(DeviceIdentity::ByLocation("pci(1)"));

    EXPECT_EQ(wanted.Name(), link_->WaitForDevice(kNoLimit)->GetAddress().path);
}

TEST_F(KitDeviceLinkTest, AnIdentityHasWords) {
    EXPECT_EQ("the device ROOT\\A\\0001", DeviceIdentity::ByInstancePath("ROOT\\A\\0001").ToText());
    EXPECT_EQ("the device with Serial=7", DeviceIdentity::ByParameter("Serial", "7").ToText());
    EXPECT_EQ("the device in Slot 2", DeviceIdentity::ByLocation("Slot 2").ToText());
}

// Coming and going

TEST_F(KitDeviceLinkTest, ADeviceThatComesBackUnderAnotherPathIsOpenedAgain) {
    PipeDevice first(system_);
    Link(DeviceIdentity::ByInstancePath("ROOT\\A\\0000"));
    recorder_.Await(1);

    first.Unplug();
    recorder_.Await(2);
    EXPECT_EQ(nullptr, link_->GetDevice());
    const PipeDevice second(system_);

    EXPECT_THAT(recorder_.Await(3), ElementsAre(first.Name(), "gone", second.Name()));
    EXPECT_EQ(second.Name(), link_->WaitForDevice(kNoLimit)->GetAddress().path);
}

TEST_F(KitDeviceLinkTest, OfDevicesThatFitThereIsAlwaysOne) {
    PipeDevice first(system_);
    const PipeDevice second(system_);
    Link(DeviceIdentity::ByInstancePath("ROOT\\A\\0000"));
    recorder_.Await(1);
    EXPECT_FALSE(second.IsOpen());

    first.Unplug();

    EXPECT_THAT(recorder_.Await(3), ElementsAre(first.Name(), "gone", second.Name()));
}

TEST_F(KitDeviceLinkTest, OtherDevicesThatComeAndGoAreNoNews) {
    const PipeDevice wanted(system_);
    Link(DeviceIdentity::ByInstancePath("ROOT\\A\\0000"));
    recorder_.Await(1);

    PipeDevice other(system_, L"ROOT\\A\\0001");
    other.Unplug();
    PipeDevice another(system_, L"ROOT\\A\\0000");
    another.Unplug();
    link_->Stop();

    EXPECT_THAT(recorder_.Get(), ElementsAre(wanted.Name()));
}

TEST_F(KitDeviceLinkTest, ADeviceThatDoesNotOpenIsTriedAgain) {
    const std::string name = PipeServer::NewName();
    system_.descriptions[Widen(name)] = {L"ROOT\\A\\0000", {}};
    system_.Plug(Widen(name));
    Link(DeviceIdentity::ByInstancePath("ROOT\\A\\0000"));
    const auto error = ErrorOf([&] { (void)link_->WaitForDevice(milliseconds(200)); });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::TimedOut, error->GetKind());
    EXPECT_EQ("the device ROOT\\A\\0000 has not come within 200 ms: the device '" + name +
                  "' was removed: error 2: File not found",
              std::string(error->what()));

    const PipeServer device("", 4096, name);

    EXPECT_EQ(name, link_->WaitForDevice(kNoLimit)->GetAddress().path);
}

// Waits

TEST_F(KitDeviceLinkTest, AWaitEndsWithItsTime) {
    Link(DeviceIdentity::ByParameter("Serial", "7"));

    const auto error = ErrorOf([&] { (void)link_->WaitForDevice(milliseconds(20)); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::TimedOut, error->GetKind());
    EXPECT_STREQ("the device with Serial=7 has not come within 20 ms", error->what());
}

TEST_F(KitDeviceLinkTest, AWaitEndsWithTheStopSignal) {
    const StopSignal stop;
    Link(DeviceIdentity::ByLocation("Slot 2"));
    auto wait = std::async(std::launch::async, [&] {
        return ErrorOf([&] { (void)link_->WaitForDevice(kNoLimit, &stop); });
    });

    stop.Request();

    const auto error = wait.get();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::Cancelled, error->GetKind());
    EXPECT_STREQ("the wait for the device in Slot 2 was stopped", error->what());
}

TEST_F(KitDeviceLinkTest, AWaitEndsWhenTheLinkIsStopped) {
    Link(DeviceIdentity::ByLocation("Slot 2"));
    auto wait = std::async(std::launch::async,
                           [&] { return ErrorOf([&] { (void)link_->WaitForDevice(kNoLimit); }); });

    link_->Stop();

    const auto error = wait.get();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::Cancelled, error->GetKind());
}

// The end

TEST_F(KitDeviceLinkTest, AStoppedLinkHasNoDevice) {
    const PipeDevice device(system_);
    Link(DeviceIdentity::ByInstancePath("ROOT\\A\\0000"));
    recorder_.Await(1);

    link_->Stop();

    EXPECT_EQ(nullptr, link_->GetDevice());
    EXPECT_FALSE(device.IsOpen());
}

TEST_F(KitDeviceLinkTest, TheListenerMayDestroyTheLink) {
    const auto alive = std::make_shared<int>();
    const PipeDevice device(system_);
    link_ = std::make_unique<DeviceLink>(
        kScriptedClass, DeviceIdentity::ByInstancePath("ROOT\\A\\0000"),
        [this, alive](const std::shared_ptr<Device>& aDevice) {
            link_.reset();
            recorder_.Add(aDevice->GetAddress().path);
        },
        system_.Get());

    link_->Start();

    EXPECT_THAT(recorder_.Await(1), ElementsAre(device.Name()));
    // The link's thread lets go of all that it has, and then ends.
    while (alive.use_count() > 1) std::this_thread::yield();
    EXPECT_FALSE(device.IsOpen());
}

}  // namespace
}  // namespace QvTests
