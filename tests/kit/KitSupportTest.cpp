// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Errors, texts, time and stop signals of the kit.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "KitTestSupport.h"
#include "QvKit/Clock.h"
#include "QvKit/ControlCode.h"
#include "QvKit/Error.h"
#include "QvKit/Spelling.h"
#include "QvKit/StopSignal.h"
#include "QvKit/Text.h"
#include "UniqueHandle.h"

namespace {

using QvKit::Error;
using QvKit::ErrorKind;
using QvTests::ErrorOf;
using QvTests::kJapanese;
using QvTests::ManualClock;
using std::chrono::milliseconds;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// Control codes

TEST(KitControlCodeTest, ANumberIsTakenApartAsTheSystemsMacroMakesIt) {
    const QvKit::ControlCode code = QvKit::ControlCode::FromNumber(0x8001BFF6);

    EXPECT_EQ("device 0x8001, function 0xffd, out-direct, write access", code.ToText());
    EXPECT_EQ(0x8001BFF6, code.ToNumber());
    for (const unsigned long number : {0ul, 0xFFFFFFFFul, 0x222004ul, 0x4000ul, 0x3ul}) {
        EXPECT_EQ(number, QvKit::ControlCode::FromNumber(number).ToNumber());
    }
}

TEST(KitControlCodeTest, TextsAreNumbersOrPartsWithNames) {
    struct {
        const char* text;
        unsigned long number;
    } const cases[] = {
        {"0x222004", 0x222004},         {"2236420", 0x222004},
        {"0X222004", 0x222004},         {"0x22:0x801:buffered:any", 0x222004},
        {"34:2049:0:0", 0x222004},      {"0xffff:0xfff:neither:read-write", 0xFFFFFFFF},
        {"0:0:in-direct:read", 0x4001}, {"0:1:out-direct:write", 0x8006}};
    for (const auto& oneCase : cases) {
        EXPECT_EQ(oneCase.number, QvKit::ParseControlCode(oneCase.text).ToNumber()) << oneCase.text;
    }
}

TEST(KitControlCodeTest, OtherTextsAreWrongUse) {
    for (const char* text : {"", "0x", "-1", "+1", " 1", "1 ", "0x100000000", "4294967296", "1:2",
                             "1:2:3:0:", ":::", "0x10000:0:0:0", "0:0x1000:0:0", "0:0:4:0",
                             "0:0:Buffered:0", "0:0:0:rw"}) {
        const auto error = ErrorOf([&] { (void)QvKit::ParseControlCode(text); });

        ASSERT_TRUE(error.has_value()) << text;
        EXPECT_EQ(ErrorKind::WrongUse, error->GetKind()) << text;
    }
}

TEST(KitControlCodeTest, AWrongPartIsNamedWithWhatIsPossible) {
    const auto mistake = [](const char* aText) {
        return QvTests::MessageOf([&] { (void)QvKit::ParseControlCode(aText); });
    };

    EXPECT_EQ("'x' is no device type, a number from 0 to 0xffff", mistake("x:0:0:0"));
    EXPECT_EQ("'4096' is no function, a number from 0 to 0xfff", mistake("0:4096:0:0"));
    EXPECT_EQ("'x' is no method: buffered, in-direct, out-direct or neither", mistake("0:0:x:0"));
    EXPECT_EQ("'x' is no access: any, read, write or read-write", mistake("0:0:0:x"));
}

// Errors

TEST(KitErrorTest, RefusalsAreTheMessageTogether) {
    const Error error({{"A", "1", "no", "", 18}, {"B", std::nullopt, "nor this", "x", 25}},
                      "nothing was sent");

    EXPECT_STREQ("A=1 refused: no; B: nor this (x); nothing was sent", error.what());
    EXPECT_EQ(ErrorKind::Refused, error.GetKind());
    EXPECT_THAT(error.GetRefusals(), SizeIs(2));
    EXPECT_EQ("nothing was sent", error.GetConsequence());
    EXPECT_FALSE(error.GetCode().has_value());
}

TEST(KitErrorTest, RefusalsMayHaveNoConsequence) {
    EXPECT_STREQ("A: no", Error({{"A", std::nullopt, "no", "", 18}}).what());
}

TEST(KitErrorTest, SystemErrorHasTheSystemsCodeAndWords) {
    const Error error = QvKit::SystemError(ErrorKind::SystemFailed, "cannot open 'x'", 5);

    EXPECT_THAT(error.what(), StartsWith("cannot open 'x': error 5: "));
    EXPECT_EQ(5u, error.GetCode());
    EXPECT_EQ(ErrorKind::SystemFailed, error.GetKind());
    EXPECT_EQ(QvKit::SystemErrorText(5), error.GetReason());
}

TEST(KitErrorTest, WithoutASeparateReasonTheMessageIsIt) {
    EXPECT_EQ("interrupted", Error(ErrorKind::Cancelled, "interrupted").GetReason());
}

TEST(KitErrorTest, ACodeWithoutWordsStandsAlone) {
    EXPECT_THAT(QvKit::SystemText(0x2FFFFFFF), IsEmpty());
    EXPECT_EQ("error 805306367", QvKit::SystemErrorText(0x2FFFFFFF));
    EXPECT_EQ("error 2147483647", QvKit::SystemErrorText(0x7FFFFFFF));
    EXPECT_EQ("error 0x80000000", QvKit::SystemErrorText(0x80000000).substr(0, 16));
}

// Texts

TEST(KitTextTest, ACharacterBeyondTheBasicPlaneComesBack) {
    const std::string clef = "\xF0\x9D\x84\x9E";

    EXPECT_EQ(L"\xD834\xDD1E", QvKit::FromUtf8(clef));
    EXPECT_EQ(clef, QvKit::ToUtf8(QvKit::FromUtf8(clef)));
}

TEST(KitTextTest, ALoneSurrogateIsNotWellFormed) {
    EXPECT_FALSE(QvKit::IsWellFormed(L"a\xD834"));
    EXPECT_TRUE(QvKit::IsWellFormed(L"a\xD834\xDD1E"));
    EXPECT_EQ("a\xEF\xBF\xBD", QvKit::ToUtf8(L"a\xD834"));
}

TEST(KitTextTest, AnEmptyTextStaysEmpty) {
    EXPECT_THAT(QvKit::ToUtf8(L""), IsEmpty());
    EXPECT_THAT(QvKit::FromUtf8(""), IsEmpty());
}

TEST(KitTextTest, ALibraryTextKeepsWhatTheCodePageLacks) {
    EXPECT_EQ(kJapanese, QvKit::FromLibraryText(QvKit::ToLibraryText(kJapanese)));
}

TEST(KitTextTest, AnsiIsRefusedWhenACharacterWouldBecomeAnother) {
    EXPECT_EQ("plain", QvKit::ToAnsi("plain"));
    EXPECT_FALSE(QvKit::ToAnsi(kJapanese).has_value());
    // U+0100, which the system would make an A.
    EXPECT_FALSE(QvKit::ToAnsi("\xC4\x80").has_value());
}

// Spelling

TEST(KitSpellingTest, AWordWithAMistakeIsFound) {
    const std::vector<std::string> known = {"show", "set", "stream", "SamplingInterval"};

    EXPECT_EQ("show", QvKit::FindNearestWord("hsow", known));
    EXPECT_EQ("show", QvKit::FindNearestWord("SHOW", known));
    EXPECT_EQ("stream", QvKit::FindNearestWord("strean", known));
    EXPECT_EQ("stream", QvKit::FindNearestWord("strea", known));
    EXPECT_EQ("set", QvKit::FindNearestWord("sett", known));
    EXPECT_EQ("SamplingInterval", QvKit::FindNearestWord("samplinginteval", known));
}

TEST(KitSpellingTest, ALetterInTheOtherCaseIsNoMistake) {
    EXPECT_EQ("AZAZAZ", QvKit::FindNearestWord("azazaz", {"AZAZAZ"}));
    EXPECT_EQ("", QvKit::FindNearestWord("@[@[@[", {"`{`{`{"}));
}

TEST(KitSpellingTest, AWordThatIsNotNearIsNotFound) {
    const std::vector<std::string> known = {"show", "set", "stream"};

    EXPECT_EQ("", QvKit::FindNearestWord("", known));
    EXPECT_EQ("", QvKit::FindNearestWord("frobnicate", known));
    EXPECT_EQ("", QvKit::FindNearestWord("go", known));
    EXPECT_EQ("", QvKit::FindNearestWord("ship", known));
}

// Time

TEST(KitClockTest, AStopwatchCountsFromWhenItWasMade) {
    ManualClock clock;
    const QvKit::Stopwatch stopwatch(clock);

    clock.now += std::chrono::seconds(2);

    EXPECT_EQ(std::chrono::seconds(2), stopwatch.GetTime());
    EXPECT_EQ(2.0, stopwatch.GetSeconds());
}

TEST(KitClockTest, TheSystemsClockDoesNotGoBack) {
    const QvKit::Clock& clock = QvKit::Clock::GetSystemClock();
    const std::chrono::nanoseconds before = clock.GetTime();

    EXPECT_LE(before, clock.GetTime());
}

// Stop signals

TEST(KitStopSignalTest, ItStaysRequested) {
    const QvKit::StopSignal stop;
    EXPECT_FALSE(stop.IsRequested());

    stop.Request();

    EXPECT_TRUE(stop.IsRequested());
    EXPECT_TRUE(stop.WaitFor(QvKit::kNoLimit));
}

TEST(KitStopSignalTest, AWaitEndsWithoutARequestWhenItsTimeIsOver) {
    const QvKit::StopSignal stop;

    EXPECT_FALSE(stop.WaitFor(milliseconds(1)));
    EXPECT_FALSE(stop.WaitFor(milliseconds(-1)));
}

TEST(KitStopSignalTest, AWaitOnAnotherThreadEndsWithTheRequest) {
    const QvKit::StopSignal stop;
    auto waiter = std::async(std::launch::async, [&] { return stop.WaitFor(QvKit::kNoLimit); });

    stop.Request();

    EXPECT_TRUE(waiter.get());
}

TEST(KitStopSignalTest, AWaitForEitherEndsWithEachOfThem) {
    const QvKit::StopSignal stop;
    const QvKit::StopSignal other;
    EXPECT_FALSE(stop.WaitForEither(other, milliseconds(1)));
    const QvKit::StopSignal requested;
    requested.Request();

    EXPECT_TRUE(stop.WaitForEither(requested, QvKit::kNoLimit));
    EXPECT_TRUE(requested.WaitForEither(stop, QvKit::kNoLimit));
}

HANDLE WINAPI CreateNoEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR) {
    ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return nullptr;
}

