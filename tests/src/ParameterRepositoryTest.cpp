// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/ParameterRepository.h"

#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "AnsiCodePage.h"
#include "FailingAllocations.h"
#include "LoggedErrors.h"
#include "QvUserLib/Parameter.h"
#include "SampleParameters.h"
#include "SlotCalls.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr char kNameExists[] = "Parameter already exists!";
constexpr char kIdExists[] = "Parameter with the specified identifier already exists!";

// Returns false when there was no memory.
bool AddOrThrow(ParameterRepository& aRepository, Parameter* aParameter) {
    try {
        return aRepository.Add(aParameter).IsSuccess();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Three integers A, B, C with the identifiers 10, 20, 30.
class ParameterRepositoryTest : public testing::Test {
protected:
    ParameterRepository repository{"Settings", 5};
    Parameter* const a = AddTo(repository, new IntegerParameter(1, 0, 10, "A", 10));
    Parameter* const b = AddTo(repository, new IntegerParameter(2, 0, 10, "B", 20));
    Parameter* const c = AddTo(repository, new IntegerParameter(3, 0, 10, "C", 30));
    const ParameterRepository& reader = repository;
};

// The names by index. Checks that index, identifier and name lead to the same parameters.
std::vector<std::string> NamesIn(ParameterRepository& aRepository) {
    const ParameterRepository& reader = aRepository;
    std::vector<std::string> names;
    for (unsigned long index = 0; index < aRepository.GetCount(); ++index) {
        Parameter* const parameter = aRepository.GetByIndex(index);
        names.emplace_back(parameter->GetName().GetAscii());
        EXPECT_EQ(index, parameter->GetIndex());
        EXPECT_EQ(parameter, reader.GetByIndex(index));
        EXPECT_EQ(parameter, aRepository.GetByID(parameter->GetID()));
        EXPECT_EQ(parameter, reader.GetByID(parameter->GetID()));
        EXPECT_EQ(index, aRepository.GetIndexByID(parameter->GetID()));
        EXPECT_EQ(index, aRepository.GetIndexByName(parameter->GetName()));
    }
    return names;
}

// A new repository

TEST(NewParameterRepositoryTest, HasNameAndIdentifier) {
    const ParameterRepository repository("Settings", 0xFFFFFFFE);

    EXPECT_EQ(String("Settings"), repository.GetName());
    EXPECT_EQ(0xFFFFFFFEu, repository.GetID());
}

TEST(NewParameterRepositoryTest, IsEmpty) {
    ParameterRepository repository("Settings", 5);
    const ParameterRepository& reader = repository;

    EXPECT_EQ(0u, repository.GetCount());
    EXPECT_EQ(nullptr, repository.GetByIndex(0));
    EXPECT_EQ(nullptr, repository.GetByID(0));
    EXPECT_EQ(nullptr, reader.GetByID(0));
    EXPECT_FALSE(repository.HasByID(0));
    EXPECT_FALSE(repository.HasByName("Settings"));
}

TEST_F(ParameterRepositoryTest, NameAndIdentifierAreReplaced) {
    repository.SetName(L"\u4e2d");
    repository.SetID(6);

    EXPECT_STREQ(L"\u4e2d", repository.GetName().GetUnicode());
    EXPECT_EQ(6u, repository.GetID());
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
}

// Look-ups

TEST_F(ParameterRepositoryTest, ParametersAreFoundInAllThreeWays) {
    EXPECT_EQ(3u, repository.GetCount());
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
    EXPECT_TRUE(repository.HasByID(20));
    EXPECT_TRUE(repository.HasByName("B"));
    EXPECT_EQ(b, repository.GetByID(20));
    EXPECT_EQ(1u, repository.GetIndexByID(20));
}

TEST_F(ParameterRepositoryTest, IndexIsWhatTheParameterHoldsAsItsOwn) {
    b->SetIndex(7);

    EXPECT_EQ(7u, repository.GetIndexByID(20));
    EXPECT_EQ(7u, repository.GetIndexByName("B"));
}

TEST_F(ParameterRepositoryTest, AbsentOnesAreNotFound) {
    EXPECT_EQ(nullptr, repository.GetByIndex(3));
    EXPECT_EQ(nullptr, repository.GetByIndex(0xFFFFFFFF));
    EXPECT_EQ(nullptr, repository.GetByID(11));
    EXPECT_EQ(nullptr, reader.GetByID(11));
    EXPECT_FALSE(repository.HasByID(11));
    EXPECT_FALSE(repository.HasByName("D"));
    EXPECT_FALSE(repository.HasByName(""));
}

TEST_F(ParameterRepositoryTest, LookUpOfAnAbsentIdentifierLeavesNoTrace) {
    EXPECT_EQ(nullptr, repository.GetByID(40));

    EXPECT_FALSE(repository.HasByID(40));
    AddTo(repository, new IntegerParameter(4, 0, 10, "D", 40));
}

TEST_F(ParameterRepositoryTest, NamesThatDifferInCaseAreDistinct) {
    AddTo(repository, new IntegerParameter(4, 0, 10, "a", 40));

    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C", "a"));
    EXPECT_EQ(3u, repository.GetIndexByName("a"));
    EXPECT_EQ(0u, repository.GetIndexByName("A"));
}

TEST_F(ParameterRepositoryTest, WideNamesFindTheSameParameters) {
    EXPECT_TRUE(repository.HasByName(L"B"));
    EXPECT_EQ(1u, repository.GetIndexByName(L"B"));

    EXPECT_THAT(repository.RemoveByName(L"B"), IsBareCode(Code::Success));
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "C"));
}

