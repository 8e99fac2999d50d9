// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Result.h"

#include <cstring>
#include <string>
#include <vector>

#include "QvUserLib/Parameter.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

constexpr char kLongText[] =
    "a description that is long enough to notice when its memory is reused";

Result Described(unsigned long aCode, const char* aText) {
    Result result(aCode);
    result.SetDescription("%s", aText);
    return result;
}

// Keeps compilers from seeing that a format is null.
const char* NoText() { return nullptr; }

TEST(ResultTest, HoldsNotSetUntilAnOutcomeIsAssigned) {
    const Result result;

    EXPECT_EQ(1541u, result.GetCode());
    EXPECT_EQ(nullptr, result.GetDescription());
}

TEST(ResultTest, IsBuiltFromACodeImplicitly) {
    const auto operation = []() -> Result { return 0x1C; };

    EXPECT_THAT(operation(), IsBareCode(Code::NotAllowed));
}

TEST(ResultTest, FieldsStandInTheDocumentedOrder) {
    const Result result = Described(0x12345678, "text");
    unsigned char bytes[sizeof(Result)];
    std::memcpy(bytes, &result, sizeof bytes);

    unsigned long code = 0;
    const char* description = nullptr;
    std::memcpy(&code, bytes, sizeof code);
    std::memcpy(&description, bytes + 8, sizeof description);

    EXPECT_EQ(16u, sizeof(Result));
    EXPECT_EQ(0x12345678u, code);
    EXPECT_EQ(result.GetDescription(), description);
}

TEST(ResultTest, CodesHaveTheirNumbers) {
    const struct {
        Code code;
        unsigned long number;
    } cases[] = {
        {Code::Success, 0},           {Code::NotSet, 1541},        {Code::CannotOpenFile, 6},
        {Code::InvalidHandle, 8},     {Code::ShortWrite, 9},       {Code::UnexpectedSize, 14},
        {Code::FileNotOpen, 16},      {Code::InvalidArgument, 18}, {Code::NotConnected, 23},
        {Code::OutOfMemory, 24},      {Code::NotFound, 25},        {Code::NotAllowed, 28},
        {Code::SystemCallFailed, 29}, {Code::TimedOut, 30},        {Code::NoSuchDevice, 32},
        {Code::NotSupported, 35},     {Code::AlreadyOpen, 514},    {Code::Md5Unavailable, 1280},
        {Code::Pending, 65535},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(entry.number, static_cast<unsigned long>(entry.code));
        EXPECT_THAT(Result(entry.code), IsBareCode(entry.number));
    }
}

TEST(ResultTest, FailuresAreCodesWithLowBitsSet) {
    const struct {
        unsigned long code;
        bool isFailure;
    } cases[] = {
        {0, false},          {1, true},          {259, true},     {0x605, true},
        {0xFFFF, true},      {0x10000, false},   {0x10001, true}, {0x10103, true},
        {0xFFFF0000, false}, {0x80070005, true}, {0x8000, true},  {0x80000000, false},
        {0xFFFFFFFF, true},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.code);
        EXPECT_EQ(entry.isFailure, Result(entry.code).IsFailure());
        EXPECT_EQ(!entry.isFailure, Result(entry.code).IsSuccess());
    }
}

TEST(ResultTest, CopyOwnsADescriptionOfItsOwn) {
    Result original = Described(5, kLongText);

    const Result copy(original);
    original.SetDescription("changed");

    EXPECT_THAT(copy, HasCode(5));
    EXPECT_STREQ(kLongText, copy.GetDescription());
    EXPECT_NE(original.GetDescription(), copy.GetDescription());
}

TEST(ResultTest, AssignmentOwnsADescriptionOfItsOwn) {
    Result original = Described(5, kLongText);
    Result target = Described(6, "earlier");

    Result& returned = target = original;
    original.SetDescription("changed");

    EXPECT_EQ(&target, &returned);
    EXPECT_THAT(target, HasCode(5));
    EXPECT_STREQ(kLongText, target.GetDescription());
}

TEST(ResultTest, CopyOutlivesItsSource) {
    Result copy;
    {
        const Result source = Described(5, kLongText);
        copy = source;
    }
    EXPECT_THAT(copy, HasCode(5));
    EXPECT_STREQ(kLongText, copy.GetDescription());
}

TEST(ResultTest, AssignmentOfABareResultDropsTheDescription) {
    Result target = Described(5, kLongText);

    target = Result(7);

    EXPECT_THAT(target, IsBareCode(7));
}

