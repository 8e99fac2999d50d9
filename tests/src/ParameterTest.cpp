// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Parameter.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>

#include "LoggedErrors.h"
#include "SampleParameters.h"
#include "SlotCalls.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

constexpr char kNotInteger[] = "Parameter is not an integer type";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Whether the parameter's type code is among these digits.
bool IsOneOf(const Parameter& aParameter, const char* aTypes) {
    const unsigned long type = aParameter.GetType();
    return type <= 5 && std::strchr(aTypes, static_cast<char>('0' + type)) != nullptr;
}

double FromBits(std::uint64_t aBits) {
    double value = 0;
    std::memcpy(&value, &aBits, sizeof value);
    return value;
}

// Construction and initialisation

TEST(ParameterTest, NewOneHasNameAndIdentifierAndNoType) {
    const Parameter parameter("Gain", 17);

    EXPECT_EQ(String("Gain"), parameter.GetName());
    EXPECT_EQ(17u, parameter.GetID());
    EXPECT_EQ(0u, parameter.GetIndex());
    EXPECT_EQ(0xFFFFFFFFu, parameter.GetType());
    EXPECT_TRUE(parameter.GetDescription().IsEmpty());
    EXPECT_EQ(nullptr, parameter.GetRepository());
}

TEST(ParameterTest, NewOneHasTheInitialMarks) {
    const Parameter parameter("Gain", 17);

    EXPECT_FALSE(parameter.IsReadOnly());
    EXPECT_FALSE(parameter.IsHidden());
    EXPECT_FALSE(parameter.IsVolatile());
    EXPECT_TRUE(parameter.IsEnabled());
    EXPECT_TRUE(parameter.IsPersistent());
    EXPECT_FALSE(parameter.IsAdvanced());
    EXPECT_FALSE(parameter.IsRestartRequired());
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterTest, NewOneHasLimitsOfZero) {
    const Parameter parameter("Gain", 17);

    EXPECT_EQ(0, parameter.GetMinInt());
    EXPECT_EQ(0, parameter.GetMaxInt());
    EXPECT_EQ(0.0, parameter.GetMinDouble());
    EXPECT_EQ(0.0, parameter.GetMaxDouble());
}

TEST(ParameterTest, WideNameKeepsItsCharacters) {
    const Parameter parameter(L"\u4e2d", 1);

    EXPECT_STREQ(L"\u4e2d", parameter.GetName().GetUnicode());
}

TEST(ParameterTest, TypeCodesAreThoseOfTheInterface) {
    const OneOfEachType one;

    for (unsigned long code = 0; code <= 5; ++code) EXPECT_EQ(code, one.all[code]->GetType());
    EXPECT_EQ(0xFFFFFFFFu, one.untyped.GetType());
}

TEST(ParameterTest, InitIntegerSetsValueDefaultAndLimits) {
    const IntegerParameter parameter(5, -7, 10);

    EXPECT_EQ(5, parameter.GetInt());
    EXPECT_EQ(5, parameter.GetDefaultInt());
    EXPECT_EQ(-7, parameter.GetMinInt());
    EXPECT_EQ(10, parameter.GetMaxInt());
}

TEST(ParameterTest, InitIntegerDoesNotCheckItsArguments) {
    const IntegerParameter parameter(LLONG_MAX, 10, LLONG_MIN);

    EXPECT_EQ(LLONG_MAX, parameter.GetInt());
    EXPECT_EQ(LLONG_MAX, parameter.GetDefaultInt());
    EXPECT_EQ(10, parameter.GetMinInt());
    EXPECT_EQ(LLONG_MIN, parameter.GetMaxInt());
}

TEST(ParameterTest, InitDoubleSetsValueDefaultAndLimits) {
    DoubleParameter parameter(1.5, 1.0, 2.0);

    EXPECT_EQ(1.5, parameter.GetDouble());
    EXPECT_EQ(1.0, parameter.GetMinDouble());
    EXPECT_EQ(2.0, parameter.GetMaxDouble());

    ASSERT_THAT(parameter.SetDouble(1.75), IsBareCode(0));
    ASSERT_THAT(parameter.ResetDefault(), IsBareCode(0));
    EXPECT_EQ(1.5, parameter.GetDouble());
}

TEST(ParameterTest, InitDoubleDoesNotCheckItsArguments) {
    const DoubleParameter parameter(-3.0, 1.0, -1.0);

    EXPECT_EQ(-3.0, parameter.GetDouble());
    EXPECT_EQ(1.0, parameter.GetMinDouble());
    EXPECT_EQ(-1.0, parameter.GetMaxDouble());
}

TEST(ParameterTest, InitBoolSetsValueTextsAndLimits) {
    for (const bool value : {false, true}) {
        SCOPED_TRACE(value);
        const BoolParameter parameter(value);

        EXPECT_EQ(value, parameter.GetBool());
        EXPECT_EQ(value ? 1 : 0, parameter.GetInt());
        EXPECT_EQ(value ? 1 : 0, parameter.GetDefaultInt());
        EXPECT_EQ(String(value ? "TRUE" : "FALSE"), parameter.GetString());
        EXPECT_EQ(String(value ? "TRUE" : "FALSE"), parameter.GetDefaultString());
        EXPECT_EQ(0, parameter.GetMinInt());
        EXPECT_EQ(1, parameter.GetMaxInt());
    }
}

TEST(ParameterTest, InitStringSetsValueAndDefault) {
    const StringParameter parameter("probe A");

    EXPECT_EQ(String("probe A"), parameter.GetString());
    EXPECT_EQ(String("probe A"), parameter.GetDefaultString());
}

TEST(ParameterTest, InitStringReadsNullAsEmpty) {
    const StringParameter parameter(nullptr);

    EXPECT_EQ(Parameter::TypeString, parameter.GetType());
    EXPECT_TRUE(parameter.GetString().IsEmpty());
    EXPECT_TRUE(parameter.GetDefaultString().IsEmpty());
}

TEST(ParameterTest, InitEnumSetsOnlyTheType) {
    IntegerParameter parameter(3, 1, 9);

    parameter.InitEnum();

    EXPECT_EQ(0u, parameter.GetType());
    EXPECT_EQ(3, parameter.GetInt());
    EXPECT_EQ(3, parameter.GetDefaultInt());
    EXPECT_EQ(1, parameter.GetMinInt());
    EXPECT_EQ(9, parameter.GetMaxInt());
}

TEST(ParameterTest, InitialisationLeavesTheMarksAlone) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetInt(6), IsBareCode(0));
    ASSERT_THAT(parameter.SetReadOnly(true), IsBareCode(0));

    parameter.InitBool(true);
    parameter.InitString("text");
    parameter.InitDouble(1, 1, 2);
    parameter.InitEnum();
    parameter.InitInteger(1, 0, 10);

    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
    EXPECT_TRUE(parameter.IsReadOnly());
    EXPECT_EQ(1, parameter.GetInt());
}