TEST(ParameterRepositoryNameTest, NamesThatTheCodePageCannotTellApartAreEqual) {
    ParameterRepository repository("Settings", 5);
    auto first = std::make_unique<Parameter>(L"\u4e2d", 1);
    first->InitString("");
    auto second = std::make_unique<Parameter>(L"\u6587", 2);
    second->InitString("");
    AddTo(repository, first.release());

    EXPECT_THAT(repository.Add(second.get()), IsBareCode(Code::NotAllowed));

    EXPECT_EQ(kNameExists, LastErrorText());
    EXPECT_TRUE(repository.HasByName("?"));
    EXPECT_TRUE(repository.HasByName(L"\u6587"));
}

TEST(ParameterRepositoryNameTest, NamesOfTheCodePageAreDistinct) {
    ParameterRepository repository("Settings", 5);
    AddTo(repository, new IntegerParameter(0, 0, 0, "\xB5", 1));
    AddTo(repository, new IntegerParameter(0, 0, 0, "\xE9", 2));

    EXPECT_EQ(0u, repository.GetIndexByName(L"\u00B5"));
    EXPECT_EQ(1u, repository.GetIndexByName(L"\u00E9"));
}

// Add

TEST_F(ParameterRepositoryTest, AddTakesEveryTypeButNone) {
    Parameter* const parameters[] = {new EnumParameter({}),         new DoubleParameter(0, 0, 0),
                                     new IntegerParameter(0, 0, 0), new StringParameter(""),
                                     new BoolParameter(false),      new GroupParameter};
    for (Parameter* const parameter : parameters) {
        EXPECT_THAT(repository.Add(parameter), IsBareCode(Code::Success));
    }

    EXPECT_EQ(9u, repository.GetCount());
}

TEST_F(ParameterRepositoryTest, AddTakesEveryIdentifier) {
    AddTo(repository, new IntegerParameter(0, 0, 0, "First", 0));
    AddTo(repository, new IntegerParameter(0, 0, 0, "Last", 0xFFFFFFFF));

    EXPECT_EQ(3u, repository.GetIndexByID(0));
    EXPECT_EQ(4u, repository.GetIndexByID(0xFFFFFFFF));
}

TEST_F(ParameterRepositoryTest, AddChangesOnlyTheIndex) {
    auto* const added = new IntegerParameter(5, 0, 10, "D", 40);
    added->SetIndex(99);
    ASSERT_THAT(added->SetInt(6), IsBareCode(0));

    AddTo(repository, added);

    EXPECT_EQ(3u, added->GetIndex());
    EXPECT_EQ(6, added->GetInt());
    EXPECT_TRUE(added->HasChanged(/*aReset=*/false));
}

struct Refusal {
    const char* name;
    Parameter* parameter;
    unsigned long code;
    const char* message;
};

class RefusedParameterTest : public ParameterRepositoryTest {
protected:
    // The later ones fail the checks of the earlier ones too, as far as that can be.
    UntypedParameter namelessUntyped{"", 10};
    IntegerParameter nameless{0, 0, 0, "", 10};
    UntypedParameter untyped{"A", 10};
    IntegerParameter sameNameAndIdentifier{0, 0, 0, "A", 10};
    IntegerParameter sameName{0, 0, 0, "A", 40};
    IntegerParameter sameIdentifier{0, 0, 0, "D", 10};

    const Refusal refusals[7] = {
        {"null", nullptr, 0x12, "Error allocating memory for the parameter"},
        {"no name and type", &namelessUntyped, 0x12, "Invalid name, it must be non-empty!"},
        {"no name", &nameless, 0x12, "Invalid name, it must be non-empty!"},
        {"no type", &untyped, 0x12, "Invalid property type!"},
        {"name and identifier", &sameNameAndIdentifier, 0x1C, kNameExists},
        {"name", &sameName, 0x1C, kNameExists},
        {"identifier", &sameIdentifier, 0x1C, kIdExists}};
};

TEST_F(RefusedParameterTest, FirstFailingCheckIsReported) {
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        const ErrorWatch watch;
        EXPECT_THAT(repository.Add(refusal.parameter), IsBareCode(refusal.code));
        EXPECT_EQ(refusal.message, LastErrorText());
    }
}

TEST_F(RefusedParameterTest, NothingChanges) {
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        if (refusal.parameter != nullptr) refusal.parameter->SetIndex(99);
        EXPECT_THAT(repository.Add(refusal.parameter), IsBareCode(refusal.code));
        EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
        EXPECT_FALSE(repository.HasByID(40));
        EXPECT_FALSE(repository.HasByName("D"));
        if (refusal.parameter != nullptr) {
            EXPECT_EQ(99u, refusal.parameter->GetIndex());
        }
    }
}

TEST_F(RefusedParameterTest, ChecksAreLoggedWithTheirOwnLines) {
    const auto lines = LoggedErrors([&] {
        for (const int index : {0, 2, 3, 5, 6}) {
            EXPECT_THAT(repository.Add(refusals[index].parameter),
                        IsBareCode(refusals[index].code));
        }
    });

    EXPECT_THAT(
        lines,
        ElementsAre(
            "[0x12] .\\ParameterRepository(479) ERR  - Error allocating memory for the parameter",
            "[0x12] .\\ParameterRepository(481) ERR  - Invalid name, it must be non-empty!",
            "[0x12] .\\ParameterRepository(483) ERR  - Invalid property type!",
            "[0x1c] .\\ParameterRepository(486) ERR  - Parameter already exists!",
            "[0x1c] .\\ParameterRepository(488) ERR  - Parameter with the specified identifier "
            "already exists!"));
}

TEST_F(ParameterRepositoryTest, RefusedParameterStaysTheCallers) {
    bool destroyed = false;
    const auto refused = std::make_unique<WatchedParameter>([&] { destroyed = true; }, "A", 40);
    {
        ParameterRepository other("Other", 6);
        AddTo(other, new IntegerParameter(0, 0, 0, "A", 10));
        EXPECT_THAT(other.Add(refused.get()), IsBareCode(Code::NotAllowed));
    }
    EXPECT_FALSE(destroyed);
}

