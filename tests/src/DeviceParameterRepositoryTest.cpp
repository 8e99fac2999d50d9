// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceParameterRepository.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "AnsiCodePage.h"
#include "FailingAllocations.h"
#include "ImportPatch.h"
#include "LoggedErrors.h"
#include "QvUserLib/Parameter.h"
#include "SampleParameters.h"
#include "ScriptedConnection.h"
#include "SlotCalls.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

constexpr unsigned long kGet = 0x222000;
constexpr unsigned long kGetSize = 0x222004;
constexpr unsigned long kSet = 0x222008;

constexpr char kNameExists[] = "Parameter already exists!";

// Records as a driver writes them

template <typename Unit, std::size_t Size>
void Store(Unit (&aField)[Size], const std::basic_string<Unit>& aText) {
    std::copy_n(aText.begin(), std::min(Size, aText.size()), aField);
}

Record NewRecord(unsigned long aType, unsigned long aId, const std::wstring& aName) {
    Record record = {};
    record.type = aType;
    record.id = aId;
    Store(record.name, aName);
    return record;
}

Record IntegerRecord(unsigned long aId, const std::wstring& aName, unsigned long aValue = 5,
                     unsigned long aMin = 0, unsigned long aMax = 10) {
    Record record = NewRecord(0, aId, aName);
    record.minimum = aMin;
    record.maximum = aMax;
    record.defaultValue = aMin;
    record.value = aValue;
    return record;
}

Record EnumRecord(unsigned long aId, const std::wstring& aName,
                  std::initializer_list<const wchar_t*> aNames, unsigned long aValue = 0) {
    Record record = NewRecord(1, aId, aName);
    record.maximum = static_cast<unsigned long>(aNames.size()) - 1;
    record.value = aValue;
    std::wstring names;
    for (const wchar_t* const name : aNames) names.append(name).push_back(L'\0');
    Store(record.content.valueNames, names);
    return record;
}

Record StringRecord(unsigned long aId, const std::wstring& aName, const std::wstring& aDefault,
                    const std::wstring& aValue) {
    Record record = NewRecord(2, aId, aName);
    Store(record.content.string.defaultText, aDefault);
    Store(record.content.string.valueText, aValue);
    return record;
}

MATCHER_P(IsRecord, aExpected, "") {
    const auto* const expected = reinterpret_cast<const unsigned char*>(&aExpected);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&arg);
    const auto* const end = bytes + sizeof(Record);
    const auto* const differs = std::mismatch(bytes, end, expected).first;
    *result_listener << "the first difference is at byte " << differs - bytes;
    return differs == end;
}

// As long as the object lives, the C++ runtime gets no memory for blocks of so many bytes or more:
// the texts that it makes for the library do not grow.
class FullRuntime {
public:
    explicit FullRuntime(std::size_t aMin) { min_ = aMin; }
    bool IsActive() const { return patch_.IsActive(); }

private:
    static void* Malloc(std::size_t aSize) { return aSize < min_ ? std::malloc(aSize) : nullptr; }
    inline static std::size_t min_ = 0;
    ImportPatch patch_{"malloc", &Malloc, "libstdc++-6.dll"};
};

// The flags of a persistent record that the library sends.
constexpr unsigned long kSentPersistent = 0x02 | 0x08;

class DeviceParameterRepositoryTest : public testing::Test {
protected:
    // Loads these records, and forgets the requests for it.
    void Load(std::initializer_list<Record> aRecords) {
        connection.records = aRecords;
        ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
        connection.requests.clear();
    }

    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (unsigned long index = 0; index < repository.GetCount(); ++index) {
            names.emplace_back(repository.GetByIndex(index)->GetName().GetAscii());
        }
        return names;
    }

    void ExpectLoadsOnly(const char* aName) {
        EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::Success));
        EXPECT_THAT(Names(), ElementsAre(aName));
    }

    void ExpectLoadFails(ScriptedConnection& aConnection, unsigned long aCode) {
        EXPECT_THAT(repository.Connect(&aConnection), IsBareCode(aCode));
        EXPECT_EQ(0u, repository.GetCount());
        EXPECT_TRUE(repository.IsConnected());
    }

    // Applies, and returns the one record that was sent.
    Record SentRecord() {
        EXPECT_THAT(repository.Apply(), IsBareCode(0));
        EXPECT_EQ(1u, connection.requests.size());
        if (connection.requests.empty()) return Record();
        const std::vector<Record> records = connection.requests.back().Records();
        EXPECT_EQ(1u, records.size());
        return records.empty() ? Record() : records.front();
    }

    void ExpectLabelIsSent(const std::wstring& aDefault, const std::wstring& aValue) {
        Record expected = StringRecord(1, L"Label", aDefault, aValue);
        expected.flags = 0x02;
        EXPECT_THAT(SentRecord(), IsRecord(expected));
    }

    void ExpectChangeIsSentWhole(Record aRecord, long long aValue) {
        Load({aRecord});
        ASSERT_THAT(repository.GetByIndex(0)->SetInt(aValue), IsBareCode(0));

        aRecord.flags = kSentPersistent;
        aRecord.value = aValue;
        EXPECT_THAT(SentRecord(), IsRecord(aRecord));
    }

    ScriptedConnection connection;
    DeviceParameterRepository repository;
};

// Construction and Connect

TEST_F(DeviceParameterRepositoryTest, NewOneIsEmptyAndUnbound) {
    EXPECT_EQ(String("DeviceParameterRepository"), repository.GetName());
    EXPECT_EQ(0xFFFFFFFFu, repository.GetID());
    EXPECT_EQ(0u, repository.GetCount());
    EXPECT_FALSE(repository.IsConnected());
    EXPECT_EQ(0u, repository.GetChangeCount());
}

TEST_F(DeviceParameterRepositoryTest, NullConnectionIsRefused) {
    const ErrorWatch watch;

    EXPECT_THAT(repository.Connect(nullptr), IsBareCode(Code::InvalidArgument));

    EXPECT_FALSE(repository.IsConnected());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceParameterRepositoryTest, NullConnectionLeavesTheBoundOne) {
    Load({IntegerRecord(1, L"Gain")});

    EXPECT_THAT(repository.Connect(nullptr), IsBareCode(Code::InvalidArgument));

    EXPECT_TRUE(repository.IsConnected());
    EXPECT_THAT(Names(), ElementsAre("Gain"));
    EXPECT_THAT(repository.Refresh(), IsBareCode(0));
    EXPECT_EQ(2u, connection.requests.size());
}

TEST_F(DeviceParameterRepositoryTest, LoadAsksForTheSizeAndThenForTheBlock) {
    connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(2, L"Offset")};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::Success));

    ASSERT_EQ(2u, connection.requests.size());
    const Request& size = connection.requests[0];
    EXPECT_EQ(kGetSize, size.code);
    EXPECT_FALSE(size.hasInput || size.hasOutput || size.isOverlapped);
    EXPECT_TRUE(size.input.empty());
    EXPECT_EQ(0u, size.outputSize);
    EXPECT_TRUE(size.hasInfo);
    const Request& block = connection.requests[1];
    EXPECT_EQ(kGet, block.code);
    EXPECT_FALSE(block.hasInput || block.isOverlapped);
    EXPECT_TRUE(block.input.empty());
    EXPECT_TRUE(block.hasOutput && block.hasInfo);
    EXPECT_EQ(2456u, block.outputSize);
}

TEST_F(DeviceParameterRepositoryTest, ConnectionIsOnlyBorrowed) {
    {
        DeviceParameterRepository other;
        ASSERT_THAT(other.Connect(&connection), IsBareCode(0));
        EXPECT_EQ(1, connection.GetRefCount());
    }
    EXPECT_EQ(1, connection.GetRefCount());
    EXPECT_THAT(repository.Connect(&connection), IsBareCode(0));
}

