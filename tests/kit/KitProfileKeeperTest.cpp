// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Profiles that are kept, on devices of the sample driver that come and go. A system with scripted
// answers hides the two devices that other tests use.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "EventRecorder.h"
#include "ImportPatch.h"
#include "KitTestSupport.h"
#include "PluggedDevices.h"
#include "QvKit/QvKit.h"
#include "ScriptedDeviceSystem.h"

namespace QvTests {
namespace {

using QvKit::Device;
using QvKit::KeepOptions;
using QvKit::Profile;
using QvKit::ProfileKeeper;
using QvKit::Value;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr wchar_t kNowhere[] = L"\\\\?\\root#nowhere#0";

Profile ProfileOf(const std::string& aName, const std::string& aValue) {
    return Profile::FromJson(
        "{\"format\":\"QvUserLib settings\",\"version\":1,\"parameters\":[\n"
        "{\"name\":\"" +
            aName + "\",\"type\":\"integer\",\"value\":" + aValue + "}]}",
        "x.json");
}

// "Gain -> 12", or why not.
std::string TextOf(const ProfileKeeper::Result& aResult) {
    std::string text;
    for (const QvKit::Edit& edit : aResult.outcome.edits) {
        const auto held = edit.held ? edit.setting.ToText(*edit.held) : std::string("?");
        text += edit.setting.name + " -> " + held;
    }
    return aResult.outcome.error ? text + "! " + aResult.outcome.error->what() : text;
}

// Is called once, when a change begins to wait for its turn: the device's parameters have been
// loaded, and nothing has been sent.
std::function<void()> theBeforeSending;

HANDLE WINAPI MakeMutex(SECURITY_ATTRIBUTES* aAttributes, BOOL aIsOwned, const wchar_t* aName) {
    if (const auto before = std::exchange(theBeforeSending, nullptr)) before();
    return ::CreateMutexExW(aAttributes, aName, aIsOwned ? CREATE_MUTEX_INITIAL_OWNER : 0,
                            MUTEX_ALL_ACCESS);
}

class KitProfileKeeperTest : public testing::Test {
protected:
    void Keep(const Profile& aProfile, const KeepOptions& aOptions = KeepOptions()) {
        keeper_ = std::make_unique<ProfileKeeper>(
            kScriptedClass, aProfile, aOptions,
            [this](const ProfileKeeper::Result& aResult) { recorder_.Add(TextOf(aResult)); },
            system_.Get());
        keeper_->Start();
    }

    static Value GainOf(const std::string& aPath) {
        Device device(QvKit::MakeAddress(aPath));
        return device.LoadParameters().GetSnapshot().Find("Gain")->value;
    }