TEST_F(ParameterRepositoryTest, SameParameterIsNotAddedTwice) {
    EXPECT_THAT(repository.Add(b), IsBareCode(Code::NotAllowed));

    EXPECT_EQ(kNameExists, LastErrorText());
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
}

// Removal

TEST_F(ParameterRepositoryTest, RemovalByIndexRenumbersWhatFollows) {
    EXPECT_THAT(repository.RemoveByIndex(1), IsBareCode(Code::Success));

    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "C"));
    EXPECT_EQ(c, repository.GetByIndex(1));
    EXPECT_EQ(1u, c->GetIndex());
    EXPECT_FALSE(repository.HasByID(20));
    EXPECT_FALSE(repository.HasByName("B"));
}

TEST_F(ParameterRepositoryTest, RemovalByIdentifierAndName) {
    EXPECT_THAT(repository.RemoveByID(10), IsBareCode(Code::Success));
    EXPECT_THAT(NamesIn(repository), ElementsAre("B", "C"));

    EXPECT_THAT(repository.RemoveByName("C"), IsBareCode(Code::Success));
    EXPECT_THAT(NamesIn(repository), ElementsAre("B"));

    EXPECT_THAT(repository.RemoveByIndex(0), IsBareCode(Code::Success));
    EXPECT_THAT(NamesIn(repository), IsEmpty());
}

TEST_F(ParameterRepositoryTest, RemovalDeletesTheParameter) {
    using Removal = Result (*)(ParameterRepository&);
    const Removal removals[] = {[](ParameterRepository& r) { return r.RemoveByIndex(3); },
                                [](ParameterRepository& r) { return r.RemoveByID(40); },
                                [](ParameterRepository& r) { return r.RemoveByName("D"); }};
    for (const Removal remove : removals) {
        int destroyed = 0;
        AddTo(repository, new WatchedParameter([&] { ++destroyed; }, "D", 40));
        EXPECT_THAT(remove(repository), IsBareCode(Code::Success));
        EXPECT_EQ(1, destroyed);
    }
}

TEST_F(ParameterRepositoryTest, RemovedParameterIsDeletedBetweenMapsAndList) {
    unsigned long count = 0;
    AddTo(repository, new WatchedParameter(
                          [&] {
                              EXPECT_FALSE(repository.HasByID(40));
                              EXPECT_FALSE(repository.HasByName("D"));
                              count = repository.GetCount();
                          },
                          "D", 40));

    ASSERT_THAT(repository.RemoveByIndex(3), IsBareCode(0));

    EXPECT_EQ(4u, count);
}

TEST_F(ParameterRepositoryTest, RemovedNameAndIdentifierCanBeAddedAgain) {
    ASSERT_THAT(repository.RemoveByIndex(0), IsBareCode(0));

    AddTo(repository, new IntegerParameter(0, 0, 0, "A", 10));

    EXPECT_THAT(NamesIn(repository), ElementsAre("B", "C", "A"));
}

TEST_F(ParameterRepositoryTest, AbsentOnesAreNotRemoved) {
    const ErrorWatch watch;

    EXPECT_THAT(repository.RemoveByIndex(3), IsBareCode(Code::NotFound));
    EXPECT_THAT(repository.RemoveByID(11), IsBareCode(Code::NotFound));
    EXPECT_THAT(repository.RemoveByName("D"), IsBareCode(Code::NotFound));

    EXPECT_TRUE(watch.IsQuiet());
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
    EXPECT_FALSE(repository.HasByID(11));
    EXPECT_FALSE(repository.HasByName("D"));
}

TEST(NewParameterRepositoryTest, HasNothingToRemove) {
    ParameterRepository repository("Settings", 5);

    EXPECT_THAT(repository.RemoveByIndex(0), IsBareCode(Code::NotFound));
}

// The library stops a caller that breaks the contract. Each case runs in a process of its own.

using ParameterRepositoryDeathTest = ParameterRepositoryTest;

// The process ended itself by abort. A wrong access may end a process too, but only by chance.
bool IsAborted(int aExitCode) {
    constexpr int kExitCodeOfAbort = 3;
    return aExitCode == kExitCodeOfAbort ||
           static_cast<unsigned int>(aExitCode) == STATUS_STACK_BUFFER_OVERRUN;
}

TEST_F(ParameterRepositoryDeathTest, RemovalAboveTheCount) {
    EXPECT_EXIT((void)repository.RemoveByIndex(4), IsAborted, "");
    EXPECT_EXIT((void)repository.RemoveByIndex(0xFFFFFFFF), IsAborted, "");
}

TEST_F(ParameterRepositoryDeathTest, IndexOutOfRangeOfAConstantRepository) {
    EXPECT_EXIT(reader.GetByIndex(3), IsAborted, "");
    EXPECT_EXIT(reader.GetByIndex(0xFFFFFFFF), IsAborted, "");
}

TEST_F(ParameterRepositoryDeathTest, IndexOfAnAbsentIdentifier) {
    EXPECT_EXIT((void)repository.GetIndexByID(11), IsAborted, "");
}

TEST_F(ParameterRepositoryDeathTest, IndexOfAnAbsentName) {
    EXPECT_EXIT((void)repository.GetIndexByName("D"), IsAborted, "");
}

// Reset and destruction

TEST_F(ParameterRepositoryTest, ResetRemovesEverythingButNameAndIdentifier) {
    EXPECT_THAT(repository.Reset(), IsBareCode(Code::Success));

    EXPECT_THAT(NamesIn(repository), IsEmpty());
    EXPECT_EQ(nullptr, repository.GetByIndex(0));
    EXPECT_FALSE(repository.HasByID(10));
    EXPECT_FALSE(repository.HasByName("A"));
    EXPECT_EQ(String("Settings"), repository.GetName());
    EXPECT_EQ(5u, repository.GetID());
    AddTo(repository, new IntegerParameter(0, 0, 0, "A", 10));
    EXPECT_THAT(repository.Reset(), IsBareCode(Code::Success));
    EXPECT_THAT(repository.Reset(), IsBareCode(Code::Success));
}