TEST_F(DeviceParameterRepositoryTest, SecondConnectAddsToWhatIsThere) {
    Load({IntegerRecord(1, L"Gain")});
    ScriptedConnection other;
    other.records = {IntegerRecord(2, L"Offset")};

    EXPECT_THAT(repository.Connect(&other), IsBareCode(Code::Success));
    EXPECT_THAT(Names(), ElementsAre("Gain", "Offset"));

    // From now on the repository asks the other connection.
    EXPECT_THAT(repository.Refresh(), IsBareCode(Code::Success));
    EXPECT_THAT(Names(), ElementsAre("Offset"));
    EXPECT_TRUE(connection.requests.empty());
}

// What drivers answer to the size request

TEST_F(DeviceParameterRepositoryTest, SizeOfZeroGivesAnEmptyRepository) {
    connection.claimedSize = 0;

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::Success));

    EXPECT_EQ(0u, repository.GetCount());
    ASSERT_EQ(2u, connection.requests.size());
    EXPECT_EQ(0u, connection.requests[1].outputSize);
}

TEST_F(DeviceParameterRepositoryTest, ReadRequestStatesTheSizeAsAnswered) {
    connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(2, L"Offset"),
                          IntegerRecord(3, L"Delay")};
    struct {
        unsigned long size;
        unsigned long count;
    } const cases[] = {{1, 0}, {1227, 0}, {1228, 1}, {2455, 1}, {2500, 2}, {3683, 2}, {3684, 3}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.size);
        connection.claimedSize = each.size;
        DeviceParameterRepository loaded;
        EXPECT_THAT(loaded.Connect(&connection), IsBareCode(Code::Success));
        EXPECT_EQ(each.size, connection.requests.back().outputSize);
        EXPECT_EQ(each.count, loaded.GetCount());
    }
}

TEST_F(DeviceParameterRepositoryTest, BufferHoldsAllBytesThatWereAskedFor) {
    // The bytes behind the last whole record are filled too, which must do no harm.
    connection.filler = static_cast<unsigned char>(0xFF);
    for (const unsigned long size : {1UL, 1227UL, 2455UL, 100000UL}) {
        SCOPED_TRACE(size);
        connection.claimedSize = size;
        DeviceParameterRepository loaded;
        // Records of an unknown type, whichever come first.
        EXPECT_THAT(loaded.Connect(&connection),
                    IsBareCode(size < 1228 ? Code::Success : Code::InvalidArgument));
        EXPECT_EQ(0u, loaded.GetCount());
    }
}

TEST_F(DeviceParameterRepositoryTest, FailedSizeRequestEndsTheLoad) {
    for (const unsigned long code : {5UL, 0x12UL, 259UL, 995UL, 0xFFFFUL, 0x10001UL}) {
        SCOPED_TRACE(code);
        ScriptedConnection failing;
        failing.sizeResult = code;
        failing.claimedSize = 1228;
        ExpectLoadFails(failing, code);
        EXPECT_EQ(1u, failing.requests.size());
    }
}

TEST_F(DeviceParameterRepositoryTest, SizeRequestSucceedsWhenItsLowBitsAreClear) {
    connection.records = {IntegerRecord(1, L"Gain")};
    connection.sizeResult = 0x10000;

    ExpectLoadsOnly("Gain");
}

TEST_F(DeviceParameterRepositoryTest, SizeThatCannotBeAllocatedIsReported) {
    connection.claimedSize = 0xFFFFFFFF;
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] {
        const FailingAllocations failing(0x10000000);
        result = repository.Connect(&connection);
        EXPECT_EQ(1, failing.Count());
    });

    EXPECT_THAT(result, IsBareCode(Code::OutOfMemory));
    EXPECT_THAT(lines,
                ElementsAre("[0x18] .\\DeviceParameterRepository(#) ERR  - Not enough memory"));
    EXPECT_EQ(1u, connection.requests.size());
    EXPECT_TRUE(repository.IsConnected());
}

// What drivers answer to the read request

TEST_F(DeviceParameterRepositoryTest, FailedReadRequestAddsNothing) {
    for (const unsigned long code : {5UL, 0xEUL, 259UL, 995UL, 0xFFFFUL}) {
        SCOPED_TRACE(code);
        ScriptedConnection failing;
        failing.records = {IntegerRecord(1, L"Gain")};
        failing.getResult = code;
        ExpectLoadFails(failing, code);
    }
}

TEST_F(DeviceParameterRepositoryTest, ReadRequestSucceedsWhenItsLowBitsAreClear) {
    connection.records = {IntegerRecord(1, L"Gain")};
    connection.getResult = 0x10000;

    ExpectLoadsOnly("Gain");
}

TEST_F(DeviceParameterRepositoryTest, ByteCountOfTheBlockIsNotChecked) {
    for (const unsigned long answer : {0UL, 1UL, 0xFFFFFFFFUL}) {
        SCOPED_TRACE(answer);
        connection.records = {IntegerRecord(1, L"Gain")};
        connection.claimedAnswer = answer;
        DeviceParameterRepository loaded;
        EXPECT_THAT(loaded.Connect(&connection), IsBareCode(Code::Success));
        EXPECT_EQ(1u, loaded.GetCount());
    }
}

TEST_F(DeviceParameterRepositoryTest, AnswerThatFillsNothingReadsAsNamelessIntegers) {
    connection.claimedSize = 2456;
    connection.fillsNothing = true;

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ("Invalid name, it must be non-empty!", LastErrorText());
    EXPECT_EQ(0u, repository.GetCount());
}

// Integers

TEST_F(DeviceParameterRepositoryTest, IntegerRecordBecomesAnInteger) {
    Record record = IntegerRecord(17, L"Gain", 7, 1, 9);
    record.defaultValue = 3;
    Store(record.description, std::string("Input gain"));
    Load({record});

    const Parameter* const parameter = repository.GetByID(17);
    EXPECT_EQ(2u, parameter->GetType());
    EXPECT_EQ(7, parameter->GetInt());
    EXPECT_EQ(3, parameter->GetDefaultInt());
    EXPECT_EQ(1, parameter->GetMinInt());
    EXPECT_EQ(9, parameter->GetMaxInt());
    EXPECT_EQ(String("Gain"), parameter->GetName());
    EXPECT_EQ(String("Input gain"), parameter->GetDescription());
}

TEST_F(DeviceParameterRepositoryTest, IntegersAreWidenedWithoutSign) {
    Record record = IntegerRecord(1, L"Gain", 0xFFFFFFFE, 0x80000000, 0xFFFFFFFF);
    record.defaultValue = 0x80000001;
    Load({record});

    const Parameter* const parameter = repository.GetByID(1);
    EXPECT_EQ(4294967294LL, parameter->GetInt());
    EXPECT_EQ(2147483649LL, parameter->GetDefaultInt());
    EXPECT_EQ(2147483648LL, parameter->GetMinInt());
    EXPECT_EQ(4294967295LL, parameter->GetMaxInt());
}

TEST_F(DeviceParameterRepositoryTest, UnitBecomesPartOfTheDescription) {
    Record record = IntegerRecord(1, L"Gain");
    Store(record.description, std::string("Gain"));
    Store(record.unit, std::string("dB"));
    Record bare = IntegerRecord(2, L"Offset");
    Store(bare.unit, std::string("mV"));
    Load({record, bare});

    EXPECT_EQ(String("Gain (dB)"), repository.GetByID(1)->GetDescription());
    EXPECT_EQ(String(" (mV)"), repository.GetByID(2)->GetDescription());
}

TEST_F(DeviceParameterRepositoryTest, TextsThatFillTheirFieldsAreReadWhole) {
    Record record = IntegerRecord(1, std::wstring(32, L'N'));
    Store(record.description, std::string(256, 'd'));
    Store(record.unit, std::string(16, 'u'));
    Load({record});

    EXPECT_EQ(String(std::string(32, 'N').c_str()), repository.GetByID(1)->GetName());
    EXPECT_EQ(std::string(256, 'd') + " (" + std::string(16, 'u') + ")",
              repository.GetByID(1)->GetDescription().GetAscii());
}

TEST_F(DeviceParameterRepositoryTest, IntegerOutsideItsRangeKeepsTheDefault) {
    Record record = IntegerRecord(1, L"Gain", 11, 0, 10);
    record.defaultValue = 4;
    connection.records = {record, IntegerRecord(2, L"Offset")};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kOutOfRange, LastErrorText());
    EXPECT_THAT(Names(), ElementsAre("Gain", "Offset"));
    EXPECT_EQ(4, repository.GetByID(1)->GetInt());
}