    ScriptedDeviceSystem system_;
    EventRecorder recorder_;
    std::unique_ptr<ProfileKeeper> keeper_;
};

TEST_F(KitProfileKeeperTest, ADeviceThatIsThereIsChanged) {
    const PluggedDevices devices(1);
    system_.PlugUnnoticed(Widen(devices.GetPaths().at(0)));

    Keep(ProfileOf("Gain", "12"));

    EXPECT_THAT(recorder_.Await(1), ElementsAre("Gain -> 12"));
    EXPECT_EQ(Value(12LL), GainOf(devices.GetPaths().at(0)));
}

TEST_F(KitProfileKeeperTest, ADeviceThatComesBackIsChangedAgain) {
    auto devices = std::make_unique<PluggedDevices>(1);
    const std::wstring path = Widen(devices->GetPaths().at(0));
    Keep(ProfileOf("Gain", "12"));
    system_.Plug(path);
    recorder_.Await(1);

    devices.reset();
    system_.Unplug(path);
    devices = std::make_unique<PluggedDevices>(1);
    system_.Plug(path);

    EXPECT_THAT(recorder_.Await(2), ElementsAre("Gain -> 12", "Gain -> 12"));
    EXPECT_EQ(Value(12LL), GainOf(devices->GetPaths().at(0)));
}

TEST_F(KitProfileKeeperTest, ADeviceThatIsReportedBeforeItIsReadyIsTriedAgain) {
    auto devices = std::make_unique<PluggedDevices>(1);
    const std::wstring path = Widen(devices->GetPaths().at(0));
    devices.reset();
    KeepOptions options;
    options.patience = std::chrono::minutes(1);
    Keep(ProfileOf("Gain", "12"), options);

    system_.Plug(path);
    devices = std::make_unique<PluggedDevices>(1);

    EXPECT_THAT(recorder_.Await(1), ElementsAre("Gain -> 12"));
}

TEST_F(KitProfileKeeperTest, ADeviceThatDoesNotOpenIsReportedWhenThePatienceIsOver) {
    KeepOptions options;
    options.patience = std::chrono::milliseconds(120);
    Keep(ProfileOf("Gain", "12"), options);
    const QvKit::Stopwatch time;

    system_.Plug(kNowhere);

    EXPECT_THAT(recorder_.Await(1).at(0), StartsWith("! the device '"));
    EXPECT_GE(time.GetTime(), options.patience);
}

TEST_F(KitProfileKeeperTest, ADeviceThatWasGivenUpIsNotReportedAgain) {
    KeepOptions options;
    options.patience = std::chrono::milliseconds(1);
    Keep(ProfileOf("Gain", "12"), options);
    system_.Plug(kNowhere);
    recorder_.Await(1);

    system_.Plug(L"\\\\?\\root#elsewhere#0");

    EXPECT_THAT(recorder_.Await(2),
                ElementsAre(HasSubstr("root#nowhere"), HasSubstr("root#elsewhere")));
}

TEST_F(KitProfileKeeperTest, ADeviceThatGoesBeforeItOpensIsReportedAtOnce) {
    KeepOptions options;
    options.patience = std::chrono::hours(1);
    system_.PlugUnnoticed(kNowhere);
    Keep(ProfileOf("Gain", "12"), options);

    system_.Unplug(kNowhere);

    EXPECT_THAT(recorder_.Await(1).at(0), HasSubstr("was removed"));
}

TEST_F(KitProfileKeeperTest, ADeviceThatGoesBeforeTheChangeIsSentIsReportedAsRemoved) {
    auto devices = std::make_unique<PluggedDevices>(1);
    const std::wstring path = Widen(devices->GetPaths().at(0));
    const ImportPatch patch("CreateMutexW", &MakeMutex, nullptr);
    ASSERT_TRUE(patch.IsActive());
    theBeforeSending = [&] { devices.reset(); };
    Keep(ProfileOf("Gain", "12"));

    system_.Plug(path);

    EXPECT_THAT(recorder_.Await(1).at(0),
                StartsWith("Gain -> ?! the device has been removed: nothing was sent, as the "
                           "device's parameters cannot be read: "));
    system_.Unplug(path);
    devices = std::make_unique<PluggedDevices>(1);
    system_.Plug(Widen(devices->GetPaths().at(0)));
    EXPECT_EQ("Gain -> 12", recorder_.Await(2).at(1));
}

TEST_F(KitProfileKeeperTest, ADeviceThatHasGoneIsReportedOnce) {
    KeepOptions options;
    options.patience = std::chrono::milliseconds(100);
    Keep(ProfileOf("Gain", "12"), options);
    system_.Plug(kNowhere);

    system_.Unplug(kNowhere);

    recorder_.Await(1);
    std::this_thread::sleep_for(3 * options.patience);
    EXPECT_EQ(1u, recorder_.Get().size());
}

TEST_F(KitProfileKeeperTest, OptionsOfSendingHold) {
    const PluggedDevices devices(1);
    const std::string& path = devices.GetPaths().at(0);
    const ImportPatch patch("CreateMutexW", &MakeMutex, nullptr);
    ASSERT_TRUE(patch.IsActive());
    theBeforeSending = [&] {
        Device other(QvKit::MakeAddress(path));
        QvKit::Change change(other.LoadParameters());
        change.Set("Gain", "7");
        EXPECT_FALSE(change.Send().error);
    };
    KeepOptions options;
    options.sending.isRefusedIfChanged = true;
    system_.PlugUnnoticed(Widen(path));

    Keep(ProfileOf("Gain", "12"), options);

    EXPECT_THAT(recorder_.Await(1).at(0), HasSubstr("nothing was sent"));
    EXPECT_EQ(Value(7LL), GainOf(path));
}

TEST_F(KitProfileKeeperTest, ADeviceThatTheProfileDoesNotFitDoesNotEndIt) {
    const PluggedDevices devices(1);
    const std::wstring path = Widen(devices.GetPaths().at(0));
    system_.PlugUnnoticed(path);
    Keep(ProfileOf("Gain", "61"));
    recorder_.Await(1);

    system_.Unplug(path);
    system_.Plug(path);

    const std::string refused =
        "Gain -> ?! Gain=61 refused: Value does not fit in the range (allowed: 0 to 60 dB; line "
        "2); nothing was sent";
    EXPECT_THAT(recorder_.Await(2), ElementsAre(refused, refused));
}

TEST_F(KitProfileKeeperTest, SettingsThatTheDeviceLacksAreReported) {
    const PluggedDevices devices(1);
    system_.PlugUnnoticed(Widen(devices.GetPaths().at(0)));
    std::vector<std::string> missing;
    const QvKit::StopSignal isDone;
    KeepOptions options;
    options.choice.isMissingIgnored = true;
    ProfileKeeper keeper(
        kScriptedClass, ProfileOf("Volume", "1"), options,
        [&](const ProfileKeeper::Result& aResult) {
            missing = aResult.rest.missing;
            isDone.Request();
        },
        system_.Get());
    keeper.Start();

    EXPECT_TRUE(isDone.WaitFor(QvKit::kNoLimit));
    keeper.Stop();
    EXPECT_THAT(missing, ElementsAre("Volume"));
}

TEST_F(KitProfileKeeperTest, StoppingEndsTheTriesOfADevice) {
    KeepOptions options;
    options.patience = std::chrono::hours(1);
    system_.PlugUnnoticed(kNowhere);
    Keep(ProfileOf("Gain", "12"), options);

    keeper_->Stop();

    EXPECT_THAT(recorder_.Get(), IsEmpty());
}

TEST_F(KitProfileKeeperTest, NoFurtherDeviceIsChangedWhenTheListenerStopsIt) {
    const PluggedDevices devices(2);
    for (const std::string& path : devices.GetPaths()) system_.PlugUnnoticed(Widen(path));
    const Value former = GainOf(devices.GetPaths().at(1));
    const QvKit::StopSignal isCalled;
    ProfileKeeper keeper(
        kScriptedClass, ProfileOf("Gain", "12"), KeepOptions(),
        [&](const ProfileKeeper::Result& aResult) {
            recorder_.Add(aResult.device.path);
            keeper.Stop();
            isCalled.Request();
        },
        system_.Get());

    keeper.Start();
    ASSERT_TRUE(isCalled.WaitFor(QvKit::kNoLimit));
    keeper.Stop();

    EXPECT_THAT(recorder_.Get(), ElementsAre(testing::StrCaseEq(devices.GetPaths().at(0))));
    EXPECT_EQ(former, GainOf(devices.GetPaths().at(1)));
}

TEST_F(KitProfileKeeperTest, WhatIsStoppedWhileADeviceIsChangedReportsNothing) {
    const PluggedDevices devices(1);
    const std::string& path = devices.GetPaths().at(0);
    const ImportPatch patch("CreateMutexW", &MakeMutex, nullptr);
    ASSERT_TRUE(patch.IsActive());
    const QvKit::StopSignal isStopped;
    theBeforeSending = [&] {
        keeper_->Stop();  // Does not wait for its own thread.
        isStopped.Request();
    };
    Keep(ProfileOf("Gain", "12"));
    system_.Plug(Widen(path));
    ASSERT_TRUE(isStopped.WaitFor(QvKit::kNoLimit));

    keeper_->Stop();  // Waits for the device that is being changed.

    EXPECT_THAT(recorder_.Get(), IsEmpty());
    EXPECT_EQ(Value(12LL), GainOf(path));
}

TEST_F(KitProfileKeeperTest, TheListenerMayDestroyItsKeeper) {
    const PluggedDevices devices(1);
    const std::wstring path = Widen(devices.GetPaths().at(0));
    const QvKit::StopSignal isDone;
    const auto alive = std::make_shared<int>();
    std::unique_ptr<ProfileKeeper> keeper;
    keeper = std::make_unique<ProfileKeeper>(
        kScriptedClass, ProfileOf("Gain", "12"), KeepOptions(),
        [&keeper, &isDone, alive](const ProfileKeeper::Result&) {
            keeper.reset();
            isDone.Request();
        },
        system_.Get());
    keeper->Start();

    system_.Plug(path);

    EXPECT_TRUE(isDone.WaitFor(QvKit::kNoLimit));
    EXPECT_EQ(nullptr, keeper);
    // The keeper's thread lets go of all that it has, and then ends.
    while (alive.use_count() > 1) std::this_thread::yield();
}

}  // namespace
}  // namespace QvTests
