// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What becomes of changes: on devices that round, forget, refuse and vanish, beside other programs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "FakeDevice.h"
#include "KitTestSupport.h"
#include "QvKit/Change.h"
#include "QvKit/Clock.h"
#include "QvKit/StopSignal.h"
#include "UniqueHandle.h"

namespace {

using QvKit::Change;
using QvKit::ChangeOutcome;
using QvKit::Edit;
using QvKit::ErrorKind;
using QvKit::SendOptions;
using QvKit::Value;
using QvKit::Verdict;
using QvTests::Enumeration;
using QvTests::FakeDevice;
using QvTests::Integer;
using QvTests::kSlowFast;
using QvTests::Record;
using QvTests::Text;
using QvUserLib::Result;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Restoring = ChangeOutcome::Restoring;

constexpr SendOptions kAllOrNothing{true, false};
constexpr SendOptions kIfUnchanged{false, true};

// Gain is 5 dB, Rate 5, Mode (2) Slow, Label (3) empty.
std::vector<Record> Records() {
    return {Integer(1, L"Gain", 5, "dB"), Integer(4, L"Rate", 5), Enumeration(kSlowFast, 0),
            Text(L"")};
}

std::vector<Verdict> VerdictsOf(const ChangeOutcome& aOutcome) {
    std::vector<Verdict> verdicts;
    for (const Edit& edit : aOutcome.edits) verdicts.push_back(edit.verdict);
    return verdicts;
}

std::string MessageOf(const ChangeOutcome& aOutcome) {
    return aOutcome.error ? aOutcome.error->what() : "";
}

class KitChangeTest : public testing::Test {
protected:
    ChangeOutcome Send(const std::string& aName, const std::string& aText,
                       const SendOptions& aOptions = SendOptions()) {
        change_.Set(aName, aText);
        return change_.Send(aOptions);
    }

    // Gain and Rate, both from 5 to 7.
    ChangeOutcome SendBoth(const SendOptions& aOptions = SendOptions()) {
        change_.Set("Gain", "7");
        return Send("Rate", "7", aOptions);
    }

    // The device keeps another number than it was sent.
    void Keep(unsigned int aId, unsigned int aNumber) {
        device_.onRecord = [=](const Record& aSent, Record& aHeld) {
            FakeDevice::Take(aSent, aHeld);
            if (aSent.id == aId) aHeld.value = aNumber;
        };
    }

    // Does something right before the request that sets, or before the load in front of it.
    void BeforeRequest(unsigned long aCode, const std::function<void()>& aStep) {
        device_.connection.onRequest = [=] {
            if (device_.connection.requests.back().code == aCode) aStep();
        };
    }

    FakeDevice device_{Records()};
    Change change_{device_.parameters};
};

// Without another program, on a device that obeys

TEST_F(KitChangeTest, AllEditsGoInOneRequestAndWhatIsUnchangedStays) {
    change_.Set("Gain", "6");
    change_.Set("Rate", "5");

    const ChangeOutcome outcome = Send("Mode", "Fast");

    EXPECT_THAT(device_.GetSent(), SizeIs(2));
    EXPECT_EQ("", MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Taken, Verdict::Taken, Verdict::Taken));
    EXPECT_EQ(Value(5LL), outcome.edits[0].setting.value);
    EXPECT_EQ(Value(6LL), outcome.edits[0].after);
    EXPECT_EQ(Value(6LL), outcome.edits[0].held);
    EXPECT_TRUE(outcome.edits[0].IsChange());
    EXPECT_FALSE(outcome.edits[1].IsChange());
}

TEST_F(KitChangeTest, ASettingIsFoundByItsIdentifier) {
    change_.Set(1UL, "6 dB");
    change_.Reset(4UL);
    change_.Set(77UL, "1");

    const ChangeOutcome plan = change_.GetPlan();

    EXPECT_EQ("Gain", plan.edits[0].setting.name);
    EXPECT_EQ(Value(0LL), plan.edits[1].after);
    EXPECT_EQ("parameter 77=1 refused: The specified parameter doesn't exist; nothing was sent",
              MessageOf(plan));
}