TEST_F(DeviceParameterRepositoryTest, DefaultOutsideTheRangeOfAnIntegerIsKept) {
    Record record = IntegerRecord(1, L"Gain", 5, 0, 10);
    record.defaultValue = 11;
    Load({record});

    EXPECT_EQ(11, repository.GetByID(1)->GetDefaultInt());
    EXPECT_EQ(5, repository.GetByID(1)->GetInt());
}

// Enumerations

TEST_F(DeviceParameterRepositoryTest, EnumerationRecordBecomesAnEnumeration) {
    Record record = EnumRecord(17, L"Mode", {L"Off", L"Slow", L"Fast", L"Turbo"}, 2);
    record.defaultValue = 1;
    Store(record.description, std::string("Operating mode"));
    Load({record});

    const Parameter* const parameter = repository.GetByID(17);
    unsigned long count = 0;
    ASSERT_THAT(parameter->GetEnumValueCount(count), IsBareCode(0));
    EXPECT_EQ(4u, count);
    EXPECT_EQ(String("Off"), parameter->GetEnumValueString(0));
    EXPECT_EQ(String("Turbo"), parameter->GetEnumValueString(3));
    EXPECT_EQ(String("Fast"), parameter->GetString());
    EXPECT_EQ(String("Slow"), parameter->GetDefaultString());
    EXPECT_EQ(String("Operating mode"), parameter->GetDescription());
    EXPECT_EQ(3, parameter->GetMaxInt());
}

TEST_F(DeviceParameterRepositoryTest, EnumerationHasNoUnit) {
    Record record = EnumRecord(1, L"Mode", {L"Off"});
    Store(record.description, std::string("Mode"));
    Store(record.unit, std::string("dB"));
    Load({record});

    EXPECT_EQ(String("Mode"), repository.GetByID(1)->GetDescription());
}

TEST_F(DeviceParameterRepositoryTest, EnumerationHasAtLeastOneEntry) {
    Load({NewRecord(1, 1, L"Mode")});

    unsigned long count = 0;
    ASSERT_THAT(repository.GetByID(1)->GetEnumValueCount(count), IsBareCode(0));
    EXPECT_EQ(1u, count);
    EXPECT_TRUE(repository.GetByID(1)->GetEnumValueString(0).IsEmpty());
}

TEST_F(DeviceParameterRepositoryTest, EntriesWithoutNamesAreEmpty) {
    Record record = EnumRecord(1, L"Mode", {L"Off", L"On"});
    record.maximum = 4;
    Load({record});

    EXPECT_EQ(4, repository.GetByID(1)->GetMaxInt());
    EXPECT_EQ(String("On"), repository.GetByID(1)->GetEnumValueString(1));
    EXPECT_TRUE(repository.GetByID(1)->GetEnumValueString(4).IsEmpty());
}

TEST_F(DeviceParameterRepositoryTest, EntriesOfAnUnterminatedListEndWithTheRecord) {
    Record record = NewRecord(1, 1, L"Mode");
    Store(record.content.valueNames, std::wstring(432, L'n'));
    record.maximum = 1;
    Load({record});

    EXPECT_EQ(std::string(432, 'n'), repository.GetByID(1)->GetEnumValueString(0).GetAscii());
    EXPECT_TRUE(repository.GetByID(1)->GetEnumValueString(1).IsEmpty());
}

TEST_F(DeviceParameterRepositoryTest, EmptyNameHidesNoEntryBehindIt) {
    Load({EnumRecord(1, L"Mode", {L"Off", L"", L"On"}, 2)});

    EXPECT_TRUE(repository.GetByID(1)->GetEnumValueString(1).IsEmpty());
    EXPECT_EQ(String("On"), repository.GetByID(1)->GetString());
}

TEST_F(DeviceParameterRepositoryTest, MaximumBeyond4095IsDamage) {
    struct {
        unsigned long maximum;
        unsigned long code;
        unsigned long count;
    } const cases[] = {{214, 0, 215},     {215, 0, 216},           {4095, 0, 4096},
                       {4096, 0xE, 4096}, {0x7FFFFFFF, 0xE, 4096}, {0xFFFFFFFF, 0xE, 4096}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.maximum);
        Record record = EnumRecord(1, L"Mode", {L"Off", L"On"}, 1);
        record.maximum = each.maximum;
        connection.records = {record, IntegerRecord(2, L"Offset")};
        DeviceParameterRepository loaded;
        const auto lines = LoggedErrorsWithoutLines(
            [&] { EXPECT_THAT(loaded.Connect(&connection), IsBareCode(each.code)); });

        if (each.code == 0) {
            EXPECT_THAT(lines, ElementsAre());
        } else {
            EXPECT_THAT(lines,
                        ElementsAre("[0xe] .\\DeviceParameterRepository(#) ERR  - The driver "
                                    "did not return the expected size of data"));
        }
        unsigned long count = 0;
        ASSERT_EQ(2u, loaded.GetCount());
        EXPECT_THAT(loaded.GetByID(1)->GetEnumValueCount(count), IsBareCode(0));
        EXPECT_EQ(each.count, count);
        EXPECT_EQ(String("On"), loaded.GetByID(1)->GetString());
    }
}

TEST_F(DeviceParameterRepositoryTest, PositionsOutsideTheEntriesKeepTheFirst) {
    for (const bool isDefault : {true, false}) {
        SCOPED_TRACE(isDefault);
        Record record = EnumRecord(1, L"Mode", {L"Off", L"On"});
        (isDefault ? record.defaultValue : record.value) = 2;
        connection.records = {record};
        DeviceParameterRepository loaded;
        EXPECT_THAT(loaded.Connect(&connection), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(isDefault ? "Invalid default value" : kOutOfRange, LastErrorText());
        EXPECT_EQ(0, loaded.GetByID(1)->GetInt());
        EXPECT_EQ(0, loaded.GetByID(1)->GetDefaultInt());
    }
}

// Strings

TEST_F(DeviceParameterRepositoryTest, StringRecordBecomesAString) {
    Record record = StringRecord(17, L"Label", L"probe", L"probe A");
    Store(record.description, std::string("User label"));
    Load({record});

    const Parameter* const parameter = repository.GetByID(17);
    EXPECT_EQ(3u, parameter->GetType());
    EXPECT_EQ(String("probe A"), parameter->GetString());
    EXPECT_EQ(String("probe"), parameter->GetDefaultString());
    EXPECT_EQ(String("User label"), parameter->GetDescription());
}

TEST_F(DeviceParameterRepositoryTest, StringHasNoUnit) {
    Record record = StringRecord(1, L"Label", L"", L"");
    Store(record.description, std::string("Label"));
    Store(record.unit, std::string("dB"));
    Load({record});

    EXPECT_EQ(String("Label"), repository.GetByID(1)->GetDescription());
}

TEST_F(DeviceParameterRepositoryTest, OnlyTheValueKeepsCharactersBeyondTheCodePage) {
    Load({StringRecord(1, L"\u4e2d\u00b5", L"\u4e2d\u00b5", L"\u6587\u00b5"),
          EnumRecord(2, L"Mode", {L"\u4e2d\u00b5"})});

    const Parameter* const string = repository.GetByID(1);
    EXPECT_STREQ(L"?\u00b5", string->GetName().GetUnicode());
    EXPECT_STREQ(L"?\u00b5", string->GetDefaultString().GetUnicode());
    EXPECT_STREQ(L"\u6587\u00b5", string->GetString().GetUnicode());
    EXPECT_STREQ(L"?\u00b5", repository.GetByID(2)->GetString().GetUnicode());
}

TEST_F(DeviceParameterRepositoryTest, StringsThatFillTheirFieldsAreReadWhole) {
    Load({StringRecord(1, L"Label", std::wstring(216, L'd'), std::wstring(216, L'v'))});

    EXPECT_EQ(std::string(216, 'd'), repository.GetByID(1)->GetDefaultString().GetAscii());
    EXPECT_EQ(std::wstring(216, L'v'), repository.GetByID(1)->GetString().GetUnicode());
}

// Flags

TEST_F(DeviceParameterRepositoryTest, FlagsBecomeMarks) {
    struct {
        unsigned long flag;
        bool (Parameter::*is)() const;
    } const marks[] = {{0x01, &Parameter::IsAdvanced},        {0x04, &Parameter::IsHidden},
                       {0x08, &Parameter::IsPersistent},      {0x10, &Parameter::IsReadOnly},
                       {0x20, &Parameter::IsRestartRequired}, {0x40, &Parameter::IsVolatile}};
    for (std::size_t chosen = 0; chosen < std::size(marks); ++chosen) {
        for (const bool alone : {true, false}) {
            SCOPED_TRACE(testing::Message() << marks[chosen].flag << (alone ? " alone" : " out"));
            Record record = IntegerRecord(1, L"Gain");
            record.flags = alone ? marks[chosen].flag : ~marks[chosen].flag;
            connection.records = {record};
            DeviceParameterRepository loaded;
            ASSERT_THAT(loaded.Connect(&connection), IsBareCode(0));
            for (std::size_t index = 0; index < std::size(marks); ++index) {
                EXPECT_EQ(alone == (index == chosen), (loaded.GetByID(1)->*marks[index].is)());
            }
            EXPECT_TRUE(loaded.GetByID(1)->IsEnabled());
        }
    }
}

TEST_F(DeviceParameterRepositoryTest, ReadOnlyParametersAreLoadedWithTheirValues) {
    std::vector<Record> records = {IntegerRecord(1, L"Gain", 7),
                                   EnumRecord(2, L"Mode", {L"Off", L"On"}, 1),
                                   StringRecord(3, L"Label", L"default", L"value")};
    for (Record& record : records) record.flags = 0x10;
    connection.records = records;

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::Success));

    EXPECT_EQ(7, repository.GetByID(1)->GetInt());
    EXPECT_EQ(String("On"), repository.GetByID(2)->GetString());
    EXPECT_EQ(String("value"), repository.GetByID(3)->GetString());
    EXPECT_TRUE(repository.GetByID(1)->IsReadOnly());
}