TEST(ParameterRepositoryOrderTest, ResetDeletesFromTheLastToTheFirst) {
    ParameterRepository repository("Settings", 5);
    std::vector<std::string> deleted;
    for (const char* const name : {"A", "B", "C"}) {
        AddTo(repository, new WatchedParameter(
                              [&, name] {
                                  // The maps are empty by then, and the list still ends with it.
                                  EXPECT_FALSE(repository.HasByName("A"));
                                  EXPECT_FALSE(repository.HasByID('A'));
                                  EXPECT_EQ(3 - deleted.size(), repository.GetCount());
                                  deleted.emplace_back(name);
                              },
                              name, static_cast<unsigned char>(*name)));
    }

    ASSERT_THAT(repository.Reset(), IsBareCode(0));

    EXPECT_THAT(deleted, ElementsAre("C", "B", "A"));
}

TEST(ParameterRepositoryOrderTest, DestructionDeletesFromTheLastToTheFirst) {
    std::vector<std::string> deleted;
    {
        ParameterRepository repository("Settings", 5);
        for (const char* const name : {"A", "B", "C"}) {
            AddTo(repository, new WatchedParameter([&, name] { deleted.emplace_back(name); }, name,
                                                   static_cast<unsigned char>(*name)));
        }
    }
    EXPECT_THAT(deleted, ElementsAre("C", "B", "A"));
}

// ResetDefaults

