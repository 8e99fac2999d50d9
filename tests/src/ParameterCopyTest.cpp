// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a parameter takes over when it is copied, assigned or set from another one.

#include <climits>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "FailingAllocations.h"
#include "LoggedErrors.h"
#include "QvUserLib/Parameter.h"
#include "SampleParameters.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

void SetNewValues(OneOfEachType& aParameters) {
    ASSERT_THAT(aParameters.enumeration.SetInt(1), IsBareCode(0));
    ASSERT_THAT(aParameters.real.SetDouble(1.75), IsBareCode(0));
    ASSERT_THAT(aParameters.integer.SetInt(7), IsBareCode(0));
    ASSERT_THAT(aParameters.string.SetString("new"), IsBareCode(0));
    ASSERT_THAT(aParameters.boolean.SetBool(false), IsBareCode(0));
}

// SetParameter

TEST(ParameterCopyTest, SetParameterTakesTheValueByType) {
    OneOfEachType from;
    OneOfEachType to;
    SetNewValues(from);
    for (const std::size_t index : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(index);
        EXPECT_THAT(to.all[index]->SetParameter(from.all[index]), IsBareCode(Code::Success));
        EXPECT_TRUE(to.all[index]->HasChanged(/*aReset=*/false));
    }
    EXPECT_EQ(String("Fast"), to.enumeration.GetString());
    EXPECT_EQ(1.75, to.real.GetDouble());
    EXPECT_EQ(7, to.integer.GetInt());
    EXPECT_EQ(String("new"), to.string.GetString());
    EXPECT_FALSE(to.boolean.GetBool());
}

TEST(ParameterCopyTest, SetParameterKeepsTheTextOfABoolean) {
    const BoolParameter source(false);
    BoolParameter target(true);

    EXPECT_THAT(target.SetParameter(&source), IsBareCode(Code::Success));

    EXPECT_FALSE(target.GetBool());
    EXPECT_EQ(String("TRUE"), target.GetString());
}

TEST(ParameterCopyTest, SetParameterGivesABooleanAnyIntegerOfItsRange) {
    const IntegerParameter source(7, 0, 10);
    BoolParameter target(true);

    EXPECT_THAT(target.SetParameter(&source), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kOutOfRange, LastErrorText());
    EXPECT_EQ(1, target.GetInt());

    ASSERT_THAT(target.SetRange(0LL, 10LL), IsBareCode(0));
    EXPECT_THAT(target.SetParameter(&source), IsBareCode(Code::Success));
    EXPECT_EQ(7, target.GetInt());
}