TEST_F(DeviceParameterRepositoryTest, LoadedParametersCountAsUnchanged) {
    Load({IntegerRecord(1, L"Gain", 7), EnumRecord(2, L"Mode", {L"Off", L"On"}, 1),
          StringRecord(3, L"Label", L"default", L"value")});

    EXPECT_EQ(0u, repository.GetChangeCount());
}

// Records that are refused

TEST_F(DeviceParameterRepositoryTest, RepeatedNamesAndIdentifiersAreLeftOut) {
    connection.records = {IntegerRecord(1, L"Gain", 3), IntegerRecord(2, L"Gain", 4),
                          IntegerRecord(1, L"Offset", 5), IntegerRecord(3, L"Delay", 6)};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::NotAllowed));

    EXPECT_EQ("Parameter with the specified identifier already exists!", LastErrorText());
    EXPECT_THAT(Names(), ElementsAre("Gain", "Delay"));
    EXPECT_EQ(3, repository.GetByID(1)->GetInt());
}

TEST_F(DeviceParameterRepositoryTest, FlagsOfARepeatedRecordDoNotReachTheFirst) {
    Record repeated = IntegerRecord(1, L"Gain");
    repeated.flags = 0x04;
    connection.records = {IntegerRecord(1, L"Gain"), repeated};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::NotAllowed));

    EXPECT_FALSE(repository.GetByID(1)->IsHidden());
}

TEST_F(DeviceParameterRepositoryTest, FirstFailureIsTheResult) {
    connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(1, L"Gain"),
                          IntegerRecord(2, L""), IntegerRecord(3, L"Delay")};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::NotAllowed));
    EXPECT_THAT(Names(), ElementsAre("Gain", "Delay"));
}

TEST_F(DeviceParameterRepositoryTest, RefusedValueComesBeforeTheRefusalOfItsRecord) {
    connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(1, L"Gain", 11)};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::InvalidArgument));

    EXPECT_EQ(kNameExists, LastErrorText());
    EXPECT_THAT(Names(), ElementsAre("Gain"));
}

TEST_F(DeviceParameterRepositoryTest, UnknownTypeAsTheFirstAddsNothing) {
    connection.records = {NewRecord(3, 1, L"Gain"), IntegerRecord(2, L"Offset")};
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] { result = repository.Connect(&connection); });

    EXPECT_THAT(result, IsBareCode(Code::InvalidArgument));
    const std::string noParameter =
        "[0x12] .\\Parameter(#) ERR  - The specified parameter doesn't exist";
    EXPECT_THAT(lines, ElementsAre("[0x12] .\\ParameterRepository(#) ERR  - Error allocating "
                                   "memory for the parameter",
                                   noParameter, noParameter, noParameter, noParameter, noParameter,
                                   noParameter));
    EXPECT_THAT(Names(), ElementsAre("Offset"));
}

TEST_F(DeviceParameterRepositoryTest, UnknownTypeOffersTheParameterBeforeItAgain) {
    Record unknown = NewRecord(0xFFFFFFFF, 9, L"Unknown");
    unknown.flags = 0x04 | 0x20;
    Record known = IntegerRecord(1, L"Gain", 7);
    known.flags = 0x01 | 0x08;
    connection.records = {known, unknown, IntegerRecord(2, L"Offset")};

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::NotAllowed));

    EXPECT_EQ(kNameExists, LastErrorText());
    EXPECT_THAT(Names(), ElementsAre("Gain", "Offset"));
    const Parameter* const parameter = repository.GetByID(1);
    EXPECT_EQ(7, parameter->GetInt());
    EXPECT_TRUE(parameter->IsHidden());
    EXPECT_TRUE(parameter->IsRestartRequired());
    EXPECT_FALSE(parameter->IsAdvanced());
    EXPECT_FALSE(parameter->IsPersistent());
}

TEST_F(DeviceParameterRepositoryTest, UnknownTypeOffersARefusedParameterAgain) {
    Record unknown = NewRecord(3, 9, L"Unknown");
    unknown.flags = 0x04;
    connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(1, L"Gain"), unknown, unknown};
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] { result = repository.Connect(&connection); });

    EXPECT_THAT(result, IsBareCode(Code::NotAllowed));
    const std::string refused = "[0x1c] .\\ParameterRepository(#) ERR  - Parameter already exists!";
    EXPECT_THAT(lines, ElementsAre(refused, refused, refused));
    EXPECT_THAT(Names(), ElementsAre("Gain"));
    EXPECT_FALSE(repository.GetByID(1)->IsHidden());
}

TEST_F(DeviceParameterRepositoryTest, MemoryThatRunsOutKeepsTheEarlierParameters) {
    connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(2, L"Offset"),
                          IntegerRecord(3, L"Delay")};
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] {
        const FailingAllocations failing(sizeof(Parameter), sizeof(Parameter), /*aSpared=*/1);
        result = repository.Connect(&connection);
        EXPECT_EQ(1, failing.Count());
    });

    EXPECT_THAT(result, IsBareCode(Code::OutOfMemory));
    EXPECT_THAT(lines,
                ElementsAre("[0x18] .\\DeviceParameterRepository(#) ERR  - Not enough memory"));
    EXPECT_THAT(Names(), ElementsAre("Gain"));
}

TEST_F(DeviceParameterRepositoryTest, MemoryForTheBlockMayRunOut) {
    connection.records = {IntegerRecord(1, L"Gain")};
    const FailingAllocations failing(sizeof(Record));

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::OutOfMemory));

    EXPECT_EQ(1, failing.Count());
    EXPECT_EQ(1u, connection.requests.size());
}

// Refresh

