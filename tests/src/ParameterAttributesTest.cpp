// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Marks, groups, enumeration entries and network addresses of parameters.

#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "QvUserLib/Parameter.h"
#include "SampleParameters.h"
#include "SlotCalls.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

constexpr char kNotEnumeration[] = "Parameter is not an enumeration type";
constexpr char kNotString[] = "Parameter is not a string type";

// Attribute marks

struct Mark {
    const char* name;
    Result (Parameter::*set)(bool);
    bool (Parameter::*is)() const;
    bool initial;
};

const Mark kMarks[] = {
    {"read-only", &Parameter::SetReadOnly, &Parameter::IsReadOnly, false},
    {"hidden", &Parameter::SetHidden, &Parameter::IsHidden, false},
    {"volatile", &Parameter::SetVolatile, &Parameter::IsVolatile, false},
    {"enabled", &Parameter::SetEnabled, &Parameter::IsEnabled, true},
    {"persistent", &Parameter::SetPersistent, &Parameter::IsPersistent, true},
    {"advanced", &Parameter::SetAdvanced, &Parameter::IsAdvanced, false},
    {"restart-required", &Parameter::SetRestartRequired, &Parameter::IsRestartRequired, false}};

std::vector<bool> MarksOf(const Parameter& aParameter) {
    std::vector<bool> marks;
    for (const Mark& mark : kMarks) marks.push_back((aParameter.*mark.is)());
    return marks;
}

TEST(ParameterAttributesTest, EachMarkIsSetByItself) {
    for (std::size_t index = 0; index < std::size(kMarks); ++index) {
        SCOPED_TRACE(kMarks[index].name);
        UntypedParameter parameter;
        std::vector<bool> expected = MarksOf(parameter);
        EXPECT_EQ(kMarks[index].initial, expected[index]);

        for (const bool on : {!kMarks[index].initial, kMarks[index].initial}) {
            EXPECT_THAT((parameter.*kMarks[index].set)(on), IsBareCode(Code::Success));
            expected[index] = on;
            EXPECT_EQ(expected, MarksOf(parameter));
        }
    }
}

TEST(ParameterAttributesTest, MarksOfMissingOnesCannotBeSet) {
    for (const Mark& mark : kMarks) {
        SCOPED_TRACE(mark.name);
        const ErrorWatch watch;
        EXPECT_THAT((MissingParameter()->*mark.set)(true), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
}

TEST(ParameterAttributesTest, MarksOfMissingOnesReadAsFalse) {
    const ErrorWatch watch;
    for (const Mark& mark : kMarks) {
        EXPECT_FALSE((MissingParameter()->*mark.is)()) << mark.name;
    }
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterAttributesTest, OnlyReadOnlyKeepsValuesFromChanging) {
    for (const Mark& mark : kMarks) {
        SCOPED_TRACE(mark.name);
        IntegerParameter parameter(5, 0, 10);
        ASSERT_THAT((parameter.*mark.set)(!mark.initial), IsBareCode(0));
        const bool isReadOnly = &mark == &kMarks[0];
        EXPECT_THAT(parameter.SetInt(6), IsBareCode(isReadOnly ? Code::NotAllowed : Code::Success));
    }
}

TEST(ParameterAttributesTest, MarksDoNotTouchTheChangeMark) {
    for (const Mark& mark : kMarks) {
        IntegerParameter parameter(5, 0, 10);
        ASSERT_THAT((parameter.*mark.set)(!mark.initial), IsBareCode(0));
        EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false)) << mark.name;
    }
}

TEST(ParameterAttributesTest, ReadOnlyCanBeTakenBack) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetReadOnly(true), IsBareCode(0));
    ASSERT_THAT(parameter.SetReadOnly(false), IsBareCode(0));

    EXPECT_THAT(parameter.SetInt(6), IsBareCode(Code::Success));
}

// Marks of groups

TEST(ParameterAttributesTest, MarksSpreadToAllMembers) {
    for (const Mark& mark : kMarks) {
        SCOPED_TRACE(mark.name);
        GroupParameter group;
        Parameter* const members[] = {AddTo(*group.members, new IntegerParameter(5, 0, 10)),
                                      AddTo(*group.members, new StringParameter("text"))};
        for (const bool on : {!mark.initial, mark.initial}) {
            EXPECT_THAT((group.*mark.set)(on), IsBareCode(Code::Success));
            EXPECT_EQ(on, (group.*mark.is)());
            EXPECT_EQ(on, (members[0]->*mark.is)());
            EXPECT_EQ(on, (members[1]->*mark.is)());
        }
    }
}

