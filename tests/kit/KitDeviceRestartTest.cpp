// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Restarting devices, on a system with scripted answers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "KitTestSupport.h"
#include "QvKit/DeviceRestart.h"
#include "QvKit/StopSignal.h"
#include "ScriptedDeviceRecords.h"

namespace QvTests {
namespace {

using QvKit::ErrorKind;
using QvKit::RestartAnswer;
using QvKit::RestartSettings;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr QvKit::NodeStatus kStopped = {/*isTold=*/true, /*isStarted=*/false, /*problem=*/0};
constexpr RestartAnswer kDone = {ERROR_SUCCESS, /*needsMachineRestart=*/false};

// A device with two paths that works.
class KitDeviceRestartTest : public testing::Test {
protected:
    KitDeviceRestartTest() {
        device_.status = kWorking;
        records_.interfaces = {{GUID(), L"\\\\?\\b", kMeterId, true},
                               {GUID(), L"\\\\?\\a", kMeterId, true}};
        settings_.limit = std::chrono::milliseconds(50);
        records_.restart = [] { return kDone; };
    }

    std::vector<std::string> Restart(const char* aName = kMeterName) {
        return QvKit::RestartDevice(aName, settings_, records_);
    }

    QvKit::Error Failure(const char* aName = kMeterName) {
        const auto error = ErrorOf([&] { Restart(aName); });
        EXPECT_TRUE(error);
        return error.value_or(QvKit::Error(ErrorKind::WrongUse, "no error"));
    }

    QvKit::Error Refusal(const RestartAnswer& aAnswer) {
        records_.restart = [aAnswer] { return aAnswer; };
        return Failure();
    }

    void SetActive(bool aIsActive) {
        for (QvKit::KnownInterface& one : records_.interfaces) one.isActive = aIsActive;
    }

    ScriptedDeviceRecords records_;
    ScriptedDevice& device_ = records_.devices[kMeterId];
    RestartSettings settings_;
};

TEST_F(KitDeviceRestartTest, ADeviceThatIsBackHasItsPaths) {
    EXPECT_THAT(Restart(), ElementsAre("\\\\?\\a", "\\\\?\\b"));
}

TEST_F(KitDeviceRestartTest, ItIsWaitedForUntilItHasStarted) {
    settings_.limit = std::chrono::seconds(30);
    int looks = 0;
    records_.restart = [&] {
        device_.status = kStopped;
        SetActive(false);
        records_.afterList = [&] {
            ++looks;
            if (looks == 2) device_.status = kWorking;
            if (looks == 4) SetActive(true);
        };
        return kDone;
    };

    EXPECT_THAT(Restart(), ElementsAre("\\\\?\\a", "\\\\?\\b"));
    EXPECT_LE(4, looks);
}

TEST_F(KitDeviceRestartTest, ADeviceThatDoesNotStartAgainIsTooLate) {
    records_.restart = [&] {
        device_.status = kStopped;
        return kDone;
    };

    const QvKit::Error error = Failure();

    EXPECT_EQ(ErrorKind::TimedOut, error.GetKind());
    EXPECT_STREQ("'USB\\METER\\7' has not started again (within 50 ms)", error.what());
}

TEST_F(KitDeviceRestartTest, ADeviceWithoutOneOfItsPathsIsTooLate) {
    records_.restart = [&] {
        records_.interfaces[0].isActive = false;
        return kDone;
    };

    EXPECT_EQ(ErrorKind::TimedOut, Failure().GetKind());
}

TEST_F(KitDeviceRestartTest, ADeviceThatVanishesIsTooLate) {
    records_.restart = [&] {
        records_.devices.clear();
        return kDone;
    };

    EXPECT_EQ(ErrorKind::TimedOut, Failure().GetKind());
}

TEST_F(KitDeviceRestartTest, AFailedStartIsToldInWords) {
    records_.restart = [&] {
        device_.status = {/*isTold=*/true, /*isStarted=*/false, /*problem=*/10};
        return kDone;
    };

    const QvKit::Error error = Failure();

    EXPECT_EQ(ErrorKind::DeviceFailed, error.GetKind());
    EXPECT_STREQ(
        "'USB\\METER\\7' has not started again: problem 10: its driver failed to start it (within "
        "50 ms)",
        error.what());
}

TEST_F(KitDeviceRestartTest, AWaitCanBeStopped) {
    settings_.limit = QvKit::kNoLimit;
    const QvKit::StopSignal stop;
    settings_.stop = &stop;
    records_.restart = [&] {
        device_.status = kStopped;
        stop.Request();
        return kDone;
    };

    EXPECT_EQ(ErrorKind::Cancelled, Failure().GetKind());
}

TEST_F(KitDeviceRestartTest, ADeviceThatCannotBeStoppedIsInUse) {
    const QvKit::Error error = Refusal({ERROR_SUCCESS, /*needsMachineRestart=*/true});

    EXPECT_EQ(ErrorKind::DeviceInUse, error.GetKind());
    EXPECT_STREQ(
        "cannot restart 'USB\\METER\\7': it cannot be stopped now; close the programs that have it "
        "open, or restart the machine",
        error.what());
}

TEST_F(KitDeviceRestartTest, WithoutTheRightTheAdviceIsToBeAdministrator) {
    const QvKit::Error error = Refusal({ERROR_ACCESS_DENIED, false});

    EXPECT_EQ(ErrorKind::AccessDenied, error.GetKind());
    EXPECT_EQ(ERROR_ACCESS_DENIED, error.GetCode());
    EXPECT_THAT(error.what(), HasSubstr("run this program as administrator"));
}

TEST_F(KitDeviceRestartTest, ASystemThatCannotRestartDevicesSaysSo) {
    for (const DWORD code :
         {static_cast<DWORD>(ERROR_CALL_NOT_IMPLEMENTED), static_cast<DWORD>(ERROR_NOT_SUPPORTED),
          static_cast<DWORD>(ERROR_DI_DO_DEFAULT)}) {
        const QvKit::Error error = Refusal({code, false});

        EXPECT_EQ(ErrorKind::SystemFailed, error.GetKind());
        EXPECT_STREQ("cannot restart 'USB\\METER\\7': this system cannot restart devices",
                     error.what());
    }
}

TEST_F(KitDeviceRestartTest, OtherRefusalsAreTheSystems) {
    const QvKit::Error error = Refusal({ERROR_INVALID_DATA, false});

    EXPECT_EQ(ErrorKind::SystemFailed, error.GetKind());
    EXPECT_EQ(ERROR_INVALID_DATA, error.GetCode());
}

TEST_F(KitDeviceRestartTest, WhatIsNotThereIsNotRestarted) {
    records_.restart = []() -> RestartAnswer {
        ADD_FAILURE() << "restarted";
        return kDone;
    };
    EXPECT_EQ(ErrorKind::NoSuchDevice, Failure("USB\\OTHER\\1").GetKind());

    device_.status = std::nullopt;
    EXPECT_STREQ("the device 'USB\\METER\\7' is not present", Failure().what());
}

}  // namespace
}  // namespace QvTests