TEST_F(DeviceParameterRepositoryTest, RefreshOfAnUnboundOneIsRefused) {
    const ErrorWatch watch;
    AddTo(repository, new IntegerParameter(5, 0, 10));

    EXPECT_THAT(repository.Refresh(), IsBareCode(0x17));

    EXPECT_EQ(1u, repository.GetCount());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceParameterRepositoryTest, RefreshReplacesEverything) {
    Load({IntegerRecord(1, L"Gain"), IntegerRecord(2, L"Offset")});
    AddTo(repository, new IntegerParameter(5, 0, 10, "Own", 50));
    ASSERT_THAT(repository.GetByID(1)->SetInt(9), IsBareCode(0));
    connection.records = {IntegerRecord(2, L"Offset", 8), IntegerRecord(1, L"Gain", 6)};

    EXPECT_THAT(repository.Refresh(), IsBareCode(Code::Success));

    EXPECT_THAT(Names(), ElementsAre("Offset", "Gain"));
    EXPECT_EQ(6, repository.GetByID(1)->GetInt());
    EXPECT_EQ(0u, repository.GetChangeCount());
}

TEST_F(DeviceParameterRepositoryTest, FailedRefreshLeavesNothing) {
    Load({IntegerRecord(1, L"Gain")});
    connection.getResult = 995;

    EXPECT_THAT(repository.Refresh(), IsBareCode(995));

    EXPECT_EQ(0u, repository.GetCount());
    EXPECT_TRUE(repository.IsConnected());
    connection.getResult = 0;
    EXPECT_THAT(repository.Refresh(), IsBareCode(Code::Success));
    EXPECT_THAT(Names(), ElementsAre("Gain"));
}

// Apply

TEST_F(DeviceParameterRepositoryTest, ApplyOfAnUnboundOneIsRefused) {
    const ErrorWatch watch;
    Parameter* const gain = AddTo(repository, new IntegerParameter(5, 0, 10));
    // Also while there is nothing to send.
    EXPECT_THAT(repository.Apply(), IsBareCode(0x17));
    ASSERT_THAT(gain->SetInt(6), IsBareCode(0));

    EXPECT_THAT(repository.Apply(), IsBareCode(0x17));

    EXPECT_EQ(1u, repository.GetChangeCount());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceParameterRepositoryTest, ApplyWithoutChangesSendsNothing) {
    Load({IntegerRecord(1, L"Gain")});

    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));

    EXPECT_TRUE(connection.requests.empty());
}

TEST_F(DeviceParameterRepositoryTest, ApplySendsTheChangedOnesByIndex) {
    Load({IntegerRecord(30, L"Gain"), IntegerRecord(20, L"Offset"), IntegerRecord(10, L"Delay")});
    ASSERT_THAT(repository.GetByID(10)->SetInt(6), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(30)->SetInt(7), IsBareCode(0));
    EXPECT_EQ(2u, repository.GetChangeCount());

    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));

    ASSERT_EQ(1u, connection.requests.size());
    const Request& request = connection.requests[0];
    EXPECT_EQ(kSet, request.code);
    EXPECT_EQ(2456u, request.input.size());
    EXPECT_FALSE(request.hasOutput || request.isOverlapped);
    EXPECT_EQ(0u, request.outputSize);
    EXPECT_TRUE(request.hasInfo);
    const std::vector<Record> records = request.Records();
    EXPECT_EQ(30u, records[0].id);
    EXPECT_EQ(7u, records[0].value);
    EXPECT_EQ(10u, records[1].id);
    EXPECT_EQ(6u, records[1].value);
    EXPECT_EQ(0u, repository.GetChangeCount());
}

TEST_F(DeviceParameterRepositoryTest, AnyNumberOfChangesIsSentInOneRequest) {
    constexpr unsigned long kCount = 300;
    for (unsigned long id = 0; id < kCount; ++id) {
        connection.records.push_back(IntegerRecord(id, L"Gain " + std::to_wstring(id)));
    }
    ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
    connection.requests.clear();
    for (unsigned long id = 0; id < kCount; ++id) {
        ASSERT_THAT(repository.GetByID(id)->SetInt(6), IsBareCode(0));
    }

    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));

    ASSERT_EQ(1u, connection.requests.size());
    ASSERT_EQ(kCount * sizeof(Record), connection.requests[0].input.size());
    EXPECT_EQ(kCount - 1, connection.requests[0].Records().back().id);
    EXPECT_EQ(0u, repository.GetChangeCount());
}

TEST_F(DeviceParameterRepositoryTest, MarksAreClearedBeforeTheRequestIsSent) {
    Load({IntegerRecord(1, L"Gain")});
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));
    unsigned int countWhileSending = 99;
    connection.onSet = [&] { countWhileSending = repository.GetChangeCount(); };

    ASSERT_THAT(repository.Apply(), IsBareCode(0));

    EXPECT_EQ(0u, countWhileSending);
}

TEST_F(DeviceParameterRepositoryTest, FailedSendIsNotRepeated) {
    for (const unsigned long code : {5UL, 259UL, 0xFFFFUL}) {
        SCOPED_TRACE(code);
        ScriptedConnection failing;
        failing.records = {IntegerRecord(1, L"Gain")};
        failing.setResult = code;
        DeviceParameterRepository loaded;
        ASSERT_THAT(loaded.Connect(&failing), IsBareCode(0));
        ASSERT_THAT(loaded.GetByID(1)->SetInt(6), IsBareCode(0));

        EXPECT_THAT(loaded.Apply(), IsBareCode(code));
        EXPECT_EQ(0u, loaded.GetChangeCount());
        EXPECT_EQ(6, loaded.GetByID(1)->GetInt());

        failing.requests.clear();
        EXPECT_THAT(loaded.Apply(), IsBareCode(Code::Success));
        EXPECT_TRUE(failing.requests.empty());
    }
}

TEST_F(DeviceParameterRepositoryTest, ApplyHandsTheDriversSuccessOn) {
    Load({IntegerRecord(1, L"Gain")});
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));
    connection.setResult = 0x10000;

    EXPECT_THAT(repository.Apply(), IsBareCode(0x10000));
}

TEST_F(DeviceParameterRepositoryTest, ApplyWithoutMemoryKeepsTheMarks) {
    Load({IntegerRecord(1, L"Gain")});
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));
    Result result;

    const auto lines = LoggedErrorsWithoutLines([&] {
        const FailingAllocations failing(sizeof(Record));
        result = repository.Apply();
        EXPECT_EQ(1, failing.Count());
    });

    EXPECT_THAT(result, IsBareCode(Code::OutOfMemory));
    EXPECT_THAT(lines,
                ElementsAre("[0x18] .\\DeviceParameterRepository(#) ERR  - Not enough memory"));
    EXPECT_TRUE(connection.requests.empty());
    EXPECT_EQ(1u, repository.GetChangeCount());
}

// Memory runs out while a record is filled in: some of the others are complete by then.
TEST_F(DeviceParameterRepositoryTest, ApplyThatCannotFillEveryRecordKeepsAllMarks) {
    Load({IntegerRecord(1, L"Gain"), EnumRecord(2, L"Mode", {L"Off", L"On"})});
    auto* const mode = repository.GetByID(2);
    const std::string name(3000, 'n');
    ASSERT_THAT(mode->AddEnumValue(name.c_str()), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));
    ASSERT_THAT(mode->SetInt(1), IsBareCode(0));
    {
        // Two records take less than the list of the names.
        const FullRuntime memory(2 * sizeof(Record) + 1);
        if (!memory.IsActive()) GTEST_SKIP() << "the C++ runtime is linked into the program";
        EXPECT_THAT(repository.Apply(), IsBareCode(Code::OutOfMemory));
    }

    EXPECT_TRUE(connection.requests.empty());
    EXPECT_EQ(2u, repository.GetChangeCount());
    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));
    EXPECT_EQ(2u, connection.requests.back().Records().size());
    EXPECT_EQ(0u, repository.GetChangeCount());
}

TEST_F(DeviceParameterRepositoryTest, ChangeTakenBackIsNotSent) {
    Load({IntegerRecord(1, L"Gain", 5)});
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));

    // The mark shows only the last change, which changed nothing.
    EXPECT_EQ(0u, repository.GetChangeCount());
    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));
    EXPECT_TRUE(connection.requests.empty());
}

// Records as they are sent, byte by byte

TEST_F(DeviceParameterRepositoryTest, IntegerIsSentWhole) {
    Record record = IntegerRecord(17, L"Gain", 5, 1, 9);
    record.flags = 0x08;
    record.defaultValue = 3;
    Store(record.description, std::string("Gain"));
    Store(record.unit, std::string("dB"));

    ExpectChangeIsSentWhole(record, 7);
}

