// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a driver answers is not trusted: blocks of all kinds are loaded, read, changed and sent
// back.

#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "AllocationCounter.h"
#include "KernelObjects.h"
#include "ParameterBlock.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "ScriptedConnection.h"
#include "TestScale.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::AnyOf;

// The current block, to find it after a crash.
struct {
    unsigned long seed;
    unsigned long number;
} theBlock;

LONG CALLBACK TellBlock(EXCEPTION_POINTERS* aException) {
    const DWORD code = aException->ExceptionRecord->ExceptionCode;
    if (code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_ILLEGAL_INSTRUCTION ||
        code == EXCEPTION_STACK_OVERFLOW) {
        std::fprintf(stderr, "crash: QVTEST_SEED=%lu QVTEST_FUZZ_FIRST=%lu QVTEST_FUZZ_BLOCKS=1\n",
                     theBlock.seed, theBlock.number);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

void ReadTexts(const Parameter& aParameter) {
    EXPECT_LE(std::strlen(aParameter.GetName().GetAscii()), 4095u);
    EXPECT_LE(std::wcslen(aParameter.GetName().GetUnicode()), 4095u);
    EXPECT_LE(std::wcslen(aParameter.GetDescription().GetUnicode()), 4095u);
    EXPECT_LE(std::strlen(aParameter.GetString().GetAscii()), 4095u);
    EXPECT_LE(std::strlen(aParameter.GetDefaultString().GetAscii()), 4095u);
    unsigned long count = 0;
    if (aParameter.GetType() != Parameter::TypeEnumeration) return;
    EXPECT_THAT(aParameter.GetEnumValueCount(count), IsBareCode(Code::Success));
    EXPECT_LE(count, 4096u);
    for (unsigned long index = 0; index < count; ++index) {
        EXPECT_LE(std::strlen(aParameter.GetEnumValueString(index).GetAscii()), 4095u);
    }
}

// No two alike, and each to be found in all three ways.
void CheckSet(DeviceParameterRepository& aParameters) {
    std::set<std::string> names;
    std::set<unsigned long> ids;
    for (unsigned long index = 0; index < aParameters.GetCount(); ++index) {
        Parameter* const parameter = aParameters.GetByIndex(index);
        const std::string name = parameter->GetName().GetAscii();
        EXPECT_NE("", name);
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_TRUE(ids.insert(parameter->GetID()).second) << parameter->GetID();
        EXPECT_EQ(index, parameter->GetIndex());
        EXPECT_EQ(parameter, aParameters.GetByID(parameter->GetID()));
        EXPECT_EQ(index, aParameters.GetIndexByName(parameter->GetName()));
        EXPECT_THAT(parameter->GetType(), AnyOf(Parameter::TypeInteger, Parameter::TypeEnumeration,
                                                Parameter::TypeString));
        ReadTexts(*parameter);
    }
}

// What a parameter is known by, and its number.
using Identity = std::pair<std::string, long long>;
std::map<unsigned long, Identity> Identities(DeviceParameterRepository& aParameters) {
    std::map<unsigned long, Identity> identities;
    for (unsigned long index = 0; index < aParameters.GetCount(); ++index) {
        const Parameter* const parameter = aParameters.GetByIndex(index);
        identities[parameter->GetID()] = {parameter->GetName().GetAscii(), parameter->GetInt()};
    }
    return identities;
}

// Changes what can be changed, as a user might.
void ChangeAll(DeviceParameterRepository& aParameters) {
    for (unsigned long index = 0; index < aParameters.GetCount(); ++index) {
        Parameter* const parameter = aParameters.GetByIndex(index);
        const long long present = parameter->GetInt();
        // Whether a value is taken is up to the range that the driver stated.
        (void)parameter->SetReadOnly(false);
        (void)parameter->SetInt(present == parameter->GetMinInt() ? present + 1 : present - 1);
        (void)parameter->SetString(L"changed \xD800 text");
    }
}

// All changes arrive as records that say what they are, and loading those gives the same again.
void CheckSending(DeviceParameterRepository& aParameters, ScriptedConnection& aConnection) {
    ChangeAll(aParameters);
    const unsigned int count = aParameters.GetChangeCount();
    const std::map<unsigned long, Identity> before = Identities(aParameters);
    aConnection.requests.clear();
    EXPECT_THAT(aParameters.Apply(), IsBareCode(Code::Success));
    EXPECT_EQ(0u, aParameters.GetChangeCount());
    EXPECT_EQ(count > 0 ? 1u : 0u, aConnection.requests.size());
    if (count == 0 || aConnection.requests.empty()) return;

    const std::vector<Record> sent = aConnection.requests.back().Records();
    ASSERT_EQ(count, sent.size());
    for (const Record& record : sent) {
        EXPECT_EQ(static_cast<std::uint32_t>(QV_PARAMETER_SENT), record.flags & QV_PARAMETER_SENT);
        EXPECT_EQ(1u, before.count(record.id));
        EXPECT_LE(record.type, static_cast<std::uint32_t>(QV_PARAMETER_STRING));
    }

    ScriptedConnection echo;
    DeviceParameterRepository again;
    echo.records = sent;
    (void)again.Connect(&echo);  // Ranges that the driver got wrong are no better now.
    EXPECT_EQ(count, again.GetCount());
    for (const auto& [id, identity] : Identities(again)) {
        EXPECT_EQ(before.at(id).first, identity.first);
    }
}

// What came of the blocks.
unsigned long theParameters = 0;
unsigned long theFlawless = 0;

// Everything that a program does with a block.
void UseBlock(const ParameterBlock& aBlock) {
    ScriptedConnection connection;
    connection.records = aBlock.records;
    connection.claimedSize = aBlock.claimedSize;
    DeviceParameterRepository parameters;

    const Result loaded = parameters.Connect(&connection);
    EXPECT_THAT(loaded.GetCode(), AnyOf(Code::Success, Code::InvalidArgument, Code::NotAllowed,
                                        Code::UnexpectedSize));
    EXPECT_LE(parameters.GetCount(), aBlock.claimedSize / sizeof(Record));
    EXPECT_EQ(0u, parameters.GetChangeCount());
    CheckSet(parameters);

    const unsigned long count = parameters.GetCount();
    theParameters += count;
    if (loaded.IsSuccess()) ++theFlawless;
    EXPECT_THAT(parameters.Refresh(), IsBareCode(loaded.GetCode()));
    EXPECT_EQ(count, parameters.GetCount());
    CheckSending(parameters, connection);
    EXPECT_THAT(parameters.ResetDefaults(), IsBareCode(Code::Success));
    EXPECT_THAT(parameters.Apply(), IsBareCode(Code::Success));
}

void ExpectNothingLost(const ParameterBlock& aBlock) {
    const AllocationCounter counter;
    UseBlock(aBlock);
    EXPECT_EQ(0, counter.Live()) << "blocks of memory lost";
}

// Keeps the block that a check failed with, to become part of the corpus.
void Save(const ParameterBlock& aBlock) {
    char folder[MAX_PATH] = {};
    ::GetTempPathA(MAX_PATH, folder);
    const std::string path = std::string(folder) + "seed-" + std::to_string(theBlock.seed) + "-" +
                             std::to_string(theBlock.number) + ".block";
    WriteBytes(path, aBlock.ToBytes());
    std::printf("the block is in %s\n", path.c_str());
}

// Blocks that once did harm, and such as are known to be hard.
TEST(DeviceParameterFuzzTest, BlocksOfTheCorpusAreSurvived) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QVTEST_CORPUS)) {
        if (entry.path().extension() != ".block") continue;
        SCOPED_TRACE(entry.path().string());
        ExpectNothingLost(ParameterBlock::FromBytes(ReadBytes(entry.path().string())));
        ++count;
    }
    EXPECT_GT(count, 0);
}

TEST(DeviceParameterFuzzTest, RandomBlocksAreSurvived) {
    const ExceptionHandler reporter(::AddVectoredExceptionHandler(/*First=*/1, &TellBlock));
    theBlock.seed = Seed();
    const unsigned long first = Scaled("QVTEST_FUZZ_FIRST", 0);
    const unsigned long count = Scaled("QVTEST_FUZZ_BLOCKS", 5000);
    theParameters = 0;
    theFlawless = 0;
    for (unsigned long number = first; number < first + count && !HasFailure(); ++number) {
        theBlock.number = number;
        SCOPED_TRACE("QVTEST_FUZZ_FIRST=" + std::to_string(number));
        const ParameterBlock block = ParameterBlockMaker(theBlock.seed, number).Make();
        // The counter redirects imports, which takes longer than using the block.
        if (number % 50 == 0) {
            ExpectNothingLost(block);
        } else {
            UseBlock(block);
        }
        if (HasFailure()) Save(block);
        if ((number + 1) % 100000 == 0) std::cout << number + 1 << " blocks" << std::endl;
    }
    std::printf("%lu blocks, %lu of them flawless, with %lu parameters\n", count, theFlawless,
                theParameters);
}

}  // namespace
}  // namespace QvTests