TEST(ParameterTest, DeletionRunsTheDerivedDestructor) {
    bool destroyed = false;
    const Parameter* const parameter = new WatchedParameter([&] { destroyed = true; });

    delete parameter;

    EXPECT_TRUE(destroyed);
}

TEST(ParameterTest, DestructorIsTheFirstVirtualFunction) {
    bool destroyed = false;
    auto* const parameter = new WatchedParameter([&] { destroyed = true; });

    // The second of the two entries destroys and frees.
    CallSlot<void>(parameter, 1);

    EXPECT_TRUE(destroyed);
}

TEST(ParameterTest, ArraysCanBeDeleted) {
    const auto* const parameters = new Parameter[2]{{"First", 1}, {"Second", 2}};

    EXPECT_EQ(String("Second"), parameters[1].GetName());
    delete[] parameters;
}

// The fixed binary interface: a pointer to the virtual table, then the fields in this order.
struct ParameterFields {
    void* table;
    String name;
    unsigned long id;
    unsigned long index;
    unsigned long type;
    String description;
    bool marks[8];
    String valueText;
    void* members;
    long long integerValue;
    long long integerMin;
    long long integerMax;
    double doubleValue;
    double doubleMin;
    double doubleMax;
    String defaultText;
    long long integerDefault;
    double doubleDefault;
    String** entries;
    unsigned long entryCount;
};

const ParameterFields& FieldsOf(const Parameter& aParameter) {
    return reinterpret_cast<const ParameterFields&>(aParameter);
}

TEST(ParameterTest, NumbersStandWhereTheBinaryInterfaceHasThem) {
    static_assert(sizeof(ParameterFields) == sizeof(Parameter), "all fields are listed");
    IntegerParameter parameter(5, -1, 10, "Gain", 17);
    parameter.InitDouble(1.5, 1.0, 2.0);
    parameter.SetIndex(3);
    const ParameterFields& fields = FieldsOf(parameter);

    EXPECT_EQ(17u, fields.id);
    EXPECT_EQ(3u, fields.index);
    EXPECT_EQ(1u, fields.type);
    EXPECT_EQ(5, fields.integerValue);
    EXPECT_EQ(-1, fields.integerMin);
    EXPECT_EQ(10, fields.integerMax);
    EXPECT_EQ(5, fields.integerDefault);
    EXPECT_EQ(1.5, fields.doubleValue);
    EXPECT_EQ(1.0, fields.doubleMin);
    EXPECT_EQ(2.0, fields.doubleMax);
    EXPECT_EQ(1.5, fields.doubleDefault);
}

TEST(ParameterTest, TextsStandWhereTheBinaryInterfaceHasThem) {
    StringParameter parameter("default", "Label");
    ASSERT_THAT(parameter.SetString("value"), IsBareCode(0));
    ASSERT_THAT(parameter.SetDescription("about"), IsBareCode(0));
    const ParameterFields& fields = FieldsOf(parameter);

    EXPECT_EQ(String("Label"), fields.name);
    EXPECT_EQ(String("about"), fields.description);
    EXPECT_EQ(String("value"), fields.valueText);
    EXPECT_EQ(String("default"), fields.defaultText);
}

TEST(ParameterTest, MarksStandWhereTheBinaryInterfaceHasThem) {
    using Setter = Result (Parameter::*)(bool);
    const Setter setters[] = {&Parameter::SetReadOnly,       &Parameter::SetHidden,
                              &Parameter::SetVolatile,       &Parameter::SetEnabled,
                              &Parameter::SetPersistent,     &Parameter::SetAdvanced,
                              &Parameter::SetRestartRequired};
    for (std::size_t index = 0; index < 7; ++index) {
        SCOPED_TRACE(index);
        UntypedParameter parameter;
        const bool before = FieldsOf(parameter).marks[index];
        ASSERT_THAT((parameter.*setters[index])(!before), IsBareCode(0));
        EXPECT_EQ(!before, FieldsOf(parameter).marks[index]);
    }

    IntegerParameter changed(5, 0, 10);
    ASSERT_THAT(changed.SetInt(6), IsBareCode(0));
    EXPECT_TRUE(FieldsOf(changed).marks[7]);
}

TEST(ParameterTest, PointersStandWhereTheBinaryInterfaceHasThem) {
    const GroupParameter group;
    const EnumParameter enumeration({"Slow", "Fast"});

    EXPECT_EQ(group.members, FieldsOf(group).members);
    EXPECT_EQ(2u, FieldsOf(enumeration).entryCount);
    EXPECT_EQ(String("Fast"), *FieldsOf(enumeration).entries[1]);
}

TEST(ParameterTest, NumbersAreZeroAtFirst) {
    const UntypedParameter parameter;

    EXPECT_EQ(0.0, parameter.GetDefaultDouble());
    EXPECT_EQ(0.0, FieldsOf(parameter).doubleDefault);
}

TEST(ParameterTest, SettingABooleanStoresItsTextForEveryType) {
    IntegerParameter parameter(5, 0, 10);

    ASSERT_THAT(parameter.SetBool(true), IsBareCode(0));

    EXPECT_EQ(String("TRUE"), FieldsOf(parameter).valueText);
}

// Plain accessors

TEST(ParameterTest, IndexIsStoredAsGiven) {
    UntypedParameter parameter;

    parameter.SetIndex(0xFFFFFFFE);

    EXPECT_EQ(0xFFFFFFFEu, parameter.GetIndex());
}

TEST(ParameterTest, DescriptionIsReplaced) {
    UntypedParameter parameter;

    EXPECT_THAT(parameter.SetDescription("first"), IsBareCode(Code::Success));
    EXPECT_THAT(parameter.SetDescription("second"), IsBareCode(Code::Success));

    EXPECT_EQ(String("second"), parameter.GetDescription());
}

TEST(ParameterTest, MissingOneHasFallbacksForWhatItIs) {
    const ErrorWatch watch;
    Parameter* const missing = MissingParameter();

    EXPECT_TRUE(missing->GetName().IsEmpty());
    EXPECT_TRUE(missing->GetDescription().IsEmpty());
    EXPECT_EQ(0xFFFFFFFFu, missing->GetID());
    EXPECT_EQ(0xFFFFFFFFu, missing->GetIndex());
    EXPECT_EQ(0xFFFFFFFFu, missing->GetType());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterTest, MissingOneHasNoMembersAndTakesNoIndex) {
    const ErrorWatch watch;
    Parameter* const missing = MissingParameter();

    missing->SetIndex(3);

    EXPECT_EQ(0xFFFFFFFFu, missing->GetIndex());
    EXPECT_EQ(nullptr, missing->GetRepository());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterTest, EmptyTextsOfMissingOnesAreOneSharedObject) {
    Parameter* const missing = MissingParameter();

    EXPECT_EQ(&missing->GetName(), &missing->GetDescription());
    EXPECT_EQ(&missing->GetName(), &missing->GetString());
    EXPECT_EQ(&missing->GetName(), &missing->GetDefaultString());
    EXPECT_EQ(&missing->GetName(), &missing->GetEnumValueString(0));
    EXPECT_EQ(&missing->GetName(), &UntypedParameter().GetString());
}