TEST_F(DeviceParameterRepositoryTest, EnumerationIsSentWhole) {
    Record record = EnumRecord(17, L"Mode", {L"Off", L"Slow", L"Fast"});
    record.flags = 0x08;
    record.defaultValue = 1;
    Store(record.description, std::string("Operating mode"));

    ExpectChangeIsSentWhole(record, 2);
}

TEST_F(DeviceParameterRepositoryTest, StringIsSentWhole) {
    Record record = StringRecord(17, L"Label", L"default", L"value");
    record.flags = 0x08;
    Store(record.description, std::string("User label"));
    Load({record});
    ASSERT_THAT(repository.GetByID(17)->SetString(L"\u4e2d\u00b5"), IsBareCode(0));

    Record expected = StringRecord(17, L"Label", L"default", L"\u4e2d\u00b5");
    expected.flags = kSentPersistent;
    Store(expected.description, std::string("User label"));
    EXPECT_THAT(SentRecord(), IsRecord(expected));
}

TEST_F(DeviceParameterRepositoryTest, MarksAreSentAsFlags) {
    struct {
        Result (Parameter::*set)(bool);
        unsigned long flag;
    } const marks[] = {{&Parameter::SetAdvanced, 0x01},
                       {&Parameter::SetHidden, 0x04},
                       {&Parameter::SetPersistent, 0x08},
                       {&Parameter::SetReadOnly, 0},
                       {&Parameter::SetRestartRequired, 0x20},
                       {&Parameter::SetVolatile, 0},
                       {&Parameter::SetEnabled, 0}};
    Load({IntegerRecord(1, L"Gain")});
    Parameter* const gain = repository.GetByID(1);
    long long value = 0;
    for (const auto& mark : marks) {
        SCOPED_TRACE(mark.flag);
        ASSERT_THAT((gain->*mark.set)(true), IsBareCode(0));
        // The owner may change a read-only parameter.
        ASSERT_THAT(gain->ChangeInt(++value), IsBareCode(0));
        connection.requests.clear();
        EXPECT_EQ(0x02u | mark.flag, SentRecord().flags);
        ASSERT_THAT((gain->*mark.set)(false), IsBareCode(0));
    }
}

TEST_F(DeviceParameterRepositoryTest, ReadOnlyAndVolatileAreNeverSent) {
    Record record = IntegerRecord(1, L"Gain");
    record.flags = 0xFFFFFFFF;
    Load({record});
    ASSERT_THAT(repository.GetByID(1)->ChangeInt(6), IsBareCode(0));

    EXPECT_EQ(0x01u | 0x02 | 0x04 | 0x08 | 0x20, SentRecord().flags);
}

TEST_F(DeviceParameterRepositoryTest, UnitIsSplitOffTheEndOfADescription) {
    const std::string x250(250, 'x');
    struct {
        std::string description;
        std::string sent;
        std::string unit;
    } const cases[] = {{"", "", ""},
                       {")", ")", ""},
                       {"x", "x", ""},
                       {"x)", "x)", ""},
                       {"()", "", ""},
                       {"(x)", "", "x"},
                       {"((x)", "", "x"},
                       {"Gain", "Gain", ""},
                       {"Gain (dB)", "Gain", "dB"},
                       {"Gain ()", "Gain", ""},
                       {"Level(max)", "Leve", "max"},
                       {"Level(max) ", "Level(max) ", ""},
                       {"Level max)", "Level max)", ""},
                       {"a (b) (c)", "a (b)", "c"},
                       {"a (b))", "a", "b)"},
                       {" (mV)", "", "mV"},
                       {"Gain (0123456789abcdefgh)", "Gain", "0123456789abcdef"},
                       {x250 + " (dB)", x250, "dB"},
                       {x250 + "y (dB)", x250 + "y (dB", ""},
                       {x250 + x250, x250 + "xxxxx", ""}};
    Load({IntegerRecord(1, L"Gain", 0, 0, 1000)});
    Parameter* const gain = repository.GetByID(1);
    for (const auto& each : cases) {
        SCOPED_TRACE(each.description);
        connection.requests.clear();
        ASSERT_THAT(gain->SetDescription(String(each.description.c_str())), IsBareCode(0));
        ASSERT_THAT(gain->SetInt(gain->GetInt() + 1), IsBareCode(0));
        const Record sent = SentRecord();
        EXPECT_EQ(each.sent, std::string(sent.description));
        EXPECT_EQ(each.unit, std::string(sent.unit, strnlen(sent.unit, sizeof sent.unit)));
    }
}

TEST_F(DeviceParameterRepositoryTest, UnitIsSplitOffForIntegersOnly) {
    Load({EnumRecord(1, L"Mode", {L"Off", L"On"}), StringRecord(2, L"Label", L"", L"")});
    ASSERT_THAT(repository.GetByID(1)->SetDescription("Mode (of work)"), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(2)->SetDescription("Label (user)"), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(1)->SetInt(1), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(2)->SetString("text"), IsBareCode(0));

    ASSERT_THAT(repository.Apply(), IsBareCode(0));

    const std::vector<Record> records = connection.requests.back().Records();
    EXPECT_STREQ("Mode (of work)", records[0].description);
    EXPECT_STREQ("", records[0].unit);
    EXPECT_STREQ("Label (user)", records[1].description);
}

TEST_F(DeviceParameterRepositoryTest, LongDescriptionIsCutForEveryType) {
    Load({StringRecord(1, L"Label", L"", L"")});
    ASSERT_THAT(repository.GetByID(1)->SetDescription(String(std::string(300, 'x').c_str())),
                IsBareCode(0));
    ASSERT_THAT(repository.GetByID(1)->SetString("text"), IsBareCode(0));

    EXPECT_EQ(std::string(255, 'x'), SentRecord().description);
}

TEST_F(DeviceParameterRepositoryTest, NumbersAreCutToTheirLow32Bits) {
    Load({});
    auto* const gain = AddTo(repository, new IntegerParameter(-2, LLONG_MIN + 3, 0x1200000004LL));
    ASSERT_THAT(gain->SetInt(0x1100000005LL), IsBareCode(0));

    const Record sent = SentRecord();
    EXPECT_EQ(5u, sent.value);
    EXPECT_EQ(0xFFFFFFFEu, sent.defaultValue);
    EXPECT_EQ(3u, sent.minimum);
    EXPECT_EQ(4u, sent.maximum);
}

TEST_F(DeviceParameterRepositoryTest, EnumerationNumbersAreCutToTheirLow32Bits) {
    Load({});
    auto* const mode = AddTo(repository, new EnumParameter({"Off", "On"}));
    ASSERT_THAT(mode->SetRange(0LL, LLONG_MAX), IsBareCode(0));
    ASSERT_THAT(mode->SetDefaultInt(0x100000003LL), IsBareCode(0));
    ASSERT_THAT(mode->SetInt(0x100000002LL), IsBareCode(0));

    const Record sent = SentRecord();
    EXPECT_EQ(2u, sent.value);
    EXPECT_EQ(3u, sent.defaultValue);
    EXPECT_EQ(1u, sent.maximum);
}

TEST_F(DeviceParameterRepositoryTest, EnumerationWithoutEntriesIsSentWithoutNames) {
    Load({});
    auto* const mode = AddTo(repository, new EnumParameter({}, "Mode", 17));
    ASSERT_THAT(mode->SetRange(0LL, 9LL), IsBareCode(0));
    ASSERT_THAT(mode->SetInt(4), IsBareCode(0));

    Record expected = NewRecord(1, 17, L"Mode");
    expected.flags = kSentPersistent;
    expected.value = 4;
    EXPECT_THAT(SentRecord(), IsRecord(expected));
}