TEST(ParameterAttributesTest, MarksSpreadToMembersTwoDeep) {
    for (const Mark& mark : kMarks) {
        SCOPED_TRACE(mark.name);
        GroupParameter outer;
        auto* const inner = AddTo(*outer.members, new GroupParameter("Inner", 61));
        Parameter* const member = AddTo(*inner->members, new IntegerParameter(5, 0, 10));

        EXPECT_THAT((outer.*mark.set)(!mark.initial), IsBareCode(Code::Success));

        EXPECT_EQ(!mark.initial, (inner->*mark.is)());
        EXPECT_EQ(!mark.initial, (member->*mark.is)());
    }
}

TEST(ParameterAttributesTest, MarkOfAMemberStaysItsOwn) {
    GroupParameter group;
    Parameter* const member = AddTo(*group.members, new IntegerParameter(5, 0, 10));

    ASSERT_THAT(member->SetHidden(true), IsBareCode(0));

    EXPECT_FALSE(group.IsHidden());
}

// A set of members that claims any count, and records how often it is asked.
class OddRepository : public ParameterRepository {
public:
    OddRepository() : ParameterRepository("Odd", 60) {}

    unsigned long GetCount() const override {
        ++timesCounted;
        return shownCount;
    }
    Parameter* GetByIndex(unsigned long aIndex) override {
        asked.push_back(aIndex);
        return missing ? nullptr : ParameterRepository::GetByIndex(aIndex);
    }
    using ParameterRepository::GetByIndex;

    unsigned long shownCount = 0;
    bool missing = false;
    mutable int timesCounted = 0;
    std::vector<unsigned long> asked;
};

class OddGroupTest : public testing::Test {
protected:
    OddGroupTest() {
        parameter.InitRepository(members);
        for (unsigned long id = 0; id < 3; ++id) {
            AddTo(*members, new IntegerParameter(
                                5, 0, 10, std::string(1, static_cast<char>('A' + id)).c_str(), id));
        }
        members->shownCount = 3;
        members->timesCounted = 0;
    }

    OddRepository* const members = new OddRepository;  // The parameter owns it.
    UntypedParameter parameter;
};

TEST_F(OddGroupTest, MembersAreCountedAnewAfterEachOne) {
    ASSERT_THAT(parameter.SetHidden(true), IsBareCode(0));

    EXPECT_EQ(4, members->timesCounted);
    EXPECT_THAT(members->asked, ElementsAre(0, 1, 2));
}

TEST_F(OddGroupTest, MarksReachTheMembersThatTheSetShows) {
    members->shownCount = 1;

    ASSERT_THAT(parameter.SetHidden(true), IsBareCode(0));

    EXPECT_TRUE(members->GetByID(0)->IsHidden());
    EXPECT_FALSE(members->GetByID(1)->IsHidden());
}

TEST_F(OddGroupTest, WhatMembersReportIsNotLookedAt) {
    members->missing = true;

    EXPECT_THAT(parameter.SetHidden(true), IsBareCode(Code::Success));

    EXPECT_EQ(kMissing, LastErrorText());
    EXPECT_TRUE(parameter.IsHidden());
}

TEST_F(OddGroupTest, ChangeMarkAsksTheMembersThatTheSetShows) {
    ASSERT_THAT(members->GetByID(2)->SetInt(6), IsBareCode(0));
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));

    members->shownCount = 2;
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
}

// The group type

TEST(ParameterAttributesTest, GroupHasItsMembers) {
    const GroupParameter group;

    EXPECT_EQ(5u, group.GetType());
    EXPECT_EQ(group.members, group.GetRepository());
}

TEST(ParameterAttributesTest, OtherTypesHaveNoMembers) {
    const OneOfEachType one;
    for (const std::size_t index : {0, 1, 2, 3, 4, 6}) {
        EXPECT_EQ(nullptr, one.all[index]->GetRepository()) << index;
    }
}