TEST_F(KitChangeTest, NothingIsSentWhenOneEditIsRefused) {
    change_.Set("Gain", "6");
    change_.Set("Rate", "101");

    const ChangeOutcome outcome = Send("X", "7");

    EXPECT_EQ(ErrorKind::Refused, outcome.error->GetKind());
    EXPECT_EQ(
        "Rate=101 refused: Value does not fit in the range (allowed: 0 to 100); "
        "X=7 refused: The specified parameter doesn't exist; nothing was sent",
        MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome),
                ElementsAre(Verdict::NotSent, Verdict::Refused, Verdict::Refused));
    EXPECT_THAT(device_.connection.requests, IsEmpty());
}

TEST_F(KitChangeTest, APlanSendsNothing) {
    change_.Set("Gain", "6");

    const ChangeOutcome plan = change_.GetPlan();

    EXPECT_EQ("", MessageOf(plan));
    EXPECT_THAT(VerdictsOf(plan), ElementsAre(Verdict::NotSent));
    EXPECT_TRUE(plan.edits[0].IsChange());
    EXPECT_THAT(device_.connection.requests, IsEmpty());
}

// Devices that do not keep what they take

TEST_F(KitChangeTest, AnotherNumberThanAskedForIsRounded) {
    Keep(1, 8);

    const ChangeOutcome outcome = Send("Gain", "7");

    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Rounded));
    EXPECT_EQ(Value(8LL), outcome.edits[0].held);
    EXPECT_EQ(ErrorKind::ChangedMeanwhile, outcome.error->GetKind());
    EXPECT_EQ(
        "Gain holds 8 dB instead of 7 dB: rounded by the device, or changed by another program "
        "meanwhile",
        MessageOf(outcome));
}

TEST_F(KitChangeTest, TheFormerNumberIsNotKept) {
    Keep(1, 5);

    const ChangeOutcome outcome = SendBoth();

    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::NotKept, Verdict::Taken));
    EXPECT_EQ(ErrorKind::ChangedMeanwhile, outcome.error->GetKind());
    EXPECT_EQ(
        "Gain holds 5 dB instead of 7 dB: changed by another program meanwhile, or not kept by "
        "the device",
        MessageOf(outcome));
}

TEST_F(KitChangeTest, AnotherTextOrEntryIsNotKept) {
    FakeDevice device({Enumeration(std::wstring(L"A\0B\0C\0", 6), 0), Text(L"")});
    device.onRecord = [](const Record&, Record& aHeld) {
        aHeld.value = 1;
        aHeld.content.string.valueText[0] = L'x';
    };
    Change change(device.parameters);
    change.Set("Mode", "C");
    change.Set("Label", "y");

    EXPECT_THAT(VerdictsOf(change.Send()), ElementsAre(Verdict::NotKept, Verdict::NotKept));
}

TEST_F(KitChangeTest, ANumberThatWasNotSentIsNotRounded) {
    BeforeRequest(IOCTL_PARAMETERS_SET, [this] { device_.At(4).value = 9; });
    change_.Set("Gain", "6");

    EXPECT_THAT(VerdictsOf(Send("Rate", "5")), ElementsAre(Verdict::Taken, Verdict::NotKept));
}

TEST_F(KitChangeTest, AVolatileValueIsNotJudged) {
    FakeDevice device({Integer(1, L"Level", 5, "", QV_PARAMETER_VOLATILE)});
    device.onRecord = [](const Record&, Record& aHeld) { aHeld.value = 8; };
    Change change(device.parameters);
    change.Set("Level", "7");

    const ChangeOutcome outcome = change.Send();

    EXPECT_EQ("", MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Taken));
    EXPECT_EQ(Value(8LL), outcome.edits[0].held);
}