TEST_F(DeviceParameterRepositoryTest, NamesThatDoNotFitAreLeftOut) {
    Load({});
    auto* const mode = AddTo(repository, new EnumParameter({}, "Mode", 17));
    std::wstring names;
    for (int index = 0; index < 100; ++index) {
        ASSERT_THAT(mode->AddEnumValue("0123456789"), IsBareCode(0));
        // Each takes 11 of 431 units.
        if (index < 39) names.append(L"0123456789").push_back(L'\0');
    }
    ASSERT_THAT(mode->SetInt(99), IsBareCode(0));

    Record expected = NewRecord(1, 17, L"Mode");
    expected.flags = kSentPersistent;
    expected.maximum = 38;
    expected.value = 99;
    Store(expected.content.valueNames, names);
    EXPECT_THAT(SentRecord(), IsRecord(expected));
}

TEST_F(DeviceParameterRepositoryTest, LongNameIsCut) {
    Load({});
    auto* const gain = AddTo(
        repository, new IntegerParameter(5, 0, 10, "0123456789012345678901234567890123456789"));
    ASSERT_THAT(gain->SetInt(6), IsBareCode(0));

    const Record sent = SentRecord();
    EXPECT_EQ(L"01234567890123456789012345678901",
              std::wstring(std::begin(sent.name), std::end(sent.name)));
}

TEST_F(DeviceParameterRepositoryTest, StringThatFillsTheRecordIsSent) {
    Load({StringRecord(1, L"Label", L"default", L"")});
    const std::wstring value(216, L'v');
    ASSERT_THAT(repository.GetByID(1)->SetString(value.c_str()), IsBareCode(0));

    ExpectLabelIsSent(L"default", value);
}

TEST_F(DeviceParameterRepositoryTest, StringBeyondTheRecordIsSentAsTheDefault) {
    Load({StringRecord(1, L"Label", L"default", L"")});
    const std::wstring value(217, L'v');
    ASSERT_THAT(repository.GetByID(1)->SetString(value.c_str()), IsBareCode(0));

    // The record refuses the text, which is not reported.
    ExpectLabelIsSent(L"default", L"default");
}

TEST_F(DeviceParameterRepositoryTest, DefaultTextBeyondTheRecordIsCut) {
    Load({StringRecord(1, L"Label", L"", L"")});
    const std::wstring text(300, L'd');
    ASSERT_THAT(repository.GetByID(1)->SetDefaultString(text.c_str()), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(1)->SetString("value"), IsBareCode(0));

    ExpectLabelIsSent(text, L"value");
}

TEST_F(DeviceParameterRepositoryTest, OtherTypesAreSentWithoutAValue) {
    Load({});
    auto* const ratio = AddTo(repository, new DoubleParameter(1.5, 1.0, 2.0, "Ratio", 1));
    auto* const filter = AddTo(repository, new BoolParameter(false, "Filter", 2));
    auto* const group = AddTo(repository, new GroupParameter("Trigger", 3));
    Parameter* const member = AddTo(*group->members, new IntegerParameter(5, 0, 10));
    for (Parameter* const parameter :
         {static_cast<Parameter*>(ratio), static_cast<Parameter*>(filter),
          static_cast<Parameter*>(group)}) {
        ASSERT_THAT(parameter->SetDescription("About (it)"), IsBareCode(0));
    }
    ASSERT_THAT(ratio->SetDouble(1.75), IsBareCode(0));
    ASSERT_THAT(filter->SetBool(true), IsBareCode(0));
    ASSERT_THAT(member->SetInt(6), IsBareCode(0));
    EXPECT_EQ(3u, repository.GetChangeCount());

    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));

    const std::vector<Record> records = connection.requests.back().Records();
    ASSERT_EQ(3u, records.size());
    const wchar_t* const names[] = {L"Ratio", L"Filter", L"Trigger"};
    for (unsigned long index = 0; index < 3; ++index) {
        Record expected = NewRecord(0, index + 1, names[index]);
        expected.flags = kSentPersistent;
        Store(expected.description, std::string("About (it)"));
        EXPECT_THAT(records[index], IsRecord(expected));
    }
    EXPECT_EQ(0u, repository.GetChangeCount());
    EXPECT_FALSE(member->HasChanged(/*aReset=*/false));
}

TEST_F(DeviceParameterRepositoryTest, CharactersBeyondAsciiTravelBothWays) {
    if (::GetACP() != 1252) GTEST_SKIP() << "needs code page 1252";
    Record gain = IntegerRecord(1, L"Verst\u00e4rkung");
    Store(gain.description, std::string("F\xFCr den Eingang"));
    Store(gain.unit, std::string("\xB5V"));
    Record mode = EnumRecord(2, L"Modus", {L"S\u00fcd", L"\u20ac"});
    Store(mode.description, std::string("\xC4nderung"));
    Record label = StringRecord(3, L"Label", L"\u00c4 \u20ac", L"");
    Store(label.description, std::string("L\xF6schung"));
    Load({gain, mode, label});
    EXPECT_STREQ("F\xFCr den Eingang (\xB5V)", repository.GetByID(1)->GetDescription().GetAscii());
    ASSERT_THAT(repository.GetByID(1)->SetInt(6), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(2)->SetInt(1), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(3)->SetString("x"), IsBareCode(0));

    ASSERT_THAT(repository.Apply(), IsBareCode(0));

    gain.value = 6;
    mode.value = 1;
    Store(label.content.string.valueText, std::wstring(L"x"));
    gain.flags = mode.flags = label.flags = 0x02;
    EXPECT_THAT(connection.requests.back().Records(),
                ElementsAre(IsRecord(gain), IsRecord(mode), IsRecord(label)));
}

TEST_F(DeviceParameterRepositoryTest, WhatIsSentLoadsAgain) {
    Record record = IntegerRecord(1, L"Gain", 5);
    Store(record.description, std::string("Gain"));
    Store(record.unit, std::string("dB"));
    Load({record});
    ASSERT_THAT(repository.GetByID(1)->SetInt(7), IsBareCode(0));

    connection.records = {SentRecord()};
    ASSERT_THAT(repository.Refresh(), IsBareCode(0));

    EXPECT_EQ(7, repository.GetByID(1)->GetInt());
    EXPECT_EQ(String("Gain (dB)"), repository.GetByID(1)->GetDescription());
}

TEST_F(DeviceParameterRepositoryTest, ValuesOfAnEarlierCopyCanBeTakenBack) {
    Load({IntegerRecord(1, L"Gain", 5)});
    const ParameterRepository copy(repository);
    ASSERT_THAT(repository.GetByID(1)->SetInt(7), IsBareCode(0));

    repository = copy;

    EXPECT_EQ(5, repository.GetByID(1)->GetInt());
    EXPECT_EQ(1u, repository.GetChangeCount());
}

TEST_F(DeviceParameterRepositoryTest, ValuesOfAnotherDriverCanBeTakenOver) {
    Load({IntegerRecord(1, L"Gain", 5)});
    ScriptedConnection other;
    other.records = {IntegerRecord(1, L"Amplification", 7), IntegerRecord(2, L"Offset")};
    DeviceParameterRepository source;
    ASSERT_THAT(source.Connect(&other), IsBareCode(0));
    other.requests.clear();

    EXPECT_EQ(&repository, &(repository = source));

    EXPECT_EQ(7, repository.GetByID(1)->GetInt());
    EXPECT_EQ(String("Gain"), repository.GetByID(1)->GetName());
    EXPECT_EQ(1u, repository.GetCount());
    // It is still bound to its own driver.
    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));
    EXPECT_EQ(1u, connection.requests.size());
    EXPECT_TRUE(other.requests.empty());
}

// Derived repositories

class OverridingRepository : public DeviceParameterRepository {
public:
    using DeviceParameterRepository::GetByIndex;

    Result Add(Parameter* aParameter) override {
        reached.emplace_back("Add");
        wasBound = IsConnected();
        if (refusesAll) return Result(101);
        return DeviceParameterRepository::Add(aParameter);
    }
    Result RemoveByIndex(unsigned long aIndex) override {
        reached.emplace_back("RemoveByIndex " + std::to_string(aIndex));
        if (hasNoMemory) throw std::bad_alloc();
        if (refusesAll) return Result(102);
        return DeviceParameterRepository::RemoveByIndex(aIndex);
    }
    unsigned long GetCount() const override {
        return DeviceParameterRepository::GetCount() - hidden;
    }
    const Parameter* GetByIndex(unsigned long aIndex) const override {
        reached.emplace_back("GetByIndex " + std::to_string(aIndex));
        return DeviceParameterRepository::GetByIndex(aIndex);
    }