TEST(ParameterAttributesTest, GroupGivesMembersItsOwnMarks) {
    for (const bool initial : {true, false}) {
        SCOPED_TRACE(initial);
        UntypedParameter group;
        auto* const members = new ParameterRepository("Members", 60);
        Parameter* const member = AddTo(*members, new IntegerParameter(5, 0, 10));
        for (const Mark& mark : kMarks) {
            ASSERT_THAT((group.*mark.set)(mark.initial == initial), IsBareCode(0));
            ASSERT_THAT((member->*mark.set)(mark.initial != initial), IsBareCode(0));
        }

        group.InitRepository(members);

        EXPECT_EQ(MarksOf(group), MarksOf(*member));
    }
}

TEST(ParameterAttributesTest, GroupGivesMarksToMembersTwoDeep) {
    auto* const innerMembers = new ParameterRepository("Members", 61);
    Parameter* const member = AddTo(*innerMembers, new IntegerParameter(5, 0, 10));
    auto* const inner = new UntypedParameter("Inner", 61);
    inner->InitRepository(innerMembers);
    auto* const outerMembers = new ParameterRepository("Members", 60);
    AddTo(*outerMembers, inner);
    UntypedParameter outer;
    ASSERT_THAT(outer.SetHidden(true), IsBareCode(0));

    outer.InitRepository(outerMembers);

    EXPECT_TRUE(member->IsHidden());
}

TEST(ParameterAttributesTest, GroupTakesLaterMembersAsTheyAre) {
    GroupParameter group;
    ASSERT_THAT(group.SetHidden(true), IsBareCode(0));

    const Parameter* const member = AddTo(*group.members, new IntegerParameter(5, 0, 10));

    EXPECT_FALSE(member->IsHidden());
}

using WatchedRepository = Watched<ParameterRepository>;

TEST(ParameterAttributesTest, GroupDestroysItsMembers) {
    int setDestroyed = 0;
    bool memberDestroyed = false;
    {
        auto* const members = new WatchedRepository(setDestroyed, "Watched", 60);
        AddTo(*members, new WatchedParameter([&] { memberDestroyed = true; }));
        UntypedParameter group;
        group.InitRepository(members);
        EXPECT_FALSE(setDestroyed);
    }
    EXPECT_TRUE(setDestroyed);
    EXPECT_TRUE(memberDestroyed);
}

TEST(ParameterAttributesTest, MarksReachTheMembersAlsoAfterTheTypeChanged) {
    GroupParameter group;
    const Parameter* const member = AddTo(*group.members, new IntegerParameter(5, 0, 10));
    group.InitString("text");

    ASSERT_THAT(group.SetHidden(true), IsBareCode(0));

    EXPECT_TRUE(member->IsHidden());
}

TEST(ParameterAttributesTest, MembersAreDestroyedAlsoAfterTheTypeChanged) {
    int destroyed = 0;
    {
        UntypedParameter group;
        group.InitRepository(new WatchedRepository(destroyed, "Watched", 60));
        group.InitString("text");
    }
    EXPECT_TRUE(destroyed);
}

TEST(ParameterAttributesTest, AnotherSetOfMembersReplacesTheFirst) {
    int destroyed = 0;
    UntypedParameter group;
    group.InitRepository(new WatchedRepository(destroyed, "Watched", 60));
    auto* const second = new ParameterRepository("Second", 61);

    group.InitRepository(second);

    EXPECT_TRUE(destroyed);
    EXPECT_EQ(second, group.GetRepository());
}

TEST(ParameterAttributesTest, GroupMayHaveNoSetOfMembers) {
    UntypedParameter group;
    group.InitRepository(nullptr);

    EXPECT_EQ(5u, group.GetType());
    EXPECT_EQ(nullptr, group.GetRepository());
    EXPECT_FALSE(group.HasChanged(/*aReset=*/true));
    EXPECT_THAT(group.SetHidden(true), IsBareCode(Code::Success));
    EXPECT_THAT(group.ResetDefault(), IsBareCode(Code::Success));
}

// The change mark