TEST(ParameterTest, DescriptionOfMissingOneCannotBeSet) {
    EXPECT_THAT(MissingParameter()->SetDescription("text"), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kMissing, LastErrorText());
}

// Value readers

TEST(ParameterTest, ReadersGiveFallbacksForMissingOnes) {
    const ErrorWatch watch;
    const Parameter* const missing = MissingParameter();

    EXPECT_EQ(kNoInt, missing->GetInt());
    EXPECT_FALSE(missing->GetBool());
    EXPECT_EQ(4294967295.0, missing->GetDouble());
    EXPECT_TRUE(missing->GetString().IsEmpty());
    EXPECT_EQ(kNoInt, missing->GetDefaultInt());
    EXPECT_FALSE(missing->GetDefaultBool());
    EXPECT_EQ(0.0, missing->GetDefaultDouble());
    EXPECT_TRUE(missing->GetDefaultString().IsEmpty());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterTest, ReadersGiveValuesOrFallbacksByType) {
    struct {
        long long integer;
        bool boolean;
        double real;
        const char* text;
    } const expected[] = {{1, true, 0.0, "Fast"},  {kNoInt, false, 1.5, ""},
                          {5, true, 0.0, ""},      {kNoInt, false, 0.0, "text"},
                          {1, true, 0.0, "TRUE"},  {kNoInt, false, 0.0, ""},
                          {kNoInt, false, 0.0, ""}};
    OneOfEachType one;
    ASSERT_THAT(one.enumeration.SetInt(1), IsBareCode(0));
    for (std::size_t index = 0; index < std::size(expected); ++index) {
        SCOPED_TRACE(index);
        const Parameter& parameter = *one.all[index];
        EXPECT_EQ(expected[index].integer, parameter.GetInt());
        EXPECT_EQ(expected[index].boolean, parameter.GetBool());
        EXPECT_EQ(expected[index].real, parameter.GetDouble());
        EXPECT_EQ(String(expected[index].text), parameter.GetString());
    }
}

TEST(ParameterTest, DefaultReadersGiveDefaultsOrFallbacksByType) {
    struct {
        long long integer;
        const char* text;
    } const expected[] = {{0, "Slow"}, {kNoInt, ""}, {5, ""},     {kNoInt, "text"},
                          {1, "TRUE"}, {kNoInt, ""}, {kNoInt, ""}};
    const OneOfEachType one;
    for (std::size_t index = 0; index < std::size(expected); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(expected[index].integer, one.all[index]->GetDefaultInt());
        EXPECT_EQ(String(expected[index].text), one.all[index]->GetDefaultString());
    }
}

TEST(ParameterTest, IntegerDefaultIsTheStoredOne) {
    IntegerParameter parameter(5, 0, 10);

    ASSERT_THAT(parameter.SetInt(7), IsBareCode(0));

    EXPECT_EQ(5, parameter.GetDefaultInt());
}

TEST(ParameterTest, StringDefaultIsTheStoredOne) {
    StringParameter parameter("first");

    ASSERT_THAT(parameter.SetString("second"), IsBareCode(0));

    EXPECT_EQ(String("first"), parameter.GetDefaultString());
}

TEST(ParameterTest, BooleanHasTheRangeOfOne) {
    IntegerParameter parameter(5, -3, 10);

    parameter.InitBool(true);

    EXPECT_EQ(0, parameter.GetMinInt());
    EXPECT_EQ(1, parameter.GetMaxInt());
}

TEST(ParameterTest, BooleanDefaultReaderGivesTheValue) {
    BoolParameter parameter(false);

    ASSERT_THAT(parameter.SetBool(true), IsBareCode(0));

    EXPECT_TRUE(parameter.GetDefaultBool());
    EXPECT_EQ(0, parameter.GetDefaultInt());

    ASSERT_THAT(parameter.SetBool(false), IsBareCode(0));
    EXPECT_FALSE(parameter.GetDefaultBool());
}

TEST(ParameterTest, DoubleDefaultReaderGivesTheValue) {
    DoubleParameter parameter(1.5, 1.0, 2.0);

    ASSERT_THAT(parameter.SetDouble(1.75), IsBareCode(0));

    EXPECT_EQ(1.75, parameter.GetDefaultDouble());
}

TEST(ParameterTest, BooleanAndDoubleDefaultReadersIgnoreTheType) {
    IntegerParameter parameter(5, 0, 10);
    parameter.InitDouble(1.5, 1.0, 2.0);
    parameter.InitString("text");

    EXPECT_TRUE(parameter.GetDefaultBool());
    EXPECT_FALSE(parameter.GetBool());
    EXPECT_EQ(1.5, parameter.GetDefaultDouble());
    EXPECT_EQ(0.0, parameter.GetDouble());
}

TEST(ParameterTest, EnumerationWithoutEntriesReadsAsEmpty) {
    const EnumParameter parameter({});

    EXPECT_TRUE(parameter.GetString().IsEmpty());
    EXPECT_TRUE(parameter.GetDefaultString().IsEmpty());
}

TEST(ParameterTest, EnumerationValueBeyondTheEntriesReadsAsEmpty) {
    EnumParameter parameter({"Slow", "Fast"});
    ASSERT_THAT(parameter.SetRange(LLONG_MIN, LLONG_MAX), IsBareCode(0));

    for (const long long value : {2LL, 0x100000000LL, LLONG_MAX, -1LL, LLONG_MIN}) {
        SCOPED_TRACE(value);
        ASSERT_THAT(parameter.SetInt(value), IsBareCode(0));
        ASSERT_THAT(parameter.SetDefaultInt(value), IsBareCode(0));
        EXPECT_TRUE(parameter.GetString().IsEmpty());
        EXPECT_TRUE(parameter.GetDefaultString().IsEmpty());
    }
}

// Range readers and writers

TEST(ParameterTest, IntegerRangeIsReadFromIntegersAndEnumerations) {
    OneOfEachType one;
    for (const unsigned long type : {0UL, 2UL}) {
        SCOPED_TRACE(type);
        long long min = -1;
        long long max = -1;
        EXPECT_THAT(one.all[type]->GetRangeInt(min, max), IsBareCode(Code::Success));
        EXPECT_EQ(0, min);
        EXPECT_EQ(type == 0 ? 1 : 10, max);
    }
}

TEST(ParameterTest, IntegerRangeOfOtherTypesIsRefused) {
    OneOfEachType one;
    for (const std::size_t index : {1, 3, 4, 5, 6}) {
        SCOPED_TRACE(index);
        const ErrorWatch watch;
        long long min = -1;
        long long max = -2;
        EXPECT_THAT(one.all[index]->GetRangeInt(min, max), IsBareCode(Code::NotAllowed));
        EXPECT_EQ(kNotInteger, LastErrorText());
        EXPECT_EQ(-1, min);
        EXPECT_EQ(-2, max);
    }
}