TEST_F(ParameterRepositoryTest, DefaultsAreRestoredExceptForReadOnlyOnes) {
    for (Parameter* const parameter : {a, b, c}) ASSERT_THAT(parameter->SetInt(9), IsBareCode(0));
    ASSERT_THAT(b->SetReadOnly(true), IsBareCode(0));
    const ErrorWatch watch;

    EXPECT_THAT(repository.ResetDefaults(), IsBareCode(Code::Success));

    EXPECT_EQ(1, a->GetInt());
    EXPECT_EQ(9, b->GetInt());
    EXPECT_EQ(3, c->GetInt());
    // Nothing is reported for a read-only one, because it is skipped.
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(ParameterRepositoryTest, DefaultThatIsRefusedDoesNotStopTheOthers) {
    for (Parameter* const parameter : {a, c}) ASSERT_THAT(parameter->SetInt(9), IsBareCode(0));
    ASSERT_THAT(a->SetRange(5LL, 10LL), IsBareCode(0));

    EXPECT_THAT(repository.ResetDefaults(), IsBareCode(Code::Success));

    EXPECT_EQ("Value does not fit in the range", LastErrorText());
    EXPECT_EQ(9, a->GetInt());
    EXPECT_EQ(3, c->GetInt());
}

// CopyValueByID

// Both hold one parameter of each type under the same identifiers, with different values.
class CopyValueTest : public testing::Test {
protected:
    static void Fill(ParameterRepository& aRepository, bool aIsSource) {
        auto* const mode = AddTo(aRepository, new EnumParameter({"Slow", "Fast"}, "Mode", 0));
        EXPECT_THAT(mode->SetInt(aIsSource ? 1 : 0), IsBareCode(0));
        AddTo(aRepository, new DoubleParameter(aIsSource ? 1.75 : 1.5, 1.0, 2.0, "Ratio", 1));
        AddTo(aRepository, new IntegerParameter(aIsSource ? 7 : 5, 0, 10, "Gain", 2));
        AddTo(aRepository, new StringParameter(aIsSource ? "new" : "text", "Label", 3));
        AddTo(aRepository, new BoolParameter(aIsSource, "Filter", 4));
        AddTo(aRepository, new GroupParameter("Trigger", 5));
        EXPECT_THAT(mode->HasChanged(/*aReset=*/true), aIsSource);
    }
    CopyValueTest() {
        Fill(source, /*aIsSource=*/true);
        Fill(target, /*aIsSource=*/false);
    }

    ParameterRepository source{"Source", 1};
    ParameterRepository target{"Target", 2};
};

TEST_F(CopyValueTest, ValueIsCopiedByType) {
    for (const unsigned long id : {0UL, 1UL, 2UL, 3UL}) {
        SCOPED_TRACE(id);
        EXPECT_THAT(target.CopyValueByID(source, id), IsBareCode(Code::Success));
        EXPECT_TRUE(target.GetByID(id)->HasChanged(/*aReset=*/false));
    }
    EXPECT_EQ(1, target.GetByID(0)->GetInt());
    EXPECT_EQ(1.75, target.GetByID(1)->GetDouble());
    EXPECT_EQ(7, target.GetByID(2)->GetInt());
    EXPECT_EQ(String("new"), target.GetByID(3)->GetString());
}

TEST_F(CopyValueTest, BooleansAndGroupsAreNotCopied) {
    const ErrorWatch watch;

    EXPECT_THAT(target.CopyValueByID(source, 4), IsBareCode(Code::NotSupported));
    EXPECT_THAT(target.CopyValueByID(source, 5), IsBareCode(Code::NotSupported));

    EXPECT_FALSE(target.GetByID(4)->GetBool());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(CopyValueTest, OtherTypesAreNotCopied) {
    const ErrorWatch watch;
    ParameterRepository other("Other", 3);
    AddTo(other, new IntegerParameter(1, 0, 10, "Number", 0));
    AddTo(other, new EnumParameter({"Slow"}, "Choice", 2));

    EXPECT_THAT(target.CopyValueByID(other, 0), IsBareCode(Code::NotSupported));
    EXPECT_THAT(target.CopyValueByID(other, 2), IsBareCode(Code::NotSupported));

    EXPECT_EQ(0, target.GetByID(0)->GetInt());
    EXPECT_EQ(5, target.GetByID(2)->GetInt());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(CopyValueTest, MissingOnesAreNotFound) {
    const ErrorWatch watch;
    ASSERT_THAT(source.RemoveByID(2), IsBareCode(0));
    ASSERT_THAT(target.RemoveByID(3), IsBareCode(0));

    EXPECT_THAT(target.CopyValueByID(source, 2), IsBareCode(Code::NotFound));
    EXPECT_THAT(target.CopyValueByID(source, 3), IsBareCode(Code::NotFound));
    EXPECT_THAT(target.CopyValueByID(source, 99), IsBareCode(Code::NotFound));

    EXPECT_EQ(5, target.GetByID(2)->GetInt());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(CopyValueTest, RefusedValueIsOnlyLogged) {
    ASSERT_THAT(target.GetByID(2)->SetReadOnly(true), IsBareCode(0));
    ASSERT_THAT(target.GetByID(1)->SetRange(1.0, 1.6), IsBareCode(0));

    EXPECT_THAT(target.CopyValueByID(source, 2), IsBareCode(Code::Success));
    EXPECT_EQ("Parameter is read-only", LastErrorText());
    EXPECT_THAT(target.CopyValueByID(source, 1), IsBareCode(Code::Success));
    EXPECT_EQ("Value does not fit in the range", LastErrorText());

    EXPECT_EQ(5, target.GetByID(2)->GetInt());
    EXPECT_EQ(1.5, target.GetByID(1)->GetDouble());
}

TEST_F(CopyValueTest, RefusedTextIsOnlyLogged) {
    const ErrorWatch watch;
    ASSERT_THAT(target.GetByID(3)->SetReadOnly(true), IsBareCode(0));

    EXPECT_THAT(target.CopyValueByID(source, 3), IsBareCode(Code::Success));

    EXPECT_EQ("Parameter is read-only", LastErrorText());
    EXPECT_EQ(String("text"), target.GetByID(3)->GetString());
}

// operator=

TEST_F(CopyValueTest, AssignmentCopiesValuesOfSharedIdentifiers) {
    ASSERT_THAT(source.RemoveByID(2), IsBareCode(0));
    ASSERT_THAT(target.RemoveByID(3), IsBareCode(0));

    EXPECT_EQ(&target, &(target = source));

    EXPECT_EQ(1, target.GetByID(0)->GetInt());
    EXPECT_EQ(1.75, target.GetByID(1)->GetDouble());
    EXPECT_EQ(5, target.GetByID(2)->GetInt());
    EXPECT_EQ(nullptr, target.GetByID(3));
    EXPECT_EQ(String("TRUE"), target.GetByID(4)->GetString());
}

TEST_F(CopyValueTest, AssignmentKeepsNameIdentifierAndMembership) {
    target = source;

    EXPECT_EQ(String("Target"), target.GetName());
    EXPECT_EQ(2u, target.GetID());
    EXPECT_THAT(NamesIn(target),
                ElementsAre("Mode", "Ratio", "Gain", "Label", "Filter", "Trigger"));
}

TEST_F(CopyValueTest, AssignmentWithoutSharedIdentifiersChangesNothing) {
    ParameterRepository other("Other", 3);
    AddTo(other, new IntegerParameter(9, 0, 10, "Gain", 99));

    target = other;

    EXPECT_EQ(5, target.GetByID(2)->GetInt());
    EXPECT_FALSE(target.HasByID(99));
    EXPECT_EQ(6u, target.GetCount());
}

TEST_F(ParameterRepositoryTest, AssignmentToItselfKeepsEverything) {
    const ParameterRepository& source = repository;

    repository = source;

    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
    EXPECT_EQ(1, a->GetInt());
}

// Copy constructor

TEST_F(ParameterRepositoryTest, CopyHasTheSameContent) {
    ASSERT_THAT(repository.RemoveByIndex(0), IsBareCode(0));

    ParameterRepository copy(repository);

    EXPECT_EQ(String("Settings"), copy.GetName());
    EXPECT_EQ(5u, copy.GetID());
    EXPECT_THAT(NamesIn(copy), ElementsAre("B", "C"));
    EXPECT_EQ(20u, copy.GetByIndex(0)->GetID());
    EXPECT_EQ(2, copy.GetByIndex(0)->GetInt());
}

TEST_F(ParameterRepositoryTest, CopyHasParametersOfItsOwn) {
    ParameterRepository copy(repository);
    EXPECT_NE(a, copy.GetByIndex(0));

    ASSERT_THAT(copy.GetByIndex(0)->SetInt(9), IsBareCode(0));
    ASSERT_THAT(copy.RemoveByIndex(1), IsBareCode(0));

    EXPECT_EQ(1, a->GetInt());
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
}

TEST_F(ParameterRepositoryTest, PendingChangesMoveToTheCopy) {
    ASSERT_THAT(a->SetInt(9), IsBareCode(0));

    ParameterRepository copy(repository);

    EXPECT_FALSE(a->HasChanged(/*aReset=*/false));
    EXPECT_TRUE(copy.GetByIndex(0)->HasChanged(/*aReset=*/false));
    EXPECT_FALSE(copy.GetByIndex(1)->HasChanged(/*aReset=*/false));
}

TEST_F(ParameterRepositoryTest, CopyReportsWhatThereIsNoMemoryForAndGoesOn) {
    const ErrorWatch watch;
    std::vector<std::string> names;
    {
        // The first copied parameter gets its memory, the second does not.
        const FailingAllocations failing(sizeof(Parameter), sizeof(Parameter), /*aSpared=*/1);
        ParameterRepository copy(repository);
        EXPECT_EQ(2, failing.Count());
        names = NamesIn(copy);
    }
    EXPECT_THAT(names, ElementsAre("A"));
    EXPECT_EQ("Error allocating memory for the parameter", LastErrorText());
    EXPECT_THAT(NamesIn(repository), ElementsAre("A", "B", "C"));
}

TEST_F(ParameterRepositoryTest, AddingChangesNothingWhicheverMemoryRunsOut) {
    bool isRefused = true;
    for (int spared = 0; isRefused; ++spared) {
        SCOPED_TRACE(spared);
        auto added = std::make_unique<IntegerParameter>(4, 0, 10, "D, with a long name", 40);
        {
            const FailingAllocations failing(1, SIZE_MAX, spared);
            EXPECT_TRUE(!AddOrThrow(repository, added.get()) || failing.Count() == 0);
            isRefused = failing.Count() > 0;
        }
        if (!isRefused) (void)added.release();

        EXPECT_EQ(isRefused ? 3u : 4u, repository.GetCount());
        EXPECT_EQ(!isRefused, repository.HasByID(40));
        EXPECT_EQ(!isRefused, repository.HasByName("D, with a long name"));
    }
}

// Derived repositories

// Returns what its members say, and records which operations were called.
class OverridingRepository : public ParameterRepository {
public:
    OverridingRepository() : ParameterRepository("Derived", 9) {}
    OverridingRepository(const OverridingRepository&) = delete;
    using ParameterRepository::operator=;

    const String& GetName() const override { return Note("GetName"), name; }
    unsigned long GetID() const override { return Note("GetID"), 77; }
    Parameter* GetByID(unsigned long aID) override {
        return Note("GetByID"), ParameterRepository::GetByID(aID + idOffset);
    }
    const Parameter* GetByID(unsigned long aID) const override {
        return Note("GetByID const"), ParameterRepository::GetByID(aID + idOffset);
    }
    Parameter* GetByIndex(unsigned long aIndex) override {
        return Note("GetByIndex"), ParameterRepository::GetByIndex(aIndex);
    }
    const Parameter* GetByIndex(unsigned long aIndex) const override {
        Note("GetByIndex const");
        return ParameterRepository::GetByIndex(aIndex == repeated ? 0 : aIndex);
    }
    unsigned long GetCount() const override {
        Note("GetCount");
        return ParameterRepository::GetCount() - hidden;
    }
    unsigned long GetIndexByID(unsigned long aID) override {
        return Note("GetIndexByID"), ParameterRepository::GetIndexByID(aID + idOffset);
    }
    unsigned long GetIndexByName(const String& aName) override {
        Note("GetIndexByName");
        askedName = aName.GetUnicode();
        return 0;
    }
    bool HasByID(unsigned long) const override { return Note("HasByID"), hasAll; }
    bool HasByName(const String&) const override { return Note("HasByName"), hasAll; }
    Result ResetDefaults() override { return Note("ResetDefaults"), Result(101); }
    Result Add(Parameter* aParameter) override {
        return Note("Add"), ParameterRepository::Add(aParameter);
    }
    Result RemoveByIndex(unsigned long aIndex) override {
        Note("RemoveByIndex");
        removedIndex = aIndex;
        return Result(102);
    }
    Result RemoveByID(unsigned long aID) override {
        return Note("RemoveByID"), ParameterRepository::RemoveByID(aID);
    }
    Result RemoveByName(const String& aName) override {
        return Note("RemoveByName"), ParameterRepository::RemoveByName(aName);
    }

    void Note(const char* aName) const { reached.emplace_back(aName); }

    String name{"Virtual"};
    unsigned long idOffset = 0;
    unsigned long hidden = 0;
    unsigned long repeated = 99;
    bool hasAll = false;
    unsigned long removedIndex = 99;
    std::wstring askedName;
    mutable std::vector<std::string> reached;
};

class DerivedRepositoryTest : public testing::Test {
protected:
    DerivedRepositoryTest() {
        AddTo(repository, new IntegerParameter(1, 0, 10, "A", 10));
        AddTo(repository, new IntegerParameter(2, 0, 10, "B", 11));
        repository.reached.clear();
    }

    OverridingRepository repository;
};

TEST_F(DerivedRepositoryTest, AddCallsTheOverriddenChecks) {
    IntegerParameter parameter(3, 0, 10, "C", 12);
    repository.hasAll = true;

    EXPECT_THAT(repository.ParameterRepository::Add(&parameter), IsBareCode(Code::NotAllowed));

    EXPECT_EQ(kNameExists, LastErrorText());
    EXPECT_THAT(repository.reached, ElementsAre("HasByName"));
}

TEST_F(DerivedRepositoryTest, AddChecksNameThenIdentifierThenCount) {
    AddTo<Parameter>(repository, new IntegerParameter(3, 0, 10, "C", 12));

    EXPECT_THAT(repository.reached, ElementsAre("Add", "HasByName", "HasByID", "GetCount"));
}

TEST_F(DerivedRepositoryTest, AddTakesTheOverriddenCountAsTheIndex) {
    repository.hidden = 1;
    auto* const added = AddTo(repository, new IntegerParameter(3, 0, 10, "C", 12));

    EXPECT_EQ(1u, added->GetIndex());
}

TEST_F(DerivedRepositoryTest, RemovalByIdentifierUsesTheOverriddenSteps) {
    repository.hasAll = true;
    repository.idOffset = 1;

    EXPECT_THAT(repository.RemoveByID(10), IsBareCode(102));

    EXPECT_THAT(repository.reached,
                ElementsAre("RemoveByID", "HasByID", "GetIndexByID", "RemoveByIndex"));
    EXPECT_EQ(1u, repository.removedIndex);
}

TEST_F(DerivedRepositoryTest, RemovalByIdentifierTrustsTheOverriddenCheck) {
    EXPECT_THAT(repository.RemoveByID(10), IsBareCode(Code::NotFound));

    EXPECT_THAT(repository.reached, ElementsAre("RemoveByID", "HasByID"));
}

TEST_F(DerivedRepositoryTest, RemovalByNameUsesTheOverriddenSteps) {
    repository.hasAll = true;

    EXPECT_THAT(repository.RemoveByName(L"\u4e2d"), IsBareCode(102));

    EXPECT_THAT(repository.reached,
                ElementsAre("RemoveByName", "HasByName", "GetIndexByName", "RemoveByIndex"));
    // The key is made from the 8-bit form.
    EXPECT_EQ(L"?", repository.askedName);
    EXPECT_EQ(0u, repository.removedIndex);
}

TEST_F(DerivedRepositoryTest, RemovalByNameTrustsTheOverriddenCheck) {
    EXPECT_THAT(repository.RemoveByName("A"), IsBareCode(Code::NotFound));

    EXPECT_THAT(repository.reached, ElementsAre("RemoveByName", "HasByName"));
}

TEST_F(DerivedRepositoryTest, CopyCallsTheOverriddenReadersOfItsSource) {
    const ParameterRepository copy(repository);

    EXPECT_EQ(String("Virtual"), copy.GetName());
    EXPECT_EQ(77u, copy.GetID());
    ASSERT_EQ(7u, repository.reached.size());
    EXPECT_THAT(
        std::vector<std::string>(repository.reached.begin(), repository.reached.begin() + 2),
        UnorderedElementsAre("GetName", "GetID"));
    EXPECT_THAT(
        std::vector<std::string>(repository.reached.begin() + 2, repository.reached.end()),
        ElementsAre("GetCount", "GetByIndex const", "GetCount", "GetByIndex const", "GetCount"));
}

TEST_F(DerivedRepositoryTest, CopyGoesOnAfterARefusedParameter) {
    AddTo(repository, new IntegerParameter(3, 0, 10, "C", 12));
    repository.repeated = 1;

    ParameterRepository copy(repository);

    EXPECT_EQ(kNameExists, LastErrorText());
    EXPECT_THAT(NamesIn(copy), ElementsAre("A", "C"));
}

TEST_F(DerivedRepositoryTest, CopyIsAPlainRepository) {
    ParameterRepository copy(repository);

    EXPECT_THAT(copy.RemoveByID(10), IsBareCode(Code::Success));

    EXPECT_THAT(NamesIn(copy), ElementsAre("B"));
}

TEST_F(DerivedRepositoryTest, AssignmentCallsTheOverriddenReadersOfBothSides) {
    ParameterRepository plain("Plain", 1);
    AddTo(plain, new IntegerParameter(7, 0, 10, "A", 10));

    plain = repository;
    EXPECT_THAT(repository.reached, ElementsAre("GetCount", "GetByIndex const", "GetCount",
                                                "GetByIndex const", "GetCount"));
    EXPECT_EQ(1, plain.GetByID(10)->GetInt());

    repository.reached.clear();
    repository.idOffset = 1;
    ASSERT_THAT(plain.GetByID(10)->SetInt(8), IsBareCode(0));
    repository = plain;
    EXPECT_THAT(repository.reached, ElementsAre("GetByID"));
    EXPECT_EQ(8, repository.ParameterRepository::GetByID(11)->GetInt());
}

TEST_F(DerivedRepositoryTest, CopyOfAValueCallsTheOverriddenLookUps) {
    OverridingRepository source;
    AddTo(source, new IntegerParameter(7, 0, 10, "A", 10));
    source.reached.clear();

    EXPECT_THAT(repository.CopyValueByID(source, 10), IsBareCode(Code::Success));

    EXPECT_THAT(source.reached, ElementsAre("GetByID const"));
    EXPECT_THAT(repository.reached, ElementsAre("GetByID"));
}

TEST_F(DerivedRepositoryTest, DefaultsAreRestoredInTheListItself) {
    ASSERT_THAT(repository.ParameterRepository::GetByID(10)->SetInt(9), IsBareCode(0));
    repository.hidden = 2;

    EXPECT_THAT(repository.ParameterRepository::ResetDefaults(), IsBareCode(Code::Success));

    EXPECT_EQ(1, repository.ParameterRepository::GetByID(10)->GetInt());
}

// The binary interface

TEST_F(DerivedRepositoryTest, VirtualFunctionsStandInTheirSlots) {
    void* const object = static_cast<ParameterRepository*>(&repository);
    repository.hasAll = true;
    const String name("A");
    IntegerParameter refused(0, 0, 0);

    EXPECT_EQ(&repository.name, CallSlot<const String*>(object, 2));
    EXPECT_EQ(77u, CallSlot<unsigned long>(object, 3));
    Parameter* const first = CallSlot<Parameter*>(object, 4, 10UL);
    EXPECT_EQ(first, CallSlot<const Parameter*>(object, 5, 10UL));
    EXPECT_EQ(first, CallSlot<Parameter*>(object, 6, 0UL));
    EXPECT_EQ(first, CallSlot<const Parameter*>(object, 7, 0UL));
    EXPECT_EQ(2u, CallSlot<unsigned long>(object, 8));
    EXPECT_EQ(0u, CallSlot<unsigned long>(object, 9, 10UL));
    EXPECT_EQ(0u, CallSlot<unsigned long>(object, 10, &name));
    EXPECT_TRUE(CallSlot<bool>(object, 11, 10UL));
    EXPECT_TRUE(CallSlot<bool>(object, 12, &name));
    EXPECT_THAT(CallSlot<Result>(object, 13), IsBareCode(101));
    EXPECT_THAT(CallSlot<Result>(object, 14, static_cast<Parameter*>(&refused)), IsBareCode(0x1C));
    EXPECT_THAT(CallSlot<Result>(object, 15, 0UL), IsBareCode(102));

    EXPECT_THAT(
        repository.reached,
        ElementsAre("GetName", "GetID", "GetByID", "GetByID const", "GetByIndex",
                    "GetByIndex const", "GetCount", "GetIndexByID", "GetIndexByName", "HasByID",
                    "HasByName", "ResetDefaults", "Add", "HasByName", "RemoveByIndex"));
}

TEST_F(DerivedRepositoryTest, RemovalsStandInTheLastSlots) {
    void* const object = static_cast<ParameterRepository*>(&repository);
    const String name("A");

    EXPECT_THAT(CallSlot<Result>(object, 16, 10UL), IsBareCode(Code::NotFound));
    EXPECT_THAT(CallSlot<Result>(object, 17, &name), IsBareCode(Code::NotFound));

    EXPECT_THAT(repository.reached,
                ElementsAre("RemoveByID", "HasByID", "RemoveByName", "HasByName"));
}

TEST(ParameterRepositoryTableTest, DestructorIsTheFirstVirtualFunction) {
    int destroyed = 0;

    CallSlot<void>(static_cast<ParameterRepository*>(
                       new Watched<ParameterRepository>(destroyed, "Watched", 60)),
                   1);

    EXPECT_EQ(1, destroyed);
}

// The fixed binary interface: a pointer to the virtual table, then the fields in this order.
struct RepositoryFields {
    void* table;
    String name;
    unsigned long id;
    std::vector<Parameter*> byIndex;
    std::map<unsigned long, Parameter*> byId;
    std::map<String, Parameter*> byName;
};

TEST_F(ParameterRepositoryTest, FieldsStandWhereTheBinaryInterfaceHasThem) {
    static_assert(sizeof(RepositoryFields) == sizeof(ParameterRepository), "all are listed");
    const auto& fields = reinterpret_cast<const RepositoryFields&>(repository);

    EXPECT_EQ(String("Settings"), fields.name);
    EXPECT_EQ(5u, fields.id);
    EXPECT_THAT(fields.byIndex, ElementsAre(a, b, c));
    EXPECT_EQ(b, fields.byId.at(20));
    EXPECT_EQ(c, fields.byName.at("C"));
}

TEST_F(ParameterRepositoryTest, NamesThatDifferAnywhereAreFoundEachOnItsOwn) {
    std::vector<std::string> names;
    for (std::size_t length = 1; length <= 20; ++length) {
        for (std::size_t place = 0; place < length; ++place) {
            names.emplace_back(length, 'm');
            names.back()[place] = place % 2 == 0 ? '\xF6' : 'd';
        }
    }
    unsigned long id = 1000;
    for (const std::string& name : names) {
        AddTo(repository, new IntegerParameter(0, 0, 10, name.c_str(), id++));
    }

    for (std::size_t index = 0; index < names.size(); ++index) {
        SCOPED_TRACE(names[index]);
        EXPECT_EQ(1000 + index,
                  repository.GetByIndex(repository.GetIndexByName(names[index].c_str()))->GetID());
        EXPECT_FALSE(repository.HasByName((names[index] + "e").c_str()));
    }
}

TEST_F(ParameterRepositoryTest, LookUpByNameTakesNoMemory) {
    const String name("a name that is longer than what a string keeps in itself");
    AddTo(repository, new IntegerParameter(0, 0, 10, name.GetAscii(), 1000));
    const AllocationCounter counter;

    EXPECT_TRUE(repository.HasByName(name));
    EXPECT_EQ(3u, repository.GetIndexByName(name));

    EXPECT_EQ(0, counter.Count());
}

// Names in other code pages

TEST_P(CodePageTest, NameIsFoundInBothForms) {
    ParameterRepository repository("Settings", 5);
    AddTo(repository, new IntegerParameter(0, 0, 10, "Plain", 1));
    auto named = std::make_unique<Parameter>(page.units.c_str(), 2);
    named->InitString("");
    AddTo(repository, named.release());

    for (const String& name : {String(page.units.c_str()), String(page.bytes.c_str())}) {
        EXPECT_TRUE(repository.HasByName(name));
        EXPECT_EQ(1u, repository.GetIndexByName(name));
    }
    EXPECT_THAT(repository.RemoveByName(page.bytes.c_str()), IsBareCode(Code::Success));
    EXPECT_FALSE(repository.HasByName(page.units.c_str()));
}

TEST_P(CodePageTest, NameExistsInBothForms) {
    ParameterRepository repository("Settings", 5);
    AddTo(repository, new IntegerParameter(0, 0, 10, page.bytes.c_str(), 1));
    Parameter again(page.units.c_str(), 2);
    again.InitString("");

    EXPECT_THAT(repository.Add(&again), IsBareCode(Code::NotAllowed));
    EXPECT_EQ(kNameExists, LastErrorText());
}

TEST_P(CodePageTest, CopyFindsItsParametersByTheSameNames) {
    ParameterRepository repository(page.units.c_str(), 5);
    AddTo(repository, new IntegerParameter(0, 0, 10, page.bytes.c_str(), 1));

    ParameterRepository copy(repository);

    EXPECT_EQ(page.units, copy.GetName().GetUnicode());
    EXPECT_EQ(0u, copy.GetIndexByName(page.units.c_str()));
}

TEST_P(CodePageTest, NameThatChangesInUtf16IsFoundAsTheParameterHoldsIt) {
    const char* const given = page.unstable.c_str();
    ParameterRepository repository("Settings", 5);
    Parameter* const parameter = AddTo(repository, new IntegerParameter(0, 0, 10, given, 1));

    EXPECT_STRNE(given, parameter->GetName().GetAscii());
    EXPECT_FALSE(repository.HasByName(given));
    EXPECT_TRUE(repository.HasByName(parameter->GetName()));
    EXPECT_THAT(repository.RemoveByName(parameter->GetName()), IsBareCode(Code::Success));
}

INSTANTIATE_TEST_SUITE_P(ParameterRepositoryTest, CodePageTest, testing::ValuesIn(kSampleCodePages),
                         NameOfCodePage);

}  // namespace
}  // namespace QvTests