TEST(ResultTest, AssignmentToItselfKeepsCodeAndDescription) {
    Result result = Described(5, kLongText);
    const Result& same = result;

    result = same;

    EXPECT_THAT(result, HasCode(5));
    EXPECT_STREQ(kLongText, result.GetDescription());
}

TEST(ResultTest, BareResultsStayBareThroughAnyNumberOfCopies) {
    std::vector<Result> results(1, Result(0x19));
    for (int i = 0; i < 1000; ++i) {
        const Result copy(results.back());
        results.push_back(copy);
        results.front() = copy;
    }
    for (const Result& result : results) ASSERT_THAT(result, IsBareCode(0x19));
}

TEST(ResultTest, MergingKeepsTheFirstFailureAndReplacesASuccess) {
    const struct {
        unsigned long code;
        unsigned long later;
        unsigned long merged;
    } cases[] = {
        {0, 0, 0},           {0, 0x12, 0x12},       {0x12, 0, 0x12},
        {0x12, 0x19, 0x12},  {0, 0x10000, 0x10000}, {0x10000, 0, 0},
        {0x10000, 259, 259}, {259, 0, 259},         {259, 5, 259},
        {1541, 0, 1541},     {0, 1541, 1541},       {0xFFFF, 0, 0xFFFF},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(testing::Message() << entry.code << " |= " << entry.later);
        Result result(entry.code);
        Result& returned = result |= Result(entry.later);
        EXPECT_EQ(&result, &returned);
        EXPECT_THAT(result, IsBareCode(entry.merged));
    }
}

TEST(ResultTest, MergingKeepsTheDescriptionOfTheFirstFailure) {
    Result failure = Described(0x12, "first");

    failure |= Described(0x19, "second");

    EXPECT_STREQ("first", failure.GetDescription());
}

TEST(ResultTest, MergingReplacesASuccessTogetherWithItsDescription) {
    Result described = Described(0, "went well");
    described |= Described(0x19, "second");
    Result bare = Described(0, "went well");
    bare |= Result(0x19);

    EXPECT_STREQ("second", described.GetDescription());
    EXPECT_THAT(bare, IsBareCode(0x19));
}

TEST(ResultTest, MergingWithItselfChangesNothing) {
    Result success = Described(0, kLongText);
    Result failure = Described(5, kLongText);

    success |= success;
    failure |= failure;

    EXPECT_THAT(success, HasCode(0));
    EXPECT_STREQ(kLongText, success.GetDescription());
    EXPECT_THAT(failure, HasCode(5));
    EXPECT_STREQ(kLongText, failure.GetDescription());
}

TEST(ResultTest, DescriptionIsExpandedAndTheCodeStays) {
    Result result(0x1D);

    result.SetDescription("%s %d of %lu, %c%%", "step", -3, 7ul, 'x');

    EXPECT_THAT(result, HasCode(0x1D));
    EXPECT_STREQ("step -3 of 7, x%", result.GetDescription());
}

TEST(ResultTest, DescriptionReplacesAnEarlierOne) {
    Result result = Described(5, kLongText);

    result.SetDescription("short");
    EXPECT_STREQ("short", result.GetDescription());

    result.SetDescription("%s", "");
    EXPECT_STREQ("", result.GetDescription());
}

TEST(ResultTest, DescriptionArgumentsMayPointIntoTheEarlierOne) {
    Result result = Described(5, kLongText);

    result.SetDescription("%s; %s", result.GetDescription() + 2, result.GetDescription());

    EXPECT_EQ(std::string(kLongText).substr(2) + "; " + kLongText, result.GetDescription());
}

TEST(ResultTest, DescriptionHasAnyLength) {
    const std::string text(100000, 'x');

    EXPECT_TRUE(text == Described(5, text.c_str()).GetDescription());
}

TEST(ResultTest, NullFormatLeavesNoDescription) {
    Result result = Described(5, kLongText);

    result.SetDescription(NoText());

    EXPECT_THAT(result, IsBareCode(5));
}

TEST(ResultTest, FailureOfAnOperationIsBareAlsoWhenItWasLogged) {
    QvUserLib::Parameter gain(QvUserLib::String("Gain"), 1);
    gain.InitInteger(/*aValue=*/5, /*aMin=*/0, /*aMax=*/10);

    EXPECT_THAT(gain.SetInt(11), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ("Value does not fit in the range", LastErrorText());
}

}  // namespace
}  // namespace QvTests