TEST(ParameterCopyTest, SetParameterReadsOtherTypesWithTheirFallbacks) {
    const UntypedParameter source;
    IntegerParameter integer(5, 0, 10);
    DoubleParameter real(1.5, 0.0, 2.0);
    StringParameter string("text");

    EXPECT_THAT(integer.SetParameter(&source), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(5, integer.GetInt());
    ASSERT_THAT(integer.SetRange(0LL, kNoInt), IsBareCode(0));
    EXPECT_THAT(integer.SetParameter(&source), IsBareCode(Code::Success));
    EXPECT_EQ(kNoInt, integer.GetInt());
    EXPECT_THAT(real.SetParameter(&source), IsBareCode(Code::Success));
    EXPECT_EQ(0.0, real.GetDouble());
    EXPECT_THAT(string.SetParameter(&source), IsBareCode(Code::Success));
    EXPECT_TRUE(string.GetString().IsEmpty());
}

TEST(ParameterCopyTest, SetParameterTakesNullWithItsFallbacks) {
    IntegerParameter integer(5, 0, LLONG_MAX);
    DoubleParameter real(1.5, 1.0, 1e10);
    StringParameter string("text");

    EXPECT_THAT(integer.SetParameter(MissingParameter()), IsBareCode(Code::Success));
    EXPECT_EQ(4294967295LL, integer.GetInt());
    EXPECT_THAT(real.SetParameter(MissingParameter()), IsBareCode(Code::Success));
    EXPECT_EQ(4294967295.0, real.GetDouble());
    EXPECT_THAT(string.SetParameter(MissingParameter()), IsBareCode(Code::Success));
    EXPECT_TRUE(string.GetString().IsEmpty());
}

TEST(ParameterCopyTest, SetParameterOfNullReportsARefusedFallback) {
    IntegerParameter integer(5, 0, 10);

    EXPECT_THAT(integer.SetParameter(MissingParameter()), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kOutOfRange, LastErrorText());
    EXPECT_EQ(5, integer.GetInt());
}

TEST(ParameterCopyTest, SetParameterCopiesNothingToGroupsAndUntypedOnes) {
    OneOfEachType from;
    OneOfEachType to;
    AddTo(*from.group.members, new IntegerParameter(7, 0, 10));
    const Parameter* const member = AddTo(*to.group.members, new IntegerParameter(5, 0, 10));
    const ErrorWatch watch;

    EXPECT_THAT(to.group.SetParameter(&from.group), IsBareCode(0x605));
    EXPECT_THAT(to.untyped.SetParameter(&from.untyped), IsBareCode(0x605));

    EXPECT_EQ(5, member->GetInt());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterCopyTest, SetParameterOfReadOnlyOnesIsRefusedForEveryType) {
    OneOfEachType one;
    for (Parameter* const parameter : one.all) {
        SCOPED_TRACE(parameter->GetName().GetAscii());
        ASSERT_THAT(parameter->SetReadOnly(true), IsBareCode(0));
        const ErrorWatch watch;
        EXPECT_THAT(parameter->SetParameter(MissingParameter()), IsBareCode(Code::NotAllowed));
        EXPECT_EQ(kReadOnly, LastErrorText());
    }
}

TEST(ParameterCopyTest, SetParameterOfMissingOnesIsRefused) {
    const IntegerParameter source(5, 0, 10);

    EXPECT_THAT(MissingParameter()->SetParameter(&source), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kMissing, LastErrorText());
}

TEST(ParameterCopyTest, SetParameterLeavesTheSourceAsItIs) {
    IntegerParameter source(5, 0, 10);
    ASSERT_THAT(source.SetInt(7), IsBareCode(0));
    IntegerParameter target(5, 0, 10);

    ASSERT_THAT(target.SetParameter(&source), IsBareCode(0));

    EXPECT_TRUE(source.HasChanged(/*aReset=*/false));
    EXPECT_EQ(7, source.GetInt());
}

// operator=

TEST(ParameterCopyTest, AssignmentTakesTheValueByType) {
    OneOfEachType from;
    OneOfEachType to;
    SetNewValues(from);

    for (std::size_t index = 0; index < 7; ++index) *to.all[index] = *from.all[index];

    EXPECT_EQ(1, to.enumeration.GetInt());
    EXPECT_EQ(1.75, to.real.GetDouble());
    EXPECT_EQ(7, to.integer.GetInt());
    EXPECT_EQ(String("new"), to.string.GetString());
    EXPECT_EQ(0, to.boolean.GetInt());
}

TEST(ParameterCopyTest, AssignmentSetsTheTextOfABoolean) {
    const BoolParameter source(false);
    BoolParameter target(true);
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(String("FALSE"), target.GetString());
}

TEST(ParameterCopyTest, AssignmentGivesABooleanTheTruthOfAnInteger) {
    const IntegerParameter source(7, 0, 10);
    BoolParameter target(false);
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(1, target.GetInt());
    EXPECT_EQ(String("TRUE"), target.GetString());
}

TEST(ParameterCopyTest, AssignmentReturnsItsTarget) {
    const IntegerParameter source(7, 0, 10);
    IntegerParameter target(5, 0, 10);
    Parameter& assigned = target;

    EXPECT_EQ(&target, &(assigned = source));
}

TEST(ParameterCopyTest, AssignmentTakesNothingButTheValue) {
    IntegerParameter source(7, 1, 9, "Source", 71);
    source.SetIndex(8);
    ASSERT_THAT(source.SetDescription("source"), IsBareCode(0));
    ASSERT_THAT(source.SetHidden(true), IsBareCode(0));
    ASSERT_THAT(source.SetEnabled(false), IsBareCode(0));
    IntegerParameter target(5, 0, 10, "Target", 72);
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(String("Target"), target.GetName());
    EXPECT_EQ(72u, target.GetID());
    EXPECT_EQ(0u, target.GetIndex());
    EXPECT_TRUE(target.GetDescription().IsEmpty());
    EXPECT_FALSE(target.IsHidden());
    EXPECT_TRUE(target.IsEnabled());
    EXPECT_EQ(0, target.GetMinInt());
    EXPECT_EQ(10, target.GetMaxInt());
    EXPECT_EQ(5, target.GetDefaultInt());
}

TEST(ParameterCopyTest, AssignmentTakesNoEntries) {
    EnumParameter source({"One", "Two", "Three"});
    ASSERT_THAT(source.SetInt(1), IsBareCode(0));
    EnumParameter target({"Slow", "Fast"});
    Parameter& assigned = target;

    assigned = source;
    EXPECT_EQ(String("Fast"), target.GetString());

    ASSERT_THAT(source.SetInt(2), IsBareCode(0));
    assigned = source;
    EXPECT_EQ(String("Fast"), target.GetString());
}

TEST(ParameterCopyTest, AssignmentToReadOnlyOnesIsOnlyLogged) {
    const IntegerParameter source(7, 0, 10);
    IntegerParameter target(5, 0, 10);
    ASSERT_THAT(target.SetReadOnly(true), IsBareCode(0));
    Parameter& assigned = target;

    const auto lines = LoggedErrorsWithoutLines([&] { assigned = source; });

    EXPECT_EQ(5, target.GetInt());
    EXPECT_THAT(lines, ElementsAre("[0x1c] .\\Parameter(#) ERR  - Parameter is read-only"));
}

TEST(ParameterCopyTest, AssignmentOfAValueOutsideTheRangeIsOnlyLogged) {
    const IntegerParameter source(11, 0, 20);
    IntegerParameter target(5, 0, 10);
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(5, target.GetInt());
    EXPECT_EQ(kOutOfRange, LastErrorText());
}

TEST(ParameterCopyTest, AssignmentReadsOtherTypesWithTheirFallbacks) {
    const UntypedParameter source;
    IntegerParameter integer(5, 0, LLONG_MAX);
    StringParameter string("text");
    BoolParameter boolean(true);
    for (Parameter* const target :
         {static_cast<Parameter*>(&integer), static_cast<Parameter*>(&string),
          static_cast<Parameter*>(&boolean)}) {
        *target = source;
    }

    EXPECT_EQ(kNoInt, integer.GetInt());
    EXPECT_TRUE(string.GetString().IsEmpty());
    EXPECT_FALSE(boolean.GetBool());
}

TEST(ParameterCopyTest, AssignmentToUntypedOnesDoesNothing) {
    const ErrorWatch watch;
    const IntegerParameter source(7, 0, 10);
    UntypedParameter target;
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(Parameter::TypeNone, target.GetType());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterCopyTest, AssignmentToItselfCountsAsNoChange) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetInt(7), IsBareCode(0));
    Parameter& assigned = parameter;
    const Parameter& source = parameter;

    assigned = source;

    EXPECT_EQ(7, parameter.GetInt());
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, AssignmentLeavesTheMarkOfTheSource) {
    IntegerParameter source(5, 0, 10);
    ASSERT_THAT(source.SetInt(7), IsBareCode(0));
    IntegerParameter target(5, 0, 10);
    Parameter& assigned = target;

    assigned = source;

    EXPECT_TRUE(source.HasChanged(/*aReset=*/false));
    EXPECT_TRUE(target.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, AssignmentOfGroupsMatchesMembersByIdentifier) {
    GroupParameter source;
    AddTo(*source.members, new IntegerParameter(7, 0, 10, "Other name", 1));
    AddTo(*source.members, new IntegerParameter(8, 0, 10, "Only here", 2));
    GroupParameter target;
    const Parameter* const shared =
        AddTo(*target.members, new IntegerParameter(5, 0, 10, "Gain", 1));
    const Parameter* const alone = AddTo(*target.members, new IntegerParameter(6, 0, 10, "B", 3));
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(7, shared->GetInt());
    EXPECT_EQ(6, alone->GetInt());
    EXPECT_EQ(2u, target.members->GetCount());
}

TEST(ParameterCopyTest, AssignmentOfGroupsLooksAtTheMarksOfTheMembersOnly) {
    GroupParameter source;
    AddTo(*source.members, new IntegerParameter(7, 0, 10));
    GroupParameter target;
    ASSERT_THAT(target.SetReadOnly(true), IsBareCode(0));
    const Parameter* const member = AddTo(*target.members, new IntegerParameter(5, 0, 10));
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(7, member->GetInt());
}

TEST(ParameterCopyTest, AssignmentOfGroupsReachesMembersTwoDeep) {
    GroupParameter source;
    GroupParameter target;
    const Parameter* member = nullptr;
    for (GroupParameter* const group : {&source, &target}) {
        auto* const inner = AddTo(*group->members, new GroupParameter("Inner", 61));
        member = AddTo(*inner->members, new IntegerParameter(group == &source ? 7 : 5, 0, 10));
    }
    Parameter& assigned = target;

    assigned = source;

    EXPECT_EQ(7, member->GetInt());
}

TEST(ParameterCopyTest, AssignmentOfAGroupNeedsMembersOnBothSides) {
    GroupParameter group;
    const Parameter* const member = AddTo(*group.members, new IntegerParameter(5, 0, 10));
    GroupParameter empty;
    empty.InitRepository(nullptr);
    const IntegerParameter number(7, 0, 10);
    Parameter& assigned = group;
    Parameter& assignedEmpty = empty;

    assigned = empty;
    assigned = number;
    assignedEmpty = group;

    EXPECT_EQ(5, member->GetInt());
    EXPECT_EQ(1u, group.members->GetCount());
    EXPECT_EQ(nullptr, empty.GetRepository());
}

// Copy constructor

TEST(ParameterCopyTest, CopyHasTheSameIdentity) {
    IntegerParameter source(5, 0, 10, "Gain", 17);
    source.SetIndex(8);
    ASSERT_THAT(source.SetDescription("about"), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_EQ(String("Gain"), copy.GetName());
    EXPECT_EQ(17u, copy.GetID());
    EXPECT_EQ(8u, copy.GetIndex());
    EXPECT_EQ(String("about"), copy.GetDescription());
}

TEST(ParameterCopyTest, CopyHasTheSameTypeAndValue) {
    OneOfEachType one;
    ASSERT_THAT(one.enumeration.SetInt(1), IsBareCode(0));
    for (const Parameter* const source : one.all) {
        SCOPED_TRACE(source->GetName().GetAscii());
        const Parameter copy(*source);
        EXPECT_EQ(source->GetType(), copy.GetType());
        EXPECT_EQ(source->GetInt(), copy.GetInt());
        EXPECT_EQ(source->GetDouble(), copy.GetDouble());
        EXPECT_EQ(source->GetString(), copy.GetString());
        EXPECT_EQ(source->GetDefaultInt(), copy.GetDefaultInt());
        EXPECT_EQ(source->GetDefaultString(), copy.GetDefaultString());
        EXPECT_EQ(source->GetMinInt(), copy.GetMinInt());
        EXPECT_EQ(source->GetMaxInt(), copy.GetMaxInt());
        EXPECT_EQ(source->GetMinDouble(), copy.GetMinDouble());
        EXPECT_EQ(source->GetMaxDouble(), copy.GetMaxDouble());
    }
}

TEST(ParameterCopyTest, CopyHasTheSameMarks) {
    struct {
        QvUserLib::Result (Parameter::*set)(bool);
        bool (Parameter::*is)() const;
    } const marks[] = {{&Parameter::SetReadOnly, &Parameter::IsReadOnly},
                       {&Parameter::SetHidden, &Parameter::IsHidden},
                       {&Parameter::SetVolatile, &Parameter::IsVolatile},
                       {&Parameter::SetEnabled, &Parameter::IsEnabled},
                       {&Parameter::SetPersistent, &Parameter::IsPersistent},
                       {&Parameter::SetAdvanced, &Parameter::IsAdvanced},
                       {&Parameter::SetRestartRequired, &Parameter::IsRestartRequired}};
    for (std::size_t chosen = 0; chosen < std::size(marks); ++chosen) {
        SCOPED_TRACE(chosen);
        UntypedParameter source;
        for (std::size_t index = 0; index < std::size(marks); ++index) {
            ASSERT_THAT((source.*marks[index].set)(index == chosen), IsBareCode(0));
        }
        const Parameter copy(source);
        for (std::size_t index = 0; index < std::size(marks); ++index) {
            EXPECT_EQ(index == chosen, (copy.*marks[index].is)());
        }
    }
}

TEST(ParameterCopyTest, PendingChangeMovesToTheCopy) {
    IntegerParameter integer(5, 0, 10);
    StringParameter string("text");
    EnumParameter enumeration({"Slow", "Fast"});
    ASSERT_THAT(integer.SetInt(7), IsBareCode(0));
    ASSERT_THAT(string.SetString("new"), IsBareCode(0));
    ASSERT_THAT(enumeration.SetInt(1), IsBareCode(0));
    for (const Parameter* const source :
         {static_cast<Parameter*>(&integer), static_cast<Parameter*>(&string),
          static_cast<Parameter*>(&enumeration)}) {
        SCOPED_TRACE(source->GetName().GetAscii());
        const Parameter copy(*source);
        EXPECT_TRUE(copy.HasChanged(/*aReset=*/false));
        EXPECT_FALSE(source->HasChanged(/*aReset=*/false));
    }
}

TEST(ParameterCopyTest, IntegerCopyAwayFromItsDefaultIsMarked) {
    IntegerParameter source(5, 0, 10);
    ASSERT_THAT(source.SetInt(7), IsBareCode(0));
    ASSERT_TRUE(source.HasChanged(/*aReset=*/true));

    const Parameter copy(source);

    EXPECT_TRUE(copy.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, IntegerCopyAtItsDefaultIsNotMarked) {
    IntegerParameter source(5, 0, 10);
    ASSERT_THAT(source.SetInt(7), IsBareCode(0));
    ASSERT_THAT(source.SetDefaultInt(7), IsBareCode(0));
    ASSERT_TRUE(source.HasChanged(/*aReset=*/false));

    const Parameter copy(source);

    EXPECT_FALSE(copy.HasChanged(/*aReset=*/false));
    EXPECT_FALSE(source.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, StringCopyAwayFromItsDefaultIsMarked) {
    StringParameter source("default");
    ASSERT_THAT(source.SetString("value"), IsBareCode(0));
    ASSERT_TRUE(source.HasChanged(/*aReset=*/true));

    const Parameter copy(source);

    EXPECT_TRUE(copy.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, EnumerationCopyAwayFromTheFirstEntryIsMarked) {
    EnumParameter source({"Slow", "Fast"});
    ASSERT_THAT(source.SetDefaultInt(1), IsBareCode(0));
    ASSERT_THAT(source.SetInt(1), IsBareCode(0));
    ASSERT_TRUE(source.HasChanged(/*aReset=*/true));

    EXPECT_TRUE(Parameter(source).HasChanged(/*aReset=*/false));

    ASSERT_THAT(source.SetInt(0), IsBareCode(0));
    EXPECT_FALSE(Parameter(source).HasChanged(/*aReset=*/false));
    EXPECT_FALSE(source.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, DoubleAndBooleanCopiesAreNotMarked) {
    OneOfEachType one;
    ASSERT_THAT(one.real.SetDouble(1.75), IsBareCode(0));
    ASSERT_THAT(one.boolean.SetBool(false), IsBareCode(0));
    for (const Parameter* const source :
         {static_cast<Parameter*>(&one.real), static_cast<Parameter*>(&one.boolean)}) {
        SCOPED_TRACE(source->GetName().GetAscii());
        EXPECT_FALSE(Parameter(*source).HasChanged(/*aReset=*/false));
        EXPECT_FALSE(source->HasChanged(/*aReset=*/false));
    }
}

TEST(ParameterCopyTest, ValueThatTheCopyRefusesLeavesTheMovedMark) {
    IntegerParameter source(5, 0, 10);
    ASSERT_THAT(source.SetInt(7), IsBareCode(0));
    ASSERT_THAT(source.SetRange(0LL, 6LL), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_EQ(5, copy.GetInt());
    EXPECT_TRUE(copy.HasChanged(/*aReset=*/false));
    EXPECT_EQ(kOutOfRange, LastErrorText());
}

TEST(ParameterCopyTest, DoubleOutsideItsRangeIsStillCopied) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const DoubleParameter beyond(5.0, 1.0, 2.0);
    const DoubleParameter nan(kNaN, 1.0, 2.0);

    EXPECT_EQ(5.0, Parameter(beyond).GetDouble());
    EXPECT_NE(Parameter(nan).GetDouble(), Parameter(nan).GetDouble());
}

TEST(ParameterCopyTest, DefaultOfADoubleCopyIsTheValue) {
    DoubleParameter source(1.5, 1.0, 2.0);
    ASSERT_THAT(source.SetDouble(1.75), IsBareCode(0));

    Parameter copy(source);

    ASSERT_THAT(copy.SetDouble(1.25), IsBareCode(0));
    ASSERT_THAT(copy.ResetDefault(), IsBareCode(0));
    EXPECT_EQ(1.75, copy.GetDouble());
}

TEST(ParameterCopyTest, DefaultOfABooleanCopyIsTheValue) {
    BoolParameter source(false);
    ASSERT_THAT(source.SetBool(true), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_EQ(1, copy.GetDefaultInt());
    EXPECT_EQ(String("TRUE"), copy.GetDefaultString());
}

TEST(ParameterCopyTest, BooleanCopyHasTextAndRangeOfABoolean) {
    BoolParameter source(true);
    ASSERT_THAT(source.SetRange(-5LL, 5LL), IsBareCode(0));
    ASSERT_THAT(source.SetInt(0), IsBareCode(0));
    ASSERT_EQ(String("TRUE"), source.GetString());

    const Parameter copy(source);

    EXPECT_EQ(String("FALSE"), copy.GetString());
    EXPECT_EQ(0, copy.GetMinInt());
    EXPECT_EQ(1, copy.GetMaxInt());
}

TEST(ParameterCopyTest, DefaultOfAStringCopyIsItsEightBitForm) {
    StringParameter source("default");
    ASSERT_THAT(source.SetDefaultString(L"\u4e2d"), IsBareCode(0));
    ASSERT_THAT(source.SetString(L"\u6587"), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_STREQ(L"?", copy.GetDefaultString().GetUnicode());
    // Both become a question mark, so the value counts as unchanged; it is stored all the same.
    EXPECT_STREQ(L"\u6587", copy.GetString().GetUnicode());
    EXPECT_FALSE(copy.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, EnumerationCopyHasEntriesOfItsOwn) {
    auto source =
        std::make_unique<EnumParameter>(std::initializer_list<const char*>{"Slow", "Fast", "Fast"});
    ASSERT_THAT(source->SetDefaultInt(2), IsBareCode(0));

    const Parameter copy(*source);
    source.reset();

    unsigned long count = 0;
    ASSERT_THAT(copy.GetEnumValueCount(count), IsBareCode(0));
    EXPECT_EQ(3u, count);
    EXPECT_EQ(String("Slow"), copy.GetEnumValueString(0));
    EXPECT_EQ(String("Fast"), copy.GetEnumValueString(2));
    EXPECT_EQ(2, copy.GetDefaultInt());
}

TEST(ParameterCopyTest, EnumerationCopyHasTheRangeOfItsEntries) {
    EnumParameter source({"Slow", "Fast"});
    ASSERT_THAT(source.SetRange(-5LL, 5LL), IsBareCode(0));
    ASSERT_THAT(source.SetInt(4), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_EQ(0, copy.GetMinInt());
    EXPECT_EQ(1, copy.GetMaxInt());
    EXPECT_EQ(0, copy.GetInt());
}

TEST(ParameterCopyTest, ReadOnlyCopiesHoldWhatTheirInitialisationGives) {
    OneOfEachType one;
    ASSERT_THAT(one.enumeration.SetDefaultInt(1), IsBareCode(0));
    SetNewValues(one);
    for (Parameter* const parameter : one.all) {
        ASSERT_THAT(parameter->SetReadOnly(true), IsBareCode(0));
    }

    EXPECT_EQ(0, Parameter(one.enumeration).GetInt());
    EXPECT_EQ(1, Parameter(one.enumeration).GetDefaultInt());
    EXPECT_EQ(5, Parameter(one.integer).GetInt());
    EXPECT_EQ(String("text"), Parameter(one.string).GetString());
    EXPECT_EQ(1.75, Parameter(one.real).GetDouble());
    EXPECT_EQ(String("FALSE"), Parameter(one.boolean).GetString());
}

TEST(ParameterCopyTest, ReadOnlyCopiesTakeTheMarkAsItIs) {
    OneOfEachType one;
    SetNewValues(one);
    for (const std::size_t index : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(index);
        ASSERT_THAT(one.all[index]->SetReadOnly(true), IsBareCode(0));
        EXPECT_TRUE(Parameter(*one.all[index]).HasChanged(/*aReset=*/false));
        EXPECT_FALSE(one.all[index]->HasChanged(/*aReset=*/false));
    }
}

TEST(ParameterCopyTest, RefusalsWhileCopyingAreLogged) {
    IntegerParameter source(5, 0, 10);
    ASSERT_THAT(source.SetReadOnly(true), IsBareCode(0));

    const auto lines = LoggedErrorsWithoutLines([&] { const Parameter copy(source); });

    EXPECT_THAT(lines, ElementsAre("[0x1c] .\\Parameter(#) ERR  - Parameter is read-only"));
}

TEST(ParameterCopyTest, CopyAndSourceChangeIndependently) {
    IntegerParameter source(5, 0, 10);
    Parameter copy(source);

    ASSERT_THAT(copy.SetInt(7), IsBareCode(0));
    ASSERT_THAT(copy.SetDescription("copy"), IsBareCode(0));

    EXPECT_EQ(5, source.GetInt());
    EXPECT_FALSE(source.HasChanged(/*aReset=*/false));
    EXPECT_TRUE(source.GetDescription().IsEmpty());
}

TEST(ParameterCopyTest, CopyOutlivesItsSource) {
    auto source = std::make_unique<StringParameter>("default", "Label");
    ASSERT_THAT(source->SetDescription("about"), IsBareCode(0));
    const Parameter copy(*source);
    source.reset();

    EXPECT_EQ(String("Label"), copy.GetName());
    EXPECT_EQ(String("about"), copy.GetDescription());
    EXPECT_EQ(String("default"), copy.GetString());
}

TEST(ParameterCopyTest, CopyWithoutMemoryLeavesTheMark) {
    constexpr int kEntries = 200;
    EnumParameter source({"Off"});
    for (int entry = 1; entry < kEntries; ++entry) {
        ASSERT_THAT(source.AddEnumValue("Slow"), IsBareCode(0));
    }
    ASSERT_THAT(source.SetInt(7), IsBareCode(0));
    {
        const FailingAllocations failing(kEntries * sizeof(String*));
        EXPECT_THROW(const Parameter copy(source), std::bad_alloc);
        EXPECT_EQ(1, failing.Count());
    }

    EXPECT_TRUE(source.HasChanged(/*aReset=*/false));
}

// Copies of groups

TEST(ParameterCopyTest, GroupCopyHasMembersOfItsOwn) {
    GroupParameter source;
    AddTo(*source.members, new IntegerParameter(5, 0, 10));
    AddTo(*source.members, new StringParameter("text"));

    const Parameter copy(source);
    ParameterRepository* const members = copy.GetRepository();

    ASSERT_NE(nullptr, members);
    EXPECT_NE(source.members, members);
    EXPECT_EQ(String("Members"), members->GetName());
    EXPECT_EQ(60u, members->GetID());
    ASSERT_EQ(2u, members->GetCount());
    EXPECT_NE(source.members->GetByIndex(0), members->GetByIndex(0));
    EXPECT_EQ(5, members->GetByIndex(0)->GetInt());
    EXPECT_EQ(String("text"), members->GetByIndex(1)->GetString());
}

TEST(ParameterCopyTest, CopyOfAGroupWithoutMembersHasNone) {
    GroupParameter source;
    source.InitRepository(nullptr);

    const Parameter copy(source);

    EXPECT_EQ(5u, copy.GetType());
    EXPECT_EQ(nullptr, copy.GetRepository());
}

TEST(ParameterCopyTest, GroupCopyReachesMembersTwoDeep) {
    auto source = std::make_unique<GroupParameter>();
    auto* const inner = AddTo(*source->members, new GroupParameter("Inner", 61));
    Parameter* const member = AddTo(*inner->members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetInt(7), IsBareCode(0));

    const Parameter copy(*source);
    EXPECT_FALSE(member->HasChanged(/*aReset=*/false));
    source.reset();

    const Parameter* const copied = copy.GetRepository()->GetByID(61)->GetRepository()->GetByID(1);
    EXPECT_EQ(7, copied->GetInt());
    EXPECT_TRUE(copied->HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, PendingChangesOfAGroupMoveToTheCopy) {
    GroupParameter source;
    Parameter* const member = AddTo(*source.members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetInt(7), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_FALSE(source.HasChanged(/*aReset=*/false));
    EXPECT_TRUE(copy.HasChanged(/*aReset=*/false));
}

// The copy of a read-only member refuses the value, so it has not changed.
TEST(ParameterCopyTest, PendingChangeOfAReadOnlyMemberMovesToTheGroupItself) {
    GroupParameter source;
    Parameter* const member = AddTo(*source.members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetReadOnly(true), IsBareCode(0));
    ASSERT_THAT(member->ChangeInt(7), IsBareCode(0));

    Parameter copy(source);

    EXPECT_FALSE(member->HasChanged(/*aReset=*/false));
    EXPECT_FALSE(copy.HasChanged(/*aReset=*/false));
    copy.InitString("");  // Its own mark counts now.
    EXPECT_TRUE(copy.HasChanged(/*aReset=*/false));
}

TEST(ParameterCopyTest, GroupCopyGivesItsMarksToItsMembers) {
    GroupParameter source;
    Parameter* const member = AddTo(*source.members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(source.SetAdvanced(true), IsBareCode(0));
    ASSERT_THAT(member->SetAdvanced(false), IsBareCode(0));
    ASSERT_THAT(member->SetHidden(true), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_TRUE(copy.GetRepository()->GetByIndex(0)->IsAdvanced());
    EXPECT_FALSE(copy.GetRepository()->GetByIndex(0)->IsHidden());
}

TEST(ParameterCopyTest, MembersOfAReadOnlyGroupAreCopiedWithTheirDefaults) {
    GroupParameter source;
    Parameter* const member = AddTo(*source.members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetInt(7), IsBareCode(0));
    ASSERT_THAT(source.SetReadOnly(true), IsBareCode(0));

    const Parameter copy(source);

    EXPECT_EQ(5, copy.GetRepository()->GetByIndex(0)->GetInt());
    EXPECT_EQ(7, member->GetInt());
}

TEST(ParameterCopyTest, GroupCopyOwnsItsMembers) {
    int destroyed = 0;
    {
        GroupParameter source;
        AddTo(*source.members, new WatchedParameter([&] { ++destroyed; }));
        {
            const Parameter copy(source);
        }
        EXPECT_EQ(0, destroyed);
        EXPECT_EQ(1u, source.members->GetCount());
    }
    EXPECT_EQ(1, destroyed);
}

TEST(ParameterCopyTest, DefaultOutsideTheEntriesIsNotCopied) {
    EnumParameter source({"Slow", "Fast"});
    ASSERT_THAT(source.SetRange(0LL, 5LL), IsBareCode(0));
    ASSERT_THAT(source.SetDefaultInt(4), IsBareCode(0));
    ASSERT_THAT(source.SetInt(1), IsBareCode(0));

    const auto lines = LoggedErrorsWithoutLines([&] {
        const Parameter copy(source);
        EXPECT_EQ(0, copy.GetDefaultInt());
        EXPECT_EQ(String("Slow"), copy.GetDefaultString());
        EXPECT_EQ(1, copy.GetInt());
    });

    EXPECT_THAT(lines, ElementsAre("[0x12] .\\Parameter(#) ERR  - Invalid default value"));
    EXPECT_EQ(4, source.GetDefaultInt());
}

}  // namespace
}  // namespace QvTests