TEST(ParameterAttributesTest, ChangeMarkStaysUntilItIsReset) {
    IntegerParameter parameter(5, 0, 10);
    const Parameter& reader = parameter;
    ASSERT_THAT(parameter.SetInt(6), IsBareCode(0));

    EXPECT_TRUE(reader.HasChanged(/*aReset=*/false));
    EXPECT_TRUE(reader.HasChanged(/*aReset=*/true));
    EXPECT_FALSE(reader.HasChanged(/*aReset=*/false));
}

TEST(ParameterAttributesTest, MissingOneHasNotChanged) {
    const ErrorWatch watch;

    EXPECT_FALSE(MissingParameter()->HasChanged(/*aReset=*/true));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterAttributesTest, GroupWithoutMembersHasNotChanged) {
    IntegerParameter parameter(5, 0, 10);
    ASSERT_THAT(parameter.SetInt(6), IsBareCode(0));

    parameter.InitRepository(new ParameterRepository("Members", 60));

    // The parameter's own mark does not count.
    EXPECT_FALSE(parameter.HasChanged(/*aReset=*/true));
    parameter.InitString("text");
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterAttributesTest, GroupHasChangedWhenAnyMemberHas) {
    for (unsigned long changed = 0; changed < 3; ++changed) {
        SCOPED_TRACE(changed);
        GroupParameter group;
        AddTo(*group.members, new IntegerParameter(5, 0, 10, "A", 1));
        AddTo(*group.members, new IntegerParameter(5, 0, 10, "B", 2));
        AddTo(*group.members, new IntegerParameter(5, 0, 10, "C", 3));
        EXPECT_FALSE(group.HasChanged(/*aReset=*/false));

        ASSERT_THAT(group.members->GetByIndex(changed)->SetInt(6), IsBareCode(0));

        EXPECT_TRUE(group.HasChanged(/*aReset=*/false));
        EXPECT_TRUE(group.members->GetByIndex(changed)->HasChanged(/*aReset=*/false));
    }
}

TEST(ParameterAttributesTest, ResetOfTheChangeMarkVisitsEveryMember) {
    GroupParameter group;
    Parameter* const members[] = {AddTo(*group.members, new IntegerParameter(5, 0, 10, "A", 1)),
                                  AddTo(*group.members, new IntegerParameter(5, 0, 10, "B", 2))};
    for (Parameter* const member : members) ASSERT_THAT(member->SetInt(6), IsBareCode(0));

    EXPECT_TRUE(group.HasChanged(/*aReset=*/true));

    EXPECT_FALSE(members[0]->HasChanged(/*aReset=*/false));
    EXPECT_FALSE(members[1]->HasChanged(/*aReset=*/false));
    EXPECT_FALSE(group.HasChanged(/*aReset=*/true));
}

TEST(ParameterAttributesTest, ChangeMarkReachesMembersTwoDeep) {
    GroupParameter outer;
    auto* const inner = AddTo(*outer.members, new GroupParameter("Inner", 61));
    Parameter* const member = AddTo(*inner->members, new IntegerParameter(5, 0, 10));
    ASSERT_THAT(member->SetInt(6), IsBareCode(0));

    EXPECT_TRUE(outer.HasChanged(/*aReset=*/true));

    EXPECT_FALSE(member->HasChanged(/*aReset=*/false));
    EXPECT_FALSE(outer.HasChanged(/*aReset=*/false));
}

// Enumeration entries