TEST(KitStopSignalTest, WithoutAnEventOfTheSystemThereIsNone) {
    const QvTests::ImportPatch patch("CreateEventA", &CreateNoEvent, nullptr);
    ASSERT_TRUE(patch.IsActive());

    const auto error = ErrorOf([] { const QvKit::StopSignal stop; });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_STREQ("the system cannot create an event", error->what());
    EXPECT_EQ(1450u, error->GetCode());
}

// Owners

class UniqueHandleTest : public testing::Test {
protected:
    static void Close(int* aHandle) { closed_.push_back(aHandle); }
    using Handle = QvBaseLib::UniqueHandle<int*, &Close>;

    void SetUp() override { closed_.clear(); }

    inline static std::vector<int*> closed_;
    int first_ = 1;
    int second_ = 2;
};

TEST_F(UniqueHandleTest, ClosesWhatIsValidOnce) {
    {
        const Handle valid(&first_);
        const Handle invalid(static_cast<int*>(INVALID_HANDLE_VALUE));
        const Handle empty;
        EXPECT_TRUE(valid.IsValid());
        EXPECT_FALSE(invalid.IsValid());
        EXPECT_FALSE(empty.IsValid());
    }
    EXPECT_THAT(closed_, testing::ElementsAre(&first_));
}

TEST_F(UniqueHandleTest, AMoveClosesTheTargetsHandleAndLeavesTheSourceEmpty) {
    {
        Handle source(&first_);
        Handle target(&second_);
        target = std::move(source);
        EXPECT_THAT(closed_, testing::ElementsAre(&second_));
        EXPECT_EQ(&first_, target.Get());
    }
    EXPECT_THAT(closed_, testing::ElementsAre(&second_, &first_));
}

TEST_F(UniqueHandleTest, AReleasedHandleIsTheCallers) {
    {
        Handle handle(&first_);
        EXPECT_EQ(&first_, handle.Release());
        EXPECT_FALSE(handle.IsValid());
    }
    EXPECT_THAT(closed_, IsEmpty());
}

}  // namespace