TEST_F(KitChangeTest, AParameterThatTheDeviceLosesIsGone) {
    device_.onRecord = [](const Record&, Record& aHeld) { aHeld.id = 9; };

    const ChangeOutcome outcome = Send("Gain", "7");

    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Gone));
    EXPECT_EQ("the device does not have Gain any more", MessageOf(outcome));
}

TEST_F(KitChangeTest, ARefusalByTheDriverNamesWhatWasSent) {
    device_.connection.setResult = Result(5);
    device_.onRecord = [](const Record&, Record&) {};
    change_.Set("Mode", "Slow");

    const ChangeOutcome outcome = SendBoth();

    EXPECT_EQ(ErrorKind::DeviceFailed, outcome.error->GetKind());
    EXPECT_EQ(5u, outcome.error->GetCode());
    EXPECT_EQ("the device refused the change of Gain, Rate: code 0x5", MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome),
                ElementsAre(Verdict::Taken, Verdict::NotKept, Verdict::NotKept));
}

// Devices that vanish: every request from this one on fails

struct Phase {
    const char* name;
    std::size_t first;
    SendOptions options;
    Verdict verdict;
    Restoring restoring;
    const char* message;
};

class KitVanishingDeviceTest : public KitChangeTest, public testing::WithParamInterface<Phase> {};

TEST_P(KitVanishingDeviceTest, TheOutcomeSaysWhatIsKnown) {
    auto& connection = device_.connection;
    Keep(4, 5);
    connection.onRequest = [&] {
        if (connection.requests.size() < GetParam().first) return;
        connection.sizeResult = connection.getResult = connection.setResult = Result(31);
        device_.onRecord = [](const Record&, Record&) {};
    };

    const ChangeOutcome outcome = SendBoth(GetParam().options);

    EXPECT_EQ(GetParam().message, MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome), testing::Contains(GetParam().verdict));
    EXPECT_EQ(GetParam().restoring, outcome.restoring);
}

// A load is two requests.
const Phase kPhases[] = {
    {"BeforeSending", 1, kAllOrNothing, Verdict::NotSent, Restoring::NotNeeded,
     "nothing was sent, as the device's parameters cannot be read: code 0x1f"},
    {"WhileSending", 3, SendOptions(), Verdict::Unknown, Restoring::NotNeeded,
     "the device refused the change of Gain, Rate: code 0x1f"},
    {"WhileComparing", 4, SendOptions(), Verdict::Unknown, Restoring::NotNeeded,
     "the change was sent, but the device's parameters cannot be read: code 0x1f"},
    {"BeforeRestoring", 4, kAllOrNothing, Verdict::Unknown, Restoring::Failed,
     "the change was sent, but the device's parameters cannot be read: code 0x1f; the former "
     "values could not be restored: the device's parameters cannot be read: code 0x1f"},
    {"WhileRestoring", 8, kAllOrNothing, Verdict::Taken, Restoring::Failed,
     "Rate holds 5 instead of 7: changed by another program meanwhile, or not kept by the device; "
     "the former values could not be restored: the device refused them: code 0x1f"},
    {"AfterRestoring", 9, kAllOrNothing, Verdict::Taken, Restoring::Failed,
     "Rate holds 5 instead of 7: changed by another program meanwhile, or not kept by the device; "
     "the former values could not be restored: the device's parameters cannot be read: code 0x1f"},
};

INSTANTIATE_TEST_SUITE_P(Phases, KitVanishingDeviceTest, testing::ValuesIn(kPhases),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

// Beside another program

TEST_F(KitChangeTest, WhatAnotherProgramChangedIsReported) {
    device_.At(1).value = 9;

    const ChangeOutcome outcome = SendBoth();

    EXPECT_EQ("", MessageOf(outcome));
    EXPECT_EQ(Value(5LL), outcome.edits[0].readBefore);
    EXPECT_EQ(Value(9LL), outcome.edits[0].setting.value);
    EXPECT_FALSE(outcome.edits[1].readBefore.has_value());
}

TEST_F(KitChangeTest, TheFormerValueIsSentIfAnotherProgramChangedIt) {
    device_.At(1).value = 9;

    const ChangeOutcome outcome = Send("Gain", "5");

    ASSERT_THAT(device_.GetSent(), SizeIs(1));
    EXPECT_EQ(5u, device_.GetSent()[0].value);
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Taken));
}