TEST(ParameterTest, DoubleRangeIsRead) {
    const DoubleParameter parameter(1.5, 1.0, 2.0);
    double min = -1;
    double max = -1;

    EXPECT_THAT(parameter.GetRangeDouble(min, max), IsBareCode(Code::Success));

    EXPECT_EQ(1.0, min);
    EXPECT_EQ(2.0, max);
}

TEST(ParameterTest, DoubleRangeOfOtherTypesIsRefused) {
    OneOfEachType one;
    for (const std::size_t index : {0, 2, 3, 4, 5, 6}) {
        SCOPED_TRACE(index);
        const ErrorWatch watch;
        double min = -1;
        double max = -2;
        EXPECT_THAT(one.all[index]->GetRangeDouble(min, max), IsBareCode(Code::NotAllowed));
        EXPECT_EQ(kNotInteger, LastErrorText());
        EXPECT_EQ(-1, min);
        EXPECT_EQ(-2, max);
    }
}

TEST(ParameterTest, RangeOfMissingOneIsRefused) {
    Parameter* const missing = MissingParameter();
    long long integer = 0;
    double real = 0;
    {
        const ErrorWatch watch;
        EXPECT_THAT(missing->GetRangeInt(integer, integer), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
    {
        const ErrorWatch watch;
        EXPECT_THAT(missing->GetRangeDouble(real, real), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
    {
        const ErrorWatch watch;
        EXPECT_THAT(missing->SetRange(0LL, 1LL), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
    {
        const ErrorWatch watch;
        EXPECT_THAT(missing->SetRange(1.0, 2.0), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
}

TEST(ParameterTest, LimitReadersDoNotLookAtTheType) {
    IntegerParameter parameter(5, -3, 10);
    parameter.InitDouble(1.5, 1.0, 2.0);
    parameter.InitString("text");

    EXPECT_EQ(-3, parameter.GetMinInt());
    EXPECT_EQ(10, parameter.GetMaxInt());
    EXPECT_EQ(1.0, parameter.GetMinDouble());
    EXPECT_EQ(2.0, parameter.GetMaxDouble());
}

TEST(ParameterTest, IntegerRangeIsSetForTheIntegerFamily) {
    OneOfEachType one;
    for (const std::size_t index : {0, 2, 4}) {
        SCOPED_TRACE(index);
        EXPECT_THAT(one.all[index]->SetRange(-4LL, 40LL), IsBareCode(Code::Success));
        EXPECT_EQ(-4, one.all[index]->GetMinInt());
        EXPECT_EQ(40, one.all[index]->GetMaxInt());
    }
}

TEST(ParameterTest, IntegerRangeIsNotSetForOtherTypes) {
    OneOfEachType one;
    for (const std::size_t index : {1, 3, 5, 6}) {
        SCOPED_TRACE(index);
        const ErrorWatch watch;
        EXPECT_THAT(one.all[index]->SetRange(-4LL, 40LL), IsBareCode(Code::NotAllowed));
        EXPECT_EQ(kNotInteger, LastErrorText());
        EXPECT_EQ(0, one.all[index]->GetMinInt());
        EXPECT_EQ(0, one.all[index]->GetMaxInt());
    }
}

TEST(ParameterTest, IntegerRangeIsStoredAsGiven) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetInt(6), IsBareCode(0));

    EXPECT_THAT(parameter.SetRange(LLONG_MAX, LLONG_MIN), IsBareCode(Code::Success));

    EXPECT_EQ(LLONG_MAX, parameter.GetMinInt());
    EXPECT_EQ(LLONG_MIN, parameter.GetMaxInt());
    EXPECT_EQ(6, parameter.GetInt());
    EXPECT_EQ(5, parameter.GetDefaultInt());
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterTest, RangesOfReadOnlyOnesCanBeSet) {
    OneOfEachType one;
    ASSERT_THAT(one.integer.SetReadOnly(true), IsBareCode(0));
    ASSERT_THAT(one.real.SetReadOnly(true), IsBareCode(0));

    EXPECT_THAT(one.integer.SetRange(0LL, 3LL), IsBareCode(Code::Success));
    EXPECT_THAT(one.real.SetRange(2.0, 3.0), IsBareCode(Code::Success));
}

TEST(ParameterTest, DoubleRangeIsNotSetForOtherTypes) {
    OneOfEachType one;
    for (const std::size_t index : {0, 2, 3, 4, 5, 6}) {
        SCOPED_TRACE(index);
        const ErrorWatch watch;
        EXPECT_THAT(one.all[index]->SetRange(1.0, 2.0), IsBareCode(Code::NotAllowed));
        EXPECT_EQ("Invalid parameter type", LastErrorText());
        EXPECT_EQ(0.0, one.all[index]->GetMaxDouble());
    }
}

TEST(ParameterTest, DoubleLimitsFromSmallestNormalToLargestAreStored) {
    const double limits[] = {FromBits(0x0010000000000000), 1e-300, 10.0,
                             FromBits(0x7FEFFFFFFFFFFFFF)};
    for (const double limit : limits) {
        SCOPED_TRACE(limit);
        DoubleParameter parameter(1.5, 1.0, 2.0);
        EXPECT_THAT(parameter.SetRange(limit, 10.0), IsBareCode(Code::Success));
        EXPECT_EQ(limit, parameter.GetMinDouble());
        EXPECT_THAT(parameter.SetRange(10.0, limit), IsBareCode(Code::Success));
        EXPECT_EQ(limit, parameter.GetMaxDouble());
        EXPECT_EQ(1.5, parameter.GetDouble());
    }
}

TEST(ParameterTest, DoubleLimitsThatAreNotPositiveAndNormalAreRefused) {
    const double limits[] = {0.0,
                             -0.0,
                             -1.0,
                             FromBits(0x000FFFFFFFFFFFFF),
                             FromBits(1),
                             FromBits(0x7FF0000000000000),
                             FromBits(0xFFF0000000000000)};
    for (const double limit : limits) {
        SCOPED_TRACE(limit);
        DoubleParameter parameter(1.5, 1.0, 2.0);
        for (const bool isMin : {true, false}) {
            const ErrorWatch watch;
            EXPECT_THAT(isMin ? parameter.SetRange(limit, 10.0) : parameter.SetRange(10.0, limit),
                        IsBareCode(Code::InvalidArgument));
            EXPECT_EQ("Given limits must be within the limits for the type", LastErrorText());
        }
        EXPECT_EQ(1.0, parameter.GetMinDouble());
        EXPECT_EQ(2.0, parameter.GetMaxDouble());
    }
}

TEST(ParameterTest, NoValueFitsBetweenLimitsThatAreNaN) {
    for (const bool isMin : {true, false}) {
        SCOPED_TRACE(isMin);
        DoubleParameter parameter(1.5, 1.0, 2.0);
        EXPECT_THAT(isMin ? parameter.SetRange(kNaN, 2.0) : parameter.SetRange(1.0, kNaN),
                    IsBareCode(Code::Success));

        EXPECT_THAT(parameter.SetDouble(1.5), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kOutOfRange, LastErrorText());
    }
}

// Default writers

TEST(ParameterTest, DefaultsAreStoredWithinTheRange) {
    IntegerParameter integer(5, -2, 10);
    for (const long long value : {-2LL, 0LL, 10LL}) {
        EXPECT_THAT(integer.SetDefaultInt(value), IsBareCode(Code::Success));
        EXPECT_EQ(value, integer.GetDefaultInt());
    }

    DoubleParameter real(1.5, 1.0, 2.0);
    for (const double value : {1.0, 1.25, 2.0}) {
        EXPECT_THAT(real.SetDefaultDouble(value), IsBareCode(Code::Success));
        ASSERT_THAT(real.ResetDefault(), IsBareCode(0));
        EXPECT_EQ(value, real.GetDouble());
    }
}

TEST(ParameterTest, BooleanDefaultIsStoredOutsideTheRange) {
    BoolParameter parameter(false);
    ASSERT_THAT(parameter.SetRange(5LL, 9LL), IsBareCode(0));

    EXPECT_THAT(parameter.SetDefaultBool(true), IsBareCode(Code::Success));

    EXPECT_EQ(1, parameter.GetDefaultInt());
}

TEST(ParameterTest, DefaultOutsideTheRangeIsRefused) {
    IntegerParameter integer(5, -2, 10);
    for (const long long value : {-3LL, 11LL, LLONG_MIN, LLONG_MAX}) {
        SCOPED_TRACE(value);
        const ErrorWatch watch;
        EXPECT_THAT(integer.SetDefaultInt(value), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ("Invalid default value", LastErrorText());
        EXPECT_EQ(5, integer.GetDefaultInt());
    }

    DoubleParameter real(1.5, 1.0, 2.0);
    for (const double value : {0.99, 2.01, kNaN}) {
        SCOPED_TRACE(value);
        const ErrorWatch watch;
        EXPECT_THAT(real.SetDefaultDouble(value), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ("Invalid default value", LastErrorText());
    }
    ASSERT_THAT(real.ResetDefault(), IsBareCode(0));
    EXPECT_EQ(1.5, real.GetDouble());
}

TEST(ParameterTest, DefaultOfAnotherTypeIsRefused) {
    struct {
        const char* name;
        Result (*set)(Parameter&);
        const char* types;
        const char* message;
    } const cases[] = {{"int", [](Parameter& p) { return p.SetDefaultInt(1); }, "024", kNotInteger},
                       {"double", [](Parameter& p) { return p.SetDefaultDouble(1.0); }, "1",
                        "Parameter is not an floating point type"},
                       {"string", [](Parameter& p) { return p.SetDefaultString("default"); }, "3",
                        "Parameter is not a string type"},
                       {"bool", [](Parameter& p) { return p.SetDefaultBool(false); }, "4",
                        "Parameter is not a boolean type"}};
    for (const auto& each : cases) {
        OneOfEachType one;
        for (Parameter* const parameter : one.all) {
            SCOPED_TRACE(std::string(each.name) + " of " + parameter->GetName().GetAscii());
            const bool accepted = IsOneOf(*parameter, each.types);
            const ErrorWatch watch;
            EXPECT_THAT(each.set(*parameter),
                        IsBareCode(accepted ? Code::Success : Code::NotAllowed));
            EXPECT_EQ(accepted, watch.IsQuiet());
            if (!accepted) {
                EXPECT_EQ(each.message, LastErrorText());
            }
        }
    }
}

TEST(ParameterTest, DefaultTypeIsCheckedBeforeTheRange) {
    StringParameter parameter("text");

    EXPECT_THAT(parameter.SetDefaultInt(99), IsBareCode(Code::NotAllowed));
    EXPECT_THAT(parameter.SetDefaultDouble(99), IsBareCode(Code::NotAllowed));
}

TEST(ParameterTest, DefaultsOfReadOnlyOnesCanBeSet) {
    OneOfEachType one;
    for (Parameter* const parameter : one.all) {
        ASSERT_THAT(parameter->SetReadOnly(true), IsBareCode(0));
    }

    EXPECT_THAT(one.integer.SetDefaultInt(7), IsBareCode(Code::Success));
    EXPECT_THAT(one.real.SetDefaultDouble(1.25), IsBareCode(Code::Success));
    EXPECT_THAT(one.string.SetDefaultString("new"), IsBareCode(Code::Success));
    EXPECT_THAT(one.boolean.SetDefaultBool(false), IsBareCode(Code::Success));
}

TEST(ParameterTest, DefaultsDoNotTouchValueAndChangeMark) {
    OneOfEachType one;

    ASSERT_THAT(one.integer.SetDefaultInt(7), IsBareCode(0));
    ASSERT_THAT(one.string.SetDefaultString("new"), IsBareCode(0));

    EXPECT_EQ(5, one.integer.GetInt());
    EXPECT_EQ(String("text"), one.string.GetString());
    EXPECT_EQ(String("new"), one.string.GetDefaultString());
    EXPECT_FALSE(one.integer.HasChanged(/*aReset=*/false));
    EXPECT_FALSE(one.string.HasChanged(/*aReset=*/false));
}

TEST(ParameterTest, BooleanDefaultKeepsTheDefaultText) {
    BoolParameter parameter(true);

    ASSERT_THAT(parameter.SetDefaultBool(false), IsBareCode(0));

    EXPECT_EQ(String("TRUE"), parameter.GetDefaultString());
    EXPECT_EQ(0, parameter.GetDefaultInt());
    ASSERT_THAT(parameter.SetDefaultBool(true), IsBareCode(0));
    EXPECT_EQ(1, parameter.GetDefaultInt());
}

TEST(ParameterTest, EnumerationDefaultIsAPosition) {
    EnumParameter parameter({"Slow", "Fast"});

    ASSERT_THAT(parameter.SetDefaultInt(1), IsBareCode(0));

    EXPECT_EQ(String("Fast"), parameter.GetDefaultString());
    EXPECT_EQ(String("Slow"), parameter.GetString());
}

// Value writers

struct Setter {
    const char* name;
    Result (*set)(Parameter*);
    const char* typeMessage;
    const char* types;
};

// Each sets a value that differs from those of OneOfEachType.
const Setter kSetters[] = {
    {"SetInt", [](Parameter* p) { return p->SetInt(0); }, kNotInteger, "024"},
    {"SetDouble", [](Parameter* p) { return p->SetDouble(1.25); }, kNotInteger, "1"},
    {"SetBool", [](Parameter* p) { return p->SetBool(false); }, kNotInteger, "024"},
    {"SetString", [](Parameter* p) { return p->SetString("other"); },
     "Parameter is not a string type", "3"}};

TEST(ParameterTest, SettersRefuseMissingOnes) {
    for (const Setter& setter : kSetters) {
        SCOPED_TRACE(setter.name);
        const ErrorWatch watch;
        EXPECT_THAT(setter.set(MissingParameter()), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
}

TEST(ParameterTest, SettersRefuseOtherTypes) {
    for (const Setter& setter : kSetters) {
        OneOfEachType one;
        for (Parameter* const parameter : one.all) {
            SCOPED_TRACE(std::string(setter.name) + " of " + parameter->GetName().GetAscii());
            if (IsOneOf(*parameter, setter.types)) {
                EXPECT_THAT(setter.set(parameter), IsBareCode(Code::Success));
                continue;
            }
            const ErrorWatch watch;
            EXPECT_THAT(setter.set(parameter), IsBareCode(Code::NotAllowed));
            EXPECT_EQ(setter.typeMessage, LastErrorText());
            EXPECT_FALSE(parameter->HasChanged(/*aReset=*/false));
        }
    }
}

TEST(ParameterTest, SettersLookAtReadOnlyBeforeTheType) {
    for (const Setter& setter : kSetters) {
        OneOfEachType one;
        for (Parameter* const parameter : one.all) {
            SCOPED_TRACE(std::string(setter.name) + " of " + parameter->GetName().GetAscii());
            ASSERT_THAT(parameter->SetReadOnly(true), IsBareCode(0));
            const ErrorWatch watch;
            EXPECT_THAT(setter.set(parameter), IsBareCode(Code::NotAllowed));
            EXPECT_EQ(kReadOnly, LastErrorText());
        }
        EXPECT_EQ(5, one.integer.GetInt());
        EXPECT_EQ(1.5, one.real.GetDouble());
        EXPECT_TRUE(one.boolean.GetBool());
        EXPECT_EQ(String("text"), one.string.GetString());
    }
}

TEST(ParameterTest, SettersRaiseTheChangeMarkForAnotherValueOnly) {
    OneOfEachType one;
    Parameter* const targets[] = {&one.integer, &one.real, &one.boolean, &one.string};
    for (std::size_t index = 0; index < std::size(targets); ++index) {
        SCOPED_TRACE(kSetters[index].name);
        ASSERT_THAT(kSetters[index].set(targets[index]), IsBareCode(0));
        EXPECT_TRUE(targets[index]->HasChanged(/*aReset=*/false));

        // The same value again clears the mark of the first change.
        ASSERT_THAT(kSetters[index].set(targets[index]), IsBareCode(0));
        EXPECT_FALSE(targets[index]->HasChanged(/*aReset=*/false));
    }
}

TEST(ParameterTest, IntegerOutsideTheRangeIsRefused) {
    IntegerParameter parameter(5, -5, 10);

    for (const long long value : {-6LL, 11LL, 0x100000005LL, LLONG_MIN, LLONG_MAX}) {
        SCOPED_TRACE(value);
        const ErrorWatch watch;
        EXPECT_THAT(parameter.SetInt(value), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kOutOfRange, LastErrorText());
        EXPECT_EQ(5, parameter.GetInt());
    }
}

TEST(ParameterTest, RefusedValueLeavesTheChangeMark) {
    IntegerParameter parameter(5, 0, 10);

    ASSERT_THAT(parameter.SetInt(11), IsBareCode(Code::InvalidArgument));
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));

    ASSERT_THAT(parameter.SetInt(7), IsBareCode(0));
    ASSERT_THAT(parameter.SetInt(11), IsBareCode(Code::InvalidArgument));
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
    EXPECT_EQ(7, parameter.GetInt());
}

TEST(ParameterTest, IntegerLimitsAreInclusive) {
    IntegerParameter parameter(0, LLONG_MIN, LLONG_MAX);

    for (const long long value : {LLONG_MIN, -1LL, LLONG_MAX}) {
        EXPECT_THAT(parameter.SetInt(value), IsBareCode(Code::Success));
        EXPECT_EQ(value, parameter.GetInt());
    }
}

TEST(ParameterTest, IntegerTypeIsCheckedBeforeTheRange) {
    DoubleParameter parameter(1.5, 1.0, 2.0);

    EXPECT_THAT(parameter.SetInt(99), IsBareCode(Code::NotAllowed));
    EXPECT_EQ(kNotInteger, LastErrorText());
}

TEST(ParameterTest, BooleanTakesAnIntegerOfItsRange) {
    BoolParameter parameter(true);

    EXPECT_THAT(parameter.SetInt(0), IsBareCode(Code::Success));
    EXPECT_FALSE(parameter.GetBool());
    EXPECT_EQ(String("TRUE"), parameter.GetString());
    EXPECT_THAT(parameter.SetInt(2), IsBareCode(Code::InvalidArgument));
}

TEST(ParameterTest, ChangeIntUpdatesReadOnlyOnes) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetReadOnly(true), IsBareCode(0));

    EXPECT_THAT(parameter.ChangeInt(7), IsBareCode(Code::Success));

    EXPECT_EQ(7, parameter.GetInt());
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
    EXPECT_THAT(parameter.ChangeInt(7), IsBareCode(Code::Success));
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterTest, ChangeIntChecksObjectTypeAndRange) {
    IntegerParameter integer(5, 0, 10);
    StringParameter string("text");
    {
        const ErrorWatch watch;
        EXPECT_THAT(MissingParameter()->ChangeInt(1), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
    {
        const ErrorWatch watch;
        EXPECT_THAT(string.ChangeInt(99), IsBareCode(Code::NotAllowed));
        EXPECT_EQ(kNotInteger, LastErrorText());
    }
    {
        const ErrorWatch watch;
        EXPECT_THAT(integer.ChangeInt(11), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kOutOfRange, LastErrorText());
        EXPECT_EQ(5, integer.GetInt());
    }
}

TEST(ParameterTest, DoubleOutsideTheRangeIsRefused) {
    DoubleParameter parameter(1.5, 1.0, 2.0);
    constexpr double kInfinity = std::numeric_limits<double>::infinity();

    for (const double value : {0.999, 2.001, -1.5, kInfinity, -kInfinity, kNaN}) {
        SCOPED_TRACE(value);
        const ErrorWatch watch;
        EXPECT_THAT(parameter.SetDouble(value), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kOutOfRange, LastErrorText());
        EXPECT_EQ(1.5, parameter.GetDouble());
        EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
    }
}

TEST(ParameterTest, DoubleLimitsAreInclusive) {
    DoubleParameter parameter(1.5, 1.0, 2.0);

    for (const double value : {1.0, 2.0}) {
        EXPECT_THAT(parameter.SetDouble(value), IsBareCode(Code::Success));
        EXPECT_EQ(value, parameter.GetDouble());
    }
}

TEST(ParameterTest, EveryValueAfterNaNIsAChange) {
    DoubleParameter parameter(kNaN, 1.0, 2.0);

    ASSERT_THAT(parameter.SetDouble(1.5), IsBareCode(0));

    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterTest, NaNNeverFitsTheRange) {
    DoubleParameter parameter(1.5, kNaN, kNaN);

    EXPECT_THAT(parameter.SetDouble(kNaN), IsBareCode(Code::InvalidArgument));
    EXPECT_THAT(parameter.SetDouble(1.5), IsBareCode(Code::InvalidArgument));
}

TEST(ParameterTest, BoolIsStoredWhereTheRangeMeetsZeroOrOne) {
    struct {
        long long min;
        long long max;
        bool accepted;
    } const cases[] = {{0, 100, true},
                       {1, 100, true},
                       {2, 100, false},
                       {5, 100, false},
                       {-9, 0, true},
                       {-9, -1, false},
                       {LLONG_MIN, LLONG_MAX, true},
                       {LLONG_MAX, 0, false}};
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.min << ".." << each.max);
        IntegerParameter parameter(7, each.min, each.max);
        const ErrorWatch watch;
        EXPECT_THAT(parameter.SetBool(true),
                    IsBareCode(each.accepted ? Code::Success : Code::NotAllowed));
        EXPECT_EQ(each.accepted ? 1 : 7, parameter.GetInt());
        EXPECT_EQ(each.accepted, parameter.HasChanged(/*aReset=*/false));
        EXPECT_EQ(each.accepted, watch.IsQuiet());
        if (!each.accepted) {
            EXPECT_EQ("This parameter cannot be boolean", LastErrorText());
        }
    }
}

TEST(ParameterTest, BoolIsNotCheckedAgainstTheRangeItself) {
    IntegerParameter parameter(5, 1, 10);

    EXPECT_THAT(parameter.SetBool(false), IsBareCode(Code::Success));

    EXPECT_EQ(0, parameter.GetInt());
}

TEST(ParameterTest, BoolChangesNumberAndText) {
    BoolParameter parameter(false);

    ASSERT_THAT(parameter.SetBool(true), IsBareCode(0));
    EXPECT_EQ(1, parameter.GetInt());
    EXPECT_EQ(String("TRUE"), parameter.GetString());

    ASSERT_THAT(parameter.SetBool(false), IsBareCode(0));
    EXPECT_EQ(0, parameter.GetInt());
    EXPECT_EQ(String("FALSE"), parameter.GetString());
}

TEST(ParameterTest, BoolComparesWithTheNumberBefore) {
    IntegerParameter parameter(7, 0, 10);

    ASSERT_THAT(parameter.SetBool(true), IsBareCode(0));

    // 7 was true as well.
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterTest, StringChangeIsCaseSensitive) {
    StringParameter parameter("text");

    ASSERT_THAT(parameter.SetString("Text"), IsBareCode(0));

    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
    EXPECT_EQ(String("Text"), parameter.GetString());
}

TEST(ParameterTest, StringChangeComparesTheEightBitForms) {
    StringParameter parameter("?");

    // The code page has neither character, so both read as a question mark.
    ASSERT_THAT(parameter.SetString(L"\u4e2d"), IsBareCode(0));
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
    ASSERT_THAT(parameter.SetString(L"\u6587"), IsBareCode(0));
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));

    EXPECT_STREQ(L"\u6587", parameter.GetString().GetUnicode());
}

TEST(ParameterTest, StringCanBeSetToItsOwnText) {
    StringParameter parameter("text");

    EXPECT_THAT(parameter.SetString(parameter.GetString()), IsBareCode(Code::Success));

    EXPECT_EQ(String("text"), parameter.GetString());
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
}

// Reset to the default

TEST(ParameterTest, ResetRestoresTheDefault) {
    OneOfEachType one;
    const Setter* const setters[] = {&kSetters[0], &kSetters[1], &kSetters[3]};
    Parameter* const targets[] = {&one.integer, &one.real, &one.string};
    for (std::size_t index = 0; index < std::size(targets); ++index) {
        SCOPED_TRACE(setters[index]->name);
        ASSERT_THAT(setters[index]->set(targets[index]), IsBareCode(0));
        EXPECT_TRUE(targets[index]->HasChanged(/*aReset=*/true));
        EXPECT_THAT(targets[index]->ResetDefault(), IsBareCode(Code::Success));
        EXPECT_TRUE(targets[index]->HasChanged(/*aReset=*/false));
    }
    EXPECT_EQ(5, one.integer.GetInt());
    EXPECT_EQ(1.5, one.real.GetDouble());
    EXPECT_EQ(String("text"), one.string.GetString());
}

TEST(ParameterTest, ResetOfAnEnumerationChoosesTheDefaultEntry) {
    EnumParameter parameter({"Slow", "Fast"});
    ASSERT_THAT(parameter.SetDefaultInt(1), IsBareCode(0));

    EXPECT_THAT(parameter.ResetDefault(), IsBareCode(Code::Success));

    EXPECT_EQ(String("Fast"), parameter.GetString());
}

TEST(ParameterTest, ResetOfABooleanKeepsTheText) {
    BoolParameter parameter(false);
    ASSERT_THAT(parameter.SetBool(true), IsBareCode(0));

    EXPECT_THAT(parameter.ResetDefault(), IsBareCode(Code::Success));

    EXPECT_FALSE(parameter.GetBool());
    EXPECT_EQ(String("TRUE"), parameter.GetString());
}

TEST(ParameterTest, ResetOfAGroupResetsItsMembers) {
    GroupParameter group;
    Parameter* const member = AddTo(*group.members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetInt(7), IsBareCode(0));

    EXPECT_THAT(group.ResetDefault(), IsBareCode(Code::Success));

    EXPECT_EQ(5, member->GetInt());
}

TEST(ParameterTest, ResetOfAGroupReachesMembersTwoDeep) {
    GroupParameter outer;
    auto* const inner = AddTo(*outer.members, new GroupParameter("Inner", 61));
    Parameter* const member = AddTo(*inner->members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetInt(7), IsBareCode(0));

    EXPECT_THAT(outer.ResetDefault(), IsBareCode(Code::Success));

    EXPECT_EQ(5, member->GetInt());
}

TEST(ParameterTest, ResetOfReadOnlyOnesIsRefused) {
    OneOfEachType one;
    for (const std::size_t index : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(index);
        ASSERT_THAT(one.all[index]->SetReadOnly(true), IsBareCode(0));
        const ErrorWatch watch;
        EXPECT_THAT(one.all[index]->ResetDefault(), IsBareCode(Code::NotAllowed));
        EXPECT_EQ(kReadOnly, LastErrorText());
    }
}

TEST(ParameterTest, ResetToADefaultOutsideTheRangeIsRefused) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetInt(8), IsBareCode(0));
    ASSERT_THAT(parameter.SetRange(7LL, 10LL), IsBareCode(0));

    EXPECT_THAT(parameter.ResetDefault(), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kOutOfRange, LastErrorText());
    EXPECT_EQ(8, parameter.GetInt());
}

TEST(ParameterTest, ResetOfAnUntypedOneSaysNotSetWithoutAMessage) {
    const ErrorWatch watch;
    UntypedParameter parameter;

    EXPECT_THAT(parameter.ResetDefault(), IsBareCode(0x605));
    EXPECT_TRUE(watch.IsQuiet());

    ASSERT_THAT(parameter.SetReadOnly(true), IsBareCode(0));
    EXPECT_THAT(parameter.ResetDefault(), IsBareCode(0x605));
}

class RefusingRepository : public QvUserLib::ParameterRepository {
public:
    RefusingRepository() : ParameterRepository("Refusing", 60) {}
    Result ResetDefaults() override { return Result(101); }
};

TEST(ParameterTest, ResetOfAGroupIsThatOfItsMembersAlsoWhenItIsReadOnly) {
    UntypedParameter group;
    group.InitRepository(new RefusingRepository);
    ASSERT_THAT(group.SetReadOnly(true), IsBareCode(0));

    EXPECT_THAT(group.ResetDefault(), IsBareCode(101));
}

TEST(ParameterTest, ResetOfAMissingOneIsRefused) {
    EXPECT_THAT(MissingParameter()->ResetDefault(), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kMissing, LastErrorText());
}

// Failures in the error log

TEST(ParameterTest, FailuresAreLoggedWithTheSourceLabel) {
    IntegerParameter parameter(5, 0, 10);

    const auto lines = LoggedErrorsWithoutLines([&] {
        EXPECT_THAT(parameter.SetInt(11), HasCode(Code::InvalidArgument));
        EXPECT_THAT(parameter.SetString("text"), HasCode(Code::NotAllowed));
    });

    EXPECT_THAT(lines, ElementsAre("[0x12] .\\Parameter(#) ERR  - Value does not fit in the range",
                                   "[0x1c] .\\Parameter(#) ERR  - Parameter is not a string type"));
}

TEST(ParameterTest, EachFailureIsLoggedOnce) {
    OneOfEachType one;
    ASSERT_THAT(one.integer.SetReadOnly(true), IsBareCode(0));

    const auto lines = LoggedErrors([&] {
        EXPECT_THAT(one.integer.ResetDefault(), HasCode(Code::NotAllowed));
        EXPECT_THAT(one.integer.SetInt(6), HasCode(Code::NotAllowed));
        EXPECT_THAT(one.untyped.ResetDefault(), HasCode(Code::NotSet));
    });

    EXPECT_EQ(2u, lines.size());
}

// Failures change nothing

// Every field is filled, also those that the type does not use.
class FilledParameter : public Parameter {
public:
    FilledParameter() : Parameter("Filled", 17) {
        SetIndex(3);
        EXPECT_THAT(SetDescription("about"), IsBareCode(0));
        InitEnum();
        EXPECT_THAT(AddEnumValue("Slow"), IsBareCode(0));
        EXPECT_THAT(AddEnumValue("Fast"), IsBareCode(0));
        InitDouble(1.5, 1.0, 2.0);
        EXPECT_THAT(SetDefaultDouble(1.75), IsBareCode(0));
        InitInteger(5, 5, 10);
        EXPECT_THAT(SetDefaultInt(6), IsBareCode(0));
        InitString("default");
        EXPECT_THAT(SetString("value"), IsBareCode(0));
    }
    FilledParameter(const FilledParameter&) = delete;
    FilledParameter& operator=(const FilledParameter&) = delete;

    /// Changes the type code and no other field.
    void BecomeType(unsigned long aType) {
        const_cast<ParameterFields&>(FieldsOf(*this)).type = aType;
    }
};

// All fields as a text.
std::string Describe(const Parameter& aParameter) {
    const ParameterFields& fields = FieldsOf(aParameter);
    std::ostringstream text;
    text << fields.name.GetAscii() << ' ' << fields.id << ' ' << fields.index << ' ' << fields.type
         << ' ' << fields.description.GetAscii();
    for (const bool mark : fields.marks) text << ' ' << mark;
    text << ' ' << fields.valueText.GetAscii() << ' ' << fields.members << ' '
         << fields.integerValue << ' ' << fields.integerMin << ' ' << fields.integerMax << ' '
         << fields.doubleValue << ' ' << fields.doubleMin << ' ' << fields.doubleMax << ' '
         << fields.defaultText.GetAscii() << ' ' << fields.integerDefault << ' '
         << fields.doubleDefault << ' ' << fields.entries << ' ' << fields.entryCount;
    for (unsigned long index = 0; index < fields.entryCount; ++index) {
        text << ' ' << fields.entries[index]->GetAscii();
    }
    return text.str();
}

// A call that some parameters refuse. Its values differ from those in all fields.
struct Change {
    const char* name;
    Result (*make)(Parameter& aParameter);
};

const Change kChanges[] = {
    {"SetInt", [](Parameter& p) { return p.SetInt(99); }},
    {"ChangeInt", [](Parameter& p) { return p.ChangeInt(99); }},
    {"SetDouble", [](Parameter& p) { return p.SetDouble(9.5); }},
    {"SetBool", [](Parameter& p) { return p.SetBool(true); }},
    {"SetString", [](Parameter& p) { return p.SetString("other"); }},
    {"SetIp", [](Parameter& p) { return p.SetIp(1, 2, 3, 4); }},
    {"SetMac", [](Parameter& p) { return p.SetMac(1, 2, 3, 4, 5, 6); }},
    {"SetParameter", [](Parameter& p) { return p.SetParameter(MissingParameter()); }},
    {"SetDefaultInt", [](Parameter& p) { return p.SetDefaultInt(99); }},
    {"SetDefaultDouble", [](Parameter& p) { return p.SetDefaultDouble(9.5); }},
    {"SetDefaultString", [](Parameter& p) { return p.SetDefaultString("other"); }},
    {"SetDefaultBool", [](Parameter& p) { return p.SetDefaultBool(true); }},
    {"SetIntegerRange", [](Parameter& p) { return p.SetRange(-9LL, 99LL); }},
    {"SetDoubleRange", [](Parameter& p) { return p.SetRange(-9.5, 9.5); }},
    {"AddEnumValue", [](Parameter& p) { return p.AddEnumValue("Other"); }},
    {"ResetDefault", [](Parameter& p) { return p.ResetDefault(); }}};

void PrintTo(const Change& aChange, std::ostream* aOut) { *aOut << aChange.name; }

class RefusedChangeTest : public testing::TestWithParam<Change> {};

TEST_P(RefusedChangeTest, LeavesEveryField) {
    int refusals = 0;
    for (const unsigned long type : {0UL, 1UL, 2UL, 3UL, 4UL, 5UL, 0xFFFFFFFFUL}) {
        for (const bool isReadOnly : {false, true}) {
            for (const bool hasChanged : {false, true}) {
                SCOPED_TRACE(testing::Message() << type << ' ' << isReadOnly << ' ' << hasChanged);
                FilledParameter parameter;
                (void)parameter.HasChanged(/*aReset=*/!hasChanged);  // It has changed.
                ASSERT_THAT(parameter.SetReadOnly(isReadOnly), IsBareCode(0));
                parameter.BecomeType(type);
                const std::string before = Describe(parameter);

                if (GetParam().make(parameter).IsSuccess()) continue;

                ++refusals;
                EXPECT_EQ(before, Describe(parameter));
            }
        }
    }
    EXPECT_LT(0, refusals);
}

INSTANTIATE_TEST_SUITE_P(ParameterTest, RefusedChangeTest, testing::ValuesIn(kChanges),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

}  // namespace
}  // namespace QvTests