TEST(ParameterAttributesTest, EntriesRaiseTheMaximum) {
    EnumParameter parameter({});
    for (long long count = 1; count <= 3; ++count) {
        EXPECT_THAT(parameter.AddEnumValue("entry"), IsBareCode(Code::Success));
        EXPECT_EQ(count - 1, parameter.GetMaxInt());
        EXPECT_EQ(0, parameter.GetMinInt());
    }

    EXPECT_THAT(parameter.SetInt(2), IsBareCode(Code::Success));
    EXPECT_THAT(parameter.SetInt(3), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ("Value does not fit in the range", LastErrorText());
}

TEST(ParameterAttributesTest, EntriesLeaveValueDefaultAndChangeMarkAlone) {
    EnumParameter parameter({"Slow", "Fast"});
    ASSERT_THAT(parameter.SetDefaultInt(1), IsBareCode(0));
    ASSERT_THAT(parameter.SetInt(1), IsBareCode(0));

    ASSERT_THAT(parameter.AddEnumValue("Turbo"), IsBareCode(0));

    EXPECT_EQ(1, parameter.GetInt());
    EXPECT_EQ(1, parameter.GetDefaultInt());
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterAttributesTest, EntryResetsAMaximumThatWasSet) {
    EnumParameter parameter({"Slow"});
    ASSERT_THAT(parameter.SetRange(-5LL, 100LL), IsBareCode(0));

    ASSERT_THAT(parameter.AddEnumValue("Fast"), IsBareCode(0));

    EXPECT_EQ(1, parameter.GetMaxInt());
    EXPECT_EQ(-5, parameter.GetMinInt());
}

TEST(ParameterAttributesTest, EntryIsChosenByItsPosition) {
    EnumParameter parameter({"Slow", "Fast", "Turbo"});

    ASSERT_THAT(parameter.SetInt(2), IsBareCode(0));

    EXPECT_EQ(String("Turbo"), parameter.GetString());
}

TEST(ParameterAttributesTest, EntriesAreReadByPosition) {
    const EnumParameter parameter({"Slow", "Fast"});
    String name;

    EXPECT_THAT(parameter.GetEnumValue(0, name), IsBareCode(Code::Success));
    EXPECT_EQ(String("Slow"), name);
    EXPECT_THAT(parameter.GetEnumValue(1, name), IsBareCode(Code::Success));
    EXPECT_EQ(String("Fast"), name);
    EXPECT_EQ(String("Slow"), parameter.GetEnumValueString(0));
    EXPECT_EQ(String("Fast"), parameter.GetEnumValueString(1));
}

TEST(ParameterAttributesTest, EntryBeyondTheLastDoesNotExist) {
    const EnumParameter parameter({"Slow", "Fast"});
    for (const unsigned long index : {2UL, 0xFFFFFFFFUL}) {
        SCOPED_TRACE(index);
        const ErrorWatch watch;
        String name("untouched");
        EXPECT_THAT(parameter.GetEnumValue(index, name), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ("Invalid enumeration value index", LastErrorText());
        EXPECT_EQ(String("untouched"), name);
        EXPECT_TRUE(parameter.GetEnumValueString(index).IsEmpty());
    }
}

TEST(ParameterAttributesTest, EntriesAreCopiesThatStayInPlace) {
    EnumParameter parameter({});
    String name("Slow");
    ASSERT_THAT(parameter.AddEnumValue(name), IsBareCode(0));
    const String* const entry = &parameter.GetEnumValueString(0);

    name = String("changed");
    for (int count = 0; count < 1000; ++count) {
        ASSERT_THAT(parameter.AddEnumValue("more"), IsBareCode(0));
    }

    EXPECT_EQ(entry, &parameter.GetEnumValueString(0));
    EXPECT_EQ(String("Slow"), *entry);
    EXPECT_EQ(1000, parameter.GetMaxInt());
}

TEST(ParameterAttributesTest, EntriesAreCounted) {
    unsigned long count = 99;

    EXPECT_THAT(EnumParameter({}).GetEnumValueCount(count), IsBareCode(Code::Success));
    EXPECT_EQ(0u, count);
    EXPECT_THAT(EnumParameter({"Slow", "Slow"}).GetEnumValueCount(count),
                IsBareCode(Code::Success));
    EXPECT_EQ(2u, count);
}

TEST(ParameterAttributesTest, EntriesAreFoundByName) {
    const EnumParameter parameter({"Slow", "Fast", "Fast"});
    unsigned long index = 99;

    EXPECT_THAT(parameter.FindEnumValue("Slow", index), IsBareCode(Code::Success));
    EXPECT_EQ(0u, index);
    // The first of two equal entries; a wide name gives the same.
    EXPECT_THAT(parameter.FindEnumValue(L"Fast", index), IsBareCode(Code::Success));
    EXPECT_EQ(1u, index);
}

TEST(ParameterAttributesTest, EntryIsFoundByTheTextThatItWasMadeOf) {
    const std::string text(5000, 'x');
    const EnumParameter parameter({"Slow", text.c_str()});
    unsigned long index = 99;

    EXPECT_THAT(parameter.FindEnumValue(text.c_str(), index), IsBareCode(Code::Success));

    EXPECT_EQ(1u, index);
}

TEST(ParameterAttributesTest, EntriesAreFoundByTheirEightBitForm) {
    EnumParameter parameter({"Slow"});
    ASSERT_THAT(parameter.AddEnumValue(L"\u4e2d"), IsBareCode(0));
    unsigned long index = 99;

    EXPECT_THAT(parameter.FindEnumValue(L"\u6587", index), IsBareCode(Code::Success));
    EXPECT_EQ(1u, index);
}

TEST(ParameterAttributesTest, UnknownEntryIsNotFound) {
    const EnumParameter parameter({"Slow", "Fast"});
    for (const char* const name : {"slow", "Slo", "Slow ", ""}) {
        SCOPED_TRACE(name);
        const ErrorWatch watch;
        unsigned long index = 99;
        EXPECT_THAT(parameter.FindEnumValue(name, index), IsBareCode(Code::NotFound));
        EXPECT_EQ("Enumeration value does not exist in for parameter", LastErrorText());
        EXPECT_EQ(0xFFFFFFFFu, index);
    }
}

TEST(ParameterAttributesTest, NoEntryIsFoundInAnEmptyEnumeration) {
    unsigned long index = 99;

    EXPECT_THAT(EnumParameter({}).FindEnumValue("Slow", index), IsBareCode(Code::NotFound));
    EXPECT_EQ(0xFFFFFFFFu, index);
}

struct EntryOperation {
    const char* name;
    Result (*call)(Parameter*);
    bool checksObject;
};

const EntryOperation kEntryOperations[] = {
    {"AddEnumValue", [](Parameter* p) { return p->AddEnumValue("entry"); }, false},
    {"GetEnumValueCount",
     [](Parameter* p) {
         unsigned long count = 0;
         return p->GetEnumValueCount(count);
     },
     true},
    {"GetEnumValue",
     [](Parameter* p) {
         String name;
         return p->GetEnumValue(99, name);
     },
     true},
    {"FindEnumValue",
     [](Parameter* p) {
         unsigned long index = 0;
         return p->FindEnumValue("nowhere", index);
     },
     true}};

TEST(ParameterAttributesTest, EntriesOfOtherTypesAreRefused) {
    for (const EntryOperation& operation : kEntryOperations) {
        OneOfEachType one;
        for (const std::size_t index : {1, 2, 3, 4, 5, 6}) {
            SCOPED_TRACE(std::string(operation.name) + " of " +
                         one.all[index]->GetName().GetAscii());
            const ErrorWatch watch;
            EXPECT_THAT(operation.call(one.all[index]), IsBareCode(Code::NotAllowed));
            EXPECT_EQ(kNotEnumeration, LastErrorText());
            EXPECT_TRUE(one.all[index]->GetEnumValueString(0).IsEmpty());
        }
    }
}

TEST(ParameterAttributesTest, EntriesOfMissingOnesAreRefused) {
    for (const EntryOperation& operation : kEntryOperations) {
        if (!operation.checksObject) continue;
        SCOPED_TRACE(operation.name);
        const ErrorWatch watch;
        EXPECT_THAT(operation.call(MissingParameter()), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
    EXPECT_TRUE(MissingParameter()->GetEnumValueString(0).IsEmpty());
}

TEST(ParameterAttributesTest, EntriesStayWhenTheTypeChanges) {
    EnumParameter parameter({"Slow", "Fast"});

    parameter.InitString("text");
    EXPECT_TRUE(parameter.GetEnumValueString(0).IsEmpty());

    parameter.InitEnum();
    EXPECT_EQ(String("Slow"), parameter.GetEnumValueString(0));
}

// Network addresses

using Ip = std::array<unsigned char, 4>;
using Mac = std::array<unsigned char, 6>;

Result Get(Parameter& aParameter, Ip& aIp) {
    return aParameter.GetIp(aIp[0], aIp[1], aIp[2], aIp[3]);
}

Result Get(Parameter& aParameter, Mac& aMac) {
    return aParameter.GetMac(aMac[0], aMac[1], aMac[2], aMac[3], aMac[4], aMac[5]);
}

template <typename Address>
void ExpectReadAs(const Address& aExpected, const char* aText) {
    SCOPED_TRACE(aText);
    StringParameter parameter(aText);
    Address address = {};
    EXPECT_THAT(Get(parameter, address), IsBareCode(Code::Success));
    EXPECT_EQ(aExpected, address);
}

template <typename Address>
void ExpectRefusedWithoutAMessage(const char* aText) {
    SCOPED_TRACE(aText);
    const ErrorWatch watch;
    StringParameter parameter(aText);
    Address before;
    before.fill(9);
    Address address = before;
    EXPECT_THAT(Get(parameter, address), IsBareCode(Code::NotSupported));
    EXPECT_EQ(before, address);
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterAttributesTest, IpIsStoredInDecimal) {
    StringParameter parameter("");

    EXPECT_THAT(parameter.SetIp(192, 168, 0, 1), IsBareCode(Code::Success));
    EXPECT_EQ(String("192.168.0.1"), parameter.GetString());
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));

    EXPECT_THAT(parameter.SetIp(255, 255, 255, 255), IsBareCode(Code::Success));
    EXPECT_EQ(String("255.255.255.255"), parameter.GetString());
}

TEST(ParameterAttributesTest, IpIsReadBack) {
    StringParameter parameter("");
    ASSERT_THAT(parameter.SetIp(192, 168, 0, 1), IsBareCode(0));
    Ip ip = {};

    EXPECT_THAT(Get(parameter, ip), IsBareCode(Code::Success));
    EXPECT_EQ((Ip{192, 168, 0, 1}), ip);
}

TEST(ParameterAttributesTest, IpIsReadInEveryNotation) {
    ExpectReadAs(Ip{16, 255, 0, 1}, "0x10.0xFF.0x0.1");
    ExpectReadAs(Ip{8, 0, 15, 1}, "010.0.017.1");
    ExpectReadAs(Ip{0, 1, 255, 255}, "256.257.511.-1");
    ExpectReadAs(Ip{1, 2, 3, 4}, "1.2.3.4.5");
    ExpectReadAs(Ip{1, 2, 3, 4}, " 1. 2. 3. 4 end");
}

TEST(ParameterAttributesTest, TextThatIsNoIpIsRefusedWithoutAMessage) {
    for (const char* const text : {"", "1.2.3", "1.2.3.", "1,2,3,4", "a.b.c.d", "1.2.x.4"}) {
        ExpectRefusedWithoutAMessage<Ip>(text);
    }
}

TEST(ParameterAttributesTest, MacIsStoredInLowerCaseWithColons) {
    StringParameter parameter("");

    EXPECT_THAT(parameter.SetMac(0x00, 0x1A, 0xFF, 0x0b, 0x10, 0x9), IsBareCode(Code::Success));

    EXPECT_EQ(String("00:1a:ff:0b:10:09"), parameter.GetString());
    EXPECT_TRUE(parameter.HasChanged(/*aReset=*/false));
}

TEST(ParameterAttributesTest, StoredMacDoesNotReadBack) {
    const ErrorWatch watch;
    StringParameter parameter("");
    ASSERT_THAT(parameter.SetMac(1, 2, 3, 4, 5, 6), IsBareCode(0));
    Mac mac = {};

    EXPECT_THAT(Get(parameter, mac), IsBareCode(0x23));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ParameterAttributesTest, MacIsReadWithHyphens) {
    ExpectReadAs(Mac{0x00, 0x1A, 0xFF, 0x0B, 0x10, 0x09}, "00-1A-ff-0b-10-09");
    ExpectReadAs(Mac{1, 2, 3, 4, 5, 6}, "1-2-3-4-5-6-7");
    ExpectReadAs(Mac{0x00, 0xFF, 0x20, 0xF0, 0, 0x0A}, "100-1ff-0x20-fffffff0-0-a");
}

TEST(ParameterAttributesTest, TextThatIsNoMacIsRefusedWithoutAMessage) {
    for (const char* const text :
         {"", "1-2-3-4-5", "1-2-3-4-5-", "1:2:3:4:5:6", "1.2.3.4.5.6", "g-1-2-3-4-5"}) {
        ExpectRefusedWithoutAMessage<Mac>(text);
    }
}

TEST(ParameterAttributesTest, AddressesOfOtherTypesAreNotRead) {
    const ErrorWatch watch;
    OneOfEachType one;
    Ip ip = {};
    Mac mac = {};
    for (const std::size_t index : {0, 1, 2, 4, 5, 6}) {
        SCOPED_TRACE(index);
        EXPECT_THAT(Get(*one.all[index], ip), IsBareCode(Code::NotSupported));
        EXPECT_THAT(Get(*one.all[index], mac), IsBareCode(Code::NotSupported));
    }
    EXPECT_TRUE(watch.IsQuiet());
}

Result SetIp(Parameter* aParameter) { return aParameter->SetIp(1, 2, 3, 4); }

Result SetMac(Parameter* aParameter) { return aParameter->SetMac(1, 2, 3, 4, 5, 6); }

TEST(ParameterAttributesTest, AddressesOfOtherTypesAreNotStored) {
    OneOfEachType one;
    for (const auto set : {&SetIp, &SetMac}) {
        for (const std::size_t index : {0, 1, 2, 4, 5, 6}) {
            SCOPED_TRACE(index);
            const ErrorWatch watch;
            EXPECT_THAT(set(one.all[index]), IsBareCode(Code::NotAllowed));
            EXPECT_EQ(kNotString, LastErrorText());
        }
    }
}

TEST(ParameterAttributesTest, AddressesOfMissingOnesAreNotStored) {
    for (const auto set : {&SetIp, &SetMac}) {
        const ErrorWatch watch;
        EXPECT_THAT(set(MissingParameter()), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(kMissing, LastErrorText());
    }
}

TEST(ParameterAttributesTest, AddressesOfReadOnlyOnesAreRefusedBeforeTheTypeIsLookedAt) {
    StringParameter string("text");
    IntegerParameter integer(5, 0, 10);
    for (Parameter* const parameter :
         {static_cast<Parameter*>(&string), static_cast<Parameter*>(&integer)}) {
        ASSERT_THAT(parameter->SetReadOnly(true), IsBareCode(0));
        for (const auto set : {&SetIp, &SetMac}) {
            const ErrorWatch watch;
            EXPECT_THAT(set(parameter), IsBareCode(Code::NotAllowed));
            EXPECT_EQ(kReadOnly, LastErrorText());
        }
    }
    EXPECT_EQ(String("text"), string.GetString());
}

TEST(ParameterAttributesTest, SameAddressAgainIsNoChange) {
    for (const auto set : {&SetIp, &SetMac}) {
        StringParameter parameter("");
        ASSERT_THAT(set(&parameter), IsBareCode(0));
        ASSERT_THAT(set(&parameter), IsBareCode(0));
        EXPECT_FALSE(parameter.HasChanged(/*aReset=*/false));
    }
}

// A set of members whose size changes when a member is asked for.
class ResizedRepository : public OddRepository {
public:
    Parameter* GetByIndex(unsigned long aIndex) override {
        shownCount = laterCount;
        return OddRepository::GetByIndex(aIndex);
    }
    using OddRepository::GetByIndex;

    unsigned long laterCount = 0;
};

TEST(ParameterAttributesTest, GroupCountsNewMembersAnewAfterEachOne) {
    struct {
        const char* name;
        unsigned long first;
        unsigned long later;
        std::vector<unsigned long> reached;
    } const cases[] = {{"shrinks", 3, 2, {0, 1}},
                       {"becomes empty", 3, 0, {0}},
                       {"grows", 1, 3, {0, 1, 2}},
                       {"stays", 2, 2, {0, 1}}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        auto* const members = new ResizedRepository;  // The parameter owns it.
        for (unsigned long id = 0; id < 3; ++id) {
            AddTo(*members, new IntegerParameter(5, 0, 10, std::to_string(id).c_str(), id));
        }
        members->shownCount = each.first;
        members->laterCount = each.later;
        UntypedParameter group;
        ASSERT_THAT(group.SetHidden(true), IsBareCode(0));

        group.InitRepository(members);

        EXPECT_EQ(each.reached, members->asked);
        for (unsigned long id = 0; id < 3; ++id) {
            EXPECT_EQ(id < each.reached.size(), members->GetByID(id)->IsHidden()) << id;
        }
    }
}

}  // namespace
}  // namespace QvTests