TEST_F(KitChangeTest, WhatAnotherProgramChangedIsRefusedIfThatIsWanted) {
    device_.At(1).value = 9;

    const ChangeOutcome outcome = SendBoth(kIfUnchanged);

    EXPECT_EQ(ErrorKind::Refused, outcome.error->GetKind());
    EXPECT_EQ(
        "Gain=7 refused: Another program has changed it meanwhile (it was 5 dB, and is 9 dB now); "
        "nothing was sent",
        MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Refused, Verdict::NotSent));
    EXPECT_THAT(device_.GetSent(), IsEmpty());
}

TEST_F(KitChangeTest, OtherSettingsMayHaveChanged) {
    device_.At(4).value = 9;

    EXPECT_EQ("", MessageOf(Send("Gain", "7", kIfUnchanged)));
}

TEST_F(KitChangeTest, AVolatileValueCountsAsUnchanged) {
    FakeDevice device({Integer(1, L"Level", 5, "", QV_PARAMETER_VOLATILE)});
    Change change(device.parameters);
    change.Set("Level", "7");
    device.At(1).value = 9;

    EXPECT_EQ("", MessageOf(change.Send(kIfUnchanged)));
}

TEST_F(KitChangeTest, ASettingThatHasGoneBeforeSendingIsRefused) {
    change_.Set("Rate", "7");
    device_.connection.records.erase(device_.connection.records.begin() + 1);

    const ChangeOutcome outcome = change_.Send();

    EXPECT_EQ("Rate=7 refused: The specified parameter doesn't exist; nothing was sent",
              MessageOf(outcome));
    EXPECT_THAT(device_.GetSent(), IsEmpty());
}

// All or nothing

TEST_F(KitChangeTest, TheFormerValuesAreRestoredInOneRequest) {
    Keep(4, 5);
    change_.Set("Mode", "Fast");
    change_.Set("Label", "x");

    const ChangeOutcome outcome = SendBoth(kAllOrNothing);

    ASSERT_THAT(device_.GetSendings(), SizeIs(2));
    EXPECT_THAT(device_.GetSendings()[1], SizeIs(3));
    EXPECT_EQ(5u, device_.At(1).value);
    EXPECT_EQ(0u, device_.At(2).value);
    EXPECT_EQ(L'\0', device_.At(3).content.string.valueText[0]);
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Restored, Verdict::Restored,
                                                 Verdict::Restored, Verdict::NotKept));
    EXPECT_EQ(Restoring::Done, outcome.restoring);
    EXPECT_EQ(
        "Rate holds 5 instead of 7: changed by another program meanwhile, or not kept by the "
        "device; the former values were restored",
        MessageOf(outcome));
}

TEST_F(KitChangeTest, WithoutAllOrNothingWhatWasKeptStays) {
    Keep(4, 5);

    const ChangeOutcome outcome = SendBoth();

    EXPECT_THAT(device_.GetSendings(), SizeIs(1));
    EXPECT_EQ(7u, device_.At(1).value);
    EXPECT_EQ(Restoring::NotNeeded, outcome.restoring);
}

TEST_F(KitChangeTest, ARoundedNumberCountsAsKept) {
    Keep(4, 8);

    const ChangeOutcome outcome = SendBoth(kAllOrNothing);

    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Taken, Verdict::Rounded));
    EXPECT_EQ(Restoring::NotNeeded, outcome.restoring);
}

TEST_F(KitChangeTest, NothingIsRestoredWhenTheDriverTookNothing) {
    device_.connection.setResult = Result(5);
    device_.onRecord = [](const Record&, Record&) {};

    const ChangeOutcome outcome = SendBoth(kAllOrNothing);

    EXPECT_THAT(device_.GetSendings(), SizeIs(1));
    EXPECT_EQ(Restoring::NotNeeded, outcome.restoring);
    EXPECT_EQ("the device refused the change of Gain, Rate: code 0x5", MessageOf(outcome));
}