    bool refusesAll = false;
    bool hasNoMemory = false;
    unsigned long hidden = 0;
    // Whether there was a connection when the last parameter was added.
    bool wasBound = false;
    mutable std::vector<std::string> reached;
};

class DerivedDeviceRepositoryTest : public testing::Test {
protected:
    DerivedDeviceRepositoryTest() {
        connection.records = {IntegerRecord(1, L"Gain"), IntegerRecord(2, L"Offset")};
    }

    ScriptedConnection connection;
    OverridingRepository repository;
};

TEST_F(DerivedDeviceRepositoryTest, LoadAddsThroughTheOverriddenAdd) {
    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::Success));

    EXPECT_THAT(repository.reached, ElementsAre("Add", "Add"));
}

TEST_F(DerivedDeviceRepositoryTest, ConnectionIsBoundBeforeTheLoad) {
    EXPECT_THAT(repository.Connect(&connection), IsBareCode(Code::Success));

    EXPECT_TRUE(repository.wasBound);
}

TEST_F(DerivedDeviceRepositoryTest, RefusalOfTheOverriddenAddIsTheResult) {
    repository.refusesAll = true;

    EXPECT_THAT(repository.Connect(&connection), IsBareCode(101));

    EXPECT_EQ(0u, repository.GetCount());
}

TEST_F(DerivedDeviceRepositoryTest, RefreshRemovesFromTheLastThroughTheOverriddenRemoval) {
    ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
    repository.reached.clear();

    EXPECT_THAT(repository.Refresh(), IsBareCode(Code::Success));

    EXPECT_THAT(repository.reached,
                ElementsAre("RemoveByIndex 1", "RemoveByIndex 0", "Add", "Add"));
}

TEST_F(DerivedDeviceRepositoryTest, RefusedRemovalsDoNotStopARefresh) {
    ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
    repository.refusesAll = true;

    EXPECT_THAT(repository.Refresh(), IsBareCode(101));

    EXPECT_EQ(2u, repository.GetCount());
}

TEST_F(DerivedDeviceRepositoryTest, RemovalWithoutMemoryIsReported) {
    ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
    repository.hasNoMemory = true;

    EXPECT_THAT(repository.Refresh(), IsBareCode(Code::OutOfMemory));

    EXPECT_EQ("Not enough memory", LastErrorText());
    EXPECT_EQ(2u, repository.GetCount());
}

TEST_F(DerivedDeviceRepositoryTest, ChangesBeyondTheOverriddenCountAreNeitherCountedNorSent) {
    ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
    ASSERT_THAT(repository.GetByID(2)->SetInt(6), IsBareCode(0));
    repository.hidden = 1;
    connection.requests.clear();

    EXPECT_EQ(0u, repository.GetChangeCount());
    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));

    EXPECT_TRUE(connection.requests.empty());
}

TEST_F(DerivedDeviceRepositoryTest, ChangesAreLookedForThroughTheOverriddenIndex) {
    ASSERT_THAT(repository.Connect(&connection), IsBareCode(0));
    repository.reached.clear();

    EXPECT_EQ(0u, repository.GetChangeCount());
    EXPECT_THAT(repository.reached, ElementsAre("GetByIndex 0", "GetByIndex 1"));

    repository.reached.clear();
    EXPECT_THAT(repository.Apply(), IsBareCode(Code::Success));
    EXPECT_THAT(repository.reached, ElementsAre("GetByIndex 0", "GetByIndex 1"));
}

// The binary interface

class SlotRepository : public Watched<DeviceParameterRepository> {
public:
    using Watched::Watched;

    unsigned long GetCount() const override { return 8; }
    Result RemoveByName(const String&) override { return Result(117); }
    Result Apply() override { return Result(118); }
    Result Connect(DeviceConnection* aConnection) override {
        connection = aConnection;
        return Result(119);
    }
    Result Refresh() override { return Result(120); }

    DeviceConnection* connection = nullptr;
};

TEST(DeviceParameterRepositoryTableTest, VirtualFunctionsStandInTheirSlots) {
    int destroyed = 0;
    auto* const repository = new SlotRepository(destroyed);
    void* const object = static_cast<DeviceParameterRepository*>(repository);
    ScriptedConnection connection;
    const String name("name");

    EXPECT_EQ(8u, CallSlot<unsigned long>(object, 8));
    EXPECT_THAT(CallSlot<Result>(object, 17, &name), IsBareCode(117));
    EXPECT_THAT(CallSlot<Result>(object, 18), IsBareCode(118));
    EXPECT_THAT(CallSlot<Result>(object, 19, static_cast<DeviceConnection*>(&connection)),
                IsBareCode(119));
    EXPECT_EQ(&connection, repository->connection);
    EXPECT_THAT(CallSlot<Result>(object, 20), IsBareCode(120));

    CallSlot<void>(object, 1);
    EXPECT_EQ(1, destroyed);
}

TEST_F(DeviceParameterRepositoryTest, ConnectionStandsBehindTheBase) {
    static_assert(sizeof(DeviceParameterRepository) ==
                      sizeof(ParameterRepository) + sizeof(DeviceConnection*),
                  "there is one field");
    const auto* const fields = reinterpret_cast<const unsigned char*>(&repository);
    DeviceConnection* field = nullptr;

    Load({});

    std::memcpy(&field, fields + sizeof(ParameterRepository), sizeof field);
    EXPECT_EQ(&connection, field);
}

// Texts of records in other code pages

class RecordCodePageTest : public DeviceParameterRepositoryTest,
                           public testing::WithParamInterface<SampleCodePage> {
protected:
    void SetUp() override {
        if (!::IsValidCodePage(page.number)) GTEST_SKIP() << "needs the code page";
    }

    const SampleCodePage& page = GetParam();
    const AnsiCodePage ansi{page.number};
};

TEST_P(RecordCodePageTest, StringComesAndGoesWhole) {
    Record record = StringRecord(1, page.units, page.units + L"d", page.units + L"v");
    Store(record.description, page.bytes);
    Load({record});
    EXPECT_THAT(Names(), ElementsAre(page.bytes));
    Parameter* const parameter = repository.GetByIndex(0);
    EXPECT_EQ(page.bytes, parameter->GetDescription().GetAscii());
    ASSERT_THAT(parameter->SetString((page.bytes + "new").c_str()), IsBareCode(0));

    const Record sent = SentRecord();

    EXPECT_EQ(page.units, sent.name);
    EXPECT_EQ(page.bytes, sent.description);
    EXPECT_EQ(page.units + L"d", sent.content.string.defaultText);
    EXPECT_EQ(page.units + L"new", sent.content.string.valueText);
}

TEST_P(RecordCodePageTest, EntriesComeAndGoWhole) {
    Load({EnumRecord(1, page.units, {page.units.c_str(), L"b"})});
    Parameter* const parameter = repository.GetByIndex(0);
    unsigned long index = 7;
    EXPECT_THAT(parameter->FindEnumValue(page.bytes.c_str(), index), IsBareCode(0));
    EXPECT_EQ(0u, index);
    ASSERT_THAT(parameter->SetInt(1), IsBareCode(0));

    const Record sent = SentRecord();

    EXPECT_EQ(page.units, sent.content.valueNames);
}

TEST_P(RecordCodePageTest, UnitIsSplitOffItsDescription) {
    Record record = IntegerRecord(1, page.units);
    Store(record.description, page.bytes);
    Store(record.unit, page.bytes);
    Load({record});
    EXPECT_EQ(page.bytes + " (" + page.bytes + ")",
              repository.GetByIndex(0)->GetDescription().GetAscii());
    ASSERT_THAT(repository.GetByIndex(0)->SetInt(6), IsBareCode(0));

    const Record sent = SentRecord();

    EXPECT_EQ(page.bytes, sent.description);
    EXPECT_EQ(page.bytes, sent.unit);
}

INSTANTIATE_TEST_SUITE_P(DeviceParameterRepositoryTest, RecordCodePageTest,
                         testing::ValuesIn(kSampleCodePages), NameOfCodePage);

}  // namespace
}  // namespace QvTests