TEST_F(KitChangeTest, WhatADriverTookOfARefusedRequestIsRestored) {
    device_.connection.setResult = Result(5);
    device_.connection.onRequest = [this] {
        if (device_.GetSendings().size() == 2) device_.connection.setResult = Result(0);
    };

    const ChangeOutcome outcome = SendBoth(kAllOrNothing);

    EXPECT_EQ(5u, device_.At(1).value);
    EXPECT_EQ(Restoring::Done, outcome.restoring);
    EXPECT_EQ(
        "the device refused the change of Gain, Rate: code 0x5; the former values were restored",
        MessageOf(outcome));
}

TEST_F(KitChangeTest, AFailedRestoringSaysWhatTheDeviceHoldsNow) {
    Keep(4, 5);
    device_.connection.onRequest = [this] {
        if (device_.GetSendings().size() < 2) return;
        device_.connection.setResult = Result(5);
        device_.onRecord = [](const Record&, Record&) {};
    };
    change_.Set("Mode", "Fast");

    const ChangeOutcome outcome = SendBoth(kAllOrNothing);

    EXPECT_EQ(Restoring::Failed, outcome.restoring);
    EXPECT_EQ(
        "Rate holds 5 instead of 7: changed by another program meanwhile, or not kept by the "
        "device; the former values could not be restored: the device refused them: code 0x5; the "
        "device holds Mode=Fast, Gain=7 now",
        MessageOf(outcome));
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Taken, Verdict::Taken, Verdict::NotKept));
}

TEST_F(KitChangeTest, ValuesThatTheDeviceDoesNotTakeBackAreNamed) {
    device_.onRecord = [](const Record& aSent, Record& aHeld) {
        if (aSent.value == 7 && aSent.id == 1) aHeld.value = 7;
    };

    const ChangeOutcome outcome = SendBoth(kAllOrNothing);

    EXPECT_EQ(Restoring::Failed, outcome.restoring);
    EXPECT_THAT(MessageOf(outcome),
                testing::EndsWith("could not be restored; the device holds Gain=7 now"));
}

TEST_F(KitChangeTest, TheWaitForAnotherProgramCanBeStopped) {
    const QvBaseLib::KernelHandle turn(
        ::CreateMutexW(nullptr, FALSE, L"Global\\QvKit change of a device"));
    const QvKit::StopSignal hasTurn;
    const QvKit::StopSignal isOver;
    const auto other = std::async(std::launch::async, [&] {
        ::WaitForSingleObject(turn.Get(), INFINITE);
        hasTurn.Request();
        (void)isOver.WaitFor(QvKit::kNoLimit);
        ::ReleaseMutex(turn.Get());
    });
    ASSERT_TRUE(hasTurn.WaitFor(QvKit::kNoLimit));
    const QvKit::StopSignal stop;
    stop.Request();
    const QvKit::Stopwatch stopwatch;

    const ChangeOutcome outcome = Send("Gain", "6", {false, false, &stop});

    EXPECT_LT(stopwatch.GetTime(), std::chrono::seconds(5));
    EXPECT_FALSE(outcome.error);
    isOver.Request();
    other.wait();
}

TEST_F(KitChangeTest, AnotherProgramsValueIsNotOverwritten) {
    BeforeRequest(IOCTL_PARAMETERS_SET, [this] { device_.At(4).value = 9; });
    change_.Set("Gain", "6");

    const ChangeOutcome outcome = Send("Rate", "5", kAllOrNothing);

    EXPECT_EQ(9u, device_.At(4).value);
    EXPECT_EQ(5u, device_.At(1).value);
    EXPECT_THAT(VerdictsOf(outcome), ElementsAre(Verdict::Restored, Verdict::NotKept));
}

}  // namespace
