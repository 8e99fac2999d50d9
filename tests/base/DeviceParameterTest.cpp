// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/DeviceParameter.h"

#include <array>
#include <cstring>
#include <new>
#include <string>

#include "TestSupport.h"
#include "WindowsApi.h"

#include <winioctl.h>

namespace QvTests {
namespace {

constexpr unsigned long kUnknownType = 7;

constexpr std::size_t kTypeOffset = 4;
constexpr std::size_t kIdOffset = 8;
constexpr std::size_t kNameOffset = 12;
constexpr std::size_t kDescriptionOffset = 76;
constexpr std::size_t kUnitOffset = 332;
constexpr std::size_t kMinimumOffset = 348;
constexpr std::size_t kMaximumOffset = 352;
constexpr std::size_t kDefaultOffset = 356;
constexpr std::size_t kValueOffset = 360;
constexpr std::size_t kContentOffset = 364;
constexpr std::size_t kValueTextOffset = 796;

// The bytes of one record, as they travel.
class Bytes {
public:
    explicit Bytes(unsigned char aFill = 0) { bytes_.fill(aFill); }
    explicit Bytes(const DeviceParameter& aRecord) {
        std::memcpy(bytes_.data(), &aRecord, bytes_.size());
    }

    Bytes& Put(std::size_t aOffset, unsigned long aNumber) {
        std::memcpy(&bytes_[aOffset], &aNumber, sizeof aNumber);
        return *this;
    }
    Bytes& Put(std::size_t aOffset, const std::string& aText) {
        std::memcpy(&bytes_[aOffset], aText.data(), aText.size());
        return *this;
    }
    Bytes& Put(std::size_t aOffset, const std::wstring& aText) {
        std::memcpy(&bytes_[aOffset], aText.data(), aText.size() * sizeof(wchar_t));
        return *this;
    }
    Bytes& Zero(std::size_t aOffset, std::size_t aSize) {
        return Put(aOffset, std::string(aSize, '\0'));
    }

    DeviceParameter ToRecord() const {
        DeviceParameter record;
        // A driver's bytes arrive in the same way.
        std::memcpy(static_cast<void*>(&record), bytes_.data(), bytes_.size());
        return record;
    }

    // Where the first byte differs, or -1.
    int DiffersFrom(const Bytes& aOther) const {
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            if (bytes_[i] != aOther.bytes_[i]) return static_cast<int>(i);
        }
        return -1;
    }

private:
    std::array<unsigned char, QV_PARAMETER_RECORD_SIZE> bytes_;
};

MATCHER_P(HasBytes, aExpected, "") {
    const int offset = Bytes(arg).DiffersFrom(aExpected);
    *result_listener << "first difference at byte " << offset;
    return offset == -1;
}

// A record whose last byte is the last of its page, with nothing mapped behind it: one step too far
// ends the test.
class GuardedRecord {
public:
    explicit GuardedRecord(const Bytes& aBytes)
        : pages_(::VirtualAlloc(nullptr, 2 * kPageSize, MEM_RESERVE, PAGE_NOACCESS)) {
        ::VirtualAlloc(pages_, kPageSize, MEM_COMMIT, PAGE_READWRITE);
        void* const place = static_cast<char*>(pages_) + kPageSize - sizeof(DeviceParameter);
        record_ = new (place) DeviceParameter(aBytes.ToRecord());
    }
    ~GuardedRecord() { ::VirtualFree(pages_, 0, MEM_RELEASE); }

    GuardedRecord(const GuardedRecord&) = delete;
    GuardedRecord& operator=(const GuardedRecord&) = delete;

    DeviceParameter* operator->() const { return record_; }
    DeviceParameter& operator*() const { return *record_; }

private:
    static constexpr std::size_t kPageSize = 4096;

    void* pages_;
    DeviceParameter* record_;
};

// A text whose last unit is the last of its page, likewise.
class GuardedText {
public:
    explicit GuardedText(const std::wstring& aText)
        : pages_(::VirtualAlloc(nullptr, 2 * kPageSize, MEM_RESERVE, PAGE_NOACCESS)),
          bytes_(aText.size() * sizeof(wchar_t)) {
        ::VirtualAlloc(pages_, kPageSize, MEM_COMMIT, PAGE_READWRITE);
        std::memcpy(Start(), aText.data(), bytes_);
    }
    ~GuardedText() { ::VirtualFree(pages_, 0, MEM_RELEASE); }

    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;

    const wchar_t* Get() const { return static_cast<const wchar_t*>(Start()); }

private:
    static constexpr std::size_t kPageSize = 4096;

    void* Start() const { return static_cast<char*>(pages_) + kPageSize - bytes_; }

    void* pages_;
    std::size_t bytes_;
};

// A record full of 0xFF, or what else a driver may write, but for its type.
Bytes Hostile(unsigned long aType, unsigned char aFill = 0xFF) {
    return Bytes(aFill).Put(kTypeOffset, aType);
}

DeviceParameter EnumerationOf(const std::wstring& aNames) {
    return Bytes()
        .Put(kTypeOffset, DeviceParameter::Enumeration)
        .Put(kContentOffset, aNames)
        .ToRecord();
}

// The name as often as said, each with its zero.
std::wstring Repeat(const std::wstring& aName, unsigned int aCount) {
    std::wstring names;
    for (unsigned int i = 0; i < aCount; ++i) names += aName + L'\0';
    return names;
}

std::wstring Wide(std::size_t aLength) { return std::wstring(aLength, L'w'); }

std::string Narrow(std::size_t aLength) { return std::string(aLength, 'n'); }

TEST(DeviceParameterTest, ControlCodesFollowTheCtlCodeLayout) {
    const auto code = [](unsigned long aFunction) -> unsigned long {
        return CTL_CODE(FILE_DEVICE_UNKNOWN, aFunction, METHOD_BUFFERED, FILE_ANY_ACCESS);
    };
    EXPECT_EQ(code(0x800), IOCTL_PARAMETERS_GET);
    EXPECT_EQ(code(0x801), IOCTL_PARAMETERS_GET_SIZE);
    EXPECT_EQ(code(0x802), IOCTL_PARAMETERS_SET);
}

TEST(DeviceParameterTest, FlagsAreTheBitsOfTheFlagWord) {
    EXPECT_EQ(1u << 0, QV_PARAMETER_ADVANCED);
    EXPECT_EQ(1u << 1, QV_PARAMETER_SENT);
    EXPECT_EQ(1u << 2, QV_PARAMETER_HIDDEN);
    EXPECT_EQ(1u << 3, QV_PARAMETER_PERSISTENT);
    EXPECT_EQ(1u << 4, QV_PARAMETER_READ_ONLY);
    EXPECT_EQ(1u << 5, QV_PARAMETER_RESTART_REQUIRED);
    EXPECT_EQ(1u << 6, QV_PARAMETER_VOLATILE);
}

TEST(DeviceParameterTest, TypesHaveTheirNumbers) {
    EXPECT_EQ(0u, static_cast<unsigned long>(DeviceParameter::Integer));
    EXPECT_EQ(1u, static_cast<unsigned long>(DeviceParameter::Enumeration));
    EXPECT_EQ(2u, static_cast<unsigned long>(DeviceParameter::String));
    EXPECT_EQ(QV_PARAMETER_INTEGER, static_cast<unsigned long>(DeviceParameter::Integer));
    EXPECT_EQ(QV_PARAMETER_ENUMERATION, static_cast<unsigned long>(DeviceParameter::Enumeration));
    EXPECT_EQ(QV_PARAMETER_STRING, static_cast<unsigned long>(DeviceParameter::String));
}

TEST(DeviceParameterTest, RecordsStandBackToBackWithTheFlagWordFirst) {
    DeviceParameter records[2];
    records[1].SetFlags(0x12345678);

    unsigned long flags = 0;
    std::memcpy(&flags, reinterpret_cast<const char*>(records) + 1228, sizeof flags);

    EXPECT_EQ(1228u, sizeof(DeviceParameter));
    EXPECT_EQ(2456u, sizeof records);
    EXPECT_EQ(0x12345678u, flags);
}

TEST(DeviceParameterTest, NewRecordIsAllZero) {
    const DeviceParameter record;

    EXPECT_THAT(record, HasBytes(Bytes()));
    EXPECT_EQ(DeviceParameter::Integer, record.GetType());
    EXPECT_EQ(L"", record.GetName());
}

TEST(DeviceParameterTest, ReadersReadTheirFields) {
    const DeviceParameter record = Bytes()
                                       .Put(0, 0x7Dul)
                                       .Put(kTypeOffset, DeviceParameter::Integer)
                                       .Put(kIdOffset, 0x89ABCDEFul)
                                       .Put(kNameOffset, std::wstring(L"Gain"))
                                       .Put(kDescriptionOffset, std::string("Input gain"))
                                       .Put(kUnitOffset, std::string("dB"))
                                       .Put(kMinimumOffset, 0x01020304ul)
                                       .Put(kMaximumOffset, 0xFFFFFFFFul)
                                       .Put(kDefaultOffset, 0x11223344ul)
                                       .Put(kValueOffset, 0x55667788ul)
                                       .ToRecord();

    EXPECT_EQ(0x7Du, record.GetFlags());
    EXPECT_EQ(DeviceParameter::Integer, record.GetType());
    EXPECT_EQ(0x89ABCDEFu, record.GetId());
    EXPECT_EQ(L"Gain", record.GetName());
    EXPECT_EQ("Input gain", record.GetDescription());
    EXPECT_EQ("dB", record.GetUnit());
    EXPECT_EQ(0x01020304u, record.GetMin());
    EXPECT_EQ(0xFFFFFFFFu, record.GetMax());
    EXPECT_EQ(0x11223344u, record.GetDefaultDWord());
    EXPECT_EQ(0x55667788u, record.GetValueDWord());
}

TEST(DeviceParameterTest, ReadersReadTheTextsOfAString) {
    const DeviceParameter record = Bytes()
                                       .Put(kTypeOffset, DeviceParameter::String)
                                       .Put(kContentOffset, std::wstring(L"default"))
                                       .Put(kValueTextOffset, std::wstring(L"value \u00E4"))
                                       .ToRecord();

    EXPECT_EQ(L"default", record.GetDefaultString());
    EXPECT_EQ(L"value \u00E4", record.GetValueString());
}

TEST(DeviceParameterTest, FlagsAreKeptWhole) {
    DeviceParameter record = Hostile(DeviceParameter::Integer).ToRecord();

    record.SetFlags(0xA5A5A5A5);

    EXPECT_EQ(0xA5A5A5A5u, record.GetFlags());
    EXPECT_THAT(record, HasBytes(Hostile(DeviceParameter::Integer).Put(0, 0xA5A5A5A5ul)));
}

TEST(DeviceParameterTest, UnterminatedTextsEndWithTheirFields) {
    const GuardedRecord record(Hostile(DeviceParameter::String));

    EXPECT_EQ(std::wstring(32, L'\xFFFF'), record->GetName());
    EXPECT_EQ(std::string(256, '\xFF'), record->GetDescription());
    EXPECT_EQ(std::string(16, '\xFF'), record->GetUnit());
    EXPECT_EQ(std::wstring(216, L'\xFFFF'), record->GetDefaultString());
    EXPECT_EQ(std::wstring(216, L'\xFFFF'), record->GetValueString());
}

TEST(DeviceParameterTest, TextsEndAtTheirFirstZeroWhateverFollows) {
    const DeviceParameter record = Hostile(DeviceParameter::String, 'x')
                                       .Put(kNameOffset, std::wstring(L"Label\0", 6))
                                       .Put(kDescriptionOffset, std::string("\0", 1))
                                       .Put(kUnitOffset, std::string("fifteen bytes !\0", 16))
                                       .Put(kContentOffset, std::wstring(1, L'\0'))
                                       .Put(kValueTextOffset, Wide(215) + L'\0')
                                       .ToRecord();

    EXPECT_EQ(L"Label", record.GetName());
    EXPECT_EQ("", record.GetDescription());
    EXPECT_EQ("fifteen bytes !", record.GetUnit());
    EXPECT_EQ(L"", record.GetDefaultString());
    EXPECT_EQ(Wide(215), record.GetValueString());
}

TEST(DeviceParameterTest, UnterminatedValueNameEndsWithTheRecord) {
    const GuardedRecord record(Hostile(DeviceParameter::Enumeration));

    EXPECT_EQ(std::wstring(432, L'\xFFFF'), record->GetValueName(0));
    EXPECT_EQ(L"", record->GetValueName(1));
    EXPECT_EQ(L"", record->GetValueName(0xFFFFFFFF));
}

TEST(DeviceParameterTest, LastValueNameMayBeUnterminated) {
    const GuardedRecord record(
        Hostile(DeviceParameter::Enumeration, 'x').Put(kContentOffset, std::wstring(L"A\0", 2)));

    EXPECT_EQ(L"A", record->GetValueName(0));
    EXPECT_EQ(430u, record->GetValueName(1).size());
    EXPECT_EQ(L"", record->GetValueName(2));
}

TEST(DeviceParameterTest, ValueNamesMayFillTheFieldWithoutAnEndMark) {
    const GuardedRecord record(Bytes()
                                   .Put(kTypeOffset, DeviceParameter::Enumeration)
                                   .Put(kContentOffset, Repeat(L"x", 216)));

    EXPECT_EQ(L"x", record->GetValueName(0));
    EXPECT_EQ(L"x", record->GetValueName(215));
    EXPECT_EQ(L"", record->GetValueName(216));
    EXPECT_EQ(L"", record->GetValueName(0xFFFFFFFF));
}

TEST(DeviceParameterTest, RecordHoldsAtMost215ValueNamesAndTheirEndMark) {
    const DeviceParameter record = EnumerationOf(Repeat(L"x", QV_PARAMETER_MAX_VALUE_NAMES));

    EXPECT_EQ(215, QV_PARAMETER_MAX_VALUE_NAMES);
    EXPECT_EQ(L"x", record.GetValueName(214));
    EXPECT_EQ(L"", record.GetValueName(215));
}

TEST(DeviceParameterTest, AbsentValueNamesAreEmpty) {
    const DeviceParameter record = EnumerationOf(std::wstring(L"Off\0On\0", 7));

    EXPECT_EQ(L"Off", record.GetValueName(0));
    EXPECT_EQ(L"On", record.GetValueName(1));
    for (const unsigned long index : {2ul, 3ul, 4ul, 1000ul, 0xFFFFFFFFul}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(L"", record.GetValueName(index));
    }
    EXPECT_EQ(L"", EnumerationOf(L"").GetValueName(0));
}

TEST(DeviceParameterTest, EmptyValueNameHidesNoneBehindIt) {
    const DeviceParameter record = EnumerationOf(std::wstring(L"Off\0\0Slow\0\0\0Fast\0", 16));

    const wchar_t* const names[] = {L"Off", L"", L"Slow", L"", L"", L"Fast", L""};
    for (unsigned long index = 0; index < std::size(names); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(names[index], record.GetValueName(index));
    }
}

TEST(DeviceParameterTest, EmptyValueNameMayBeTheFirst) {
    const DeviceParameter record = EnumerationOf(std::wstring(L"\0On\0", 4));

    EXPECT_EQ(L"", record.GetValueName(0));
    EXPECT_EQ(L"On", record.GetValueName(1));
}

TEST(DeviceParameterTest, TextsOfAnotherTypeReadAsEmpty) {
    for (const unsigned long type : {0ul, 1ul, kUnknownType, 0xFFFFFFFFul}) {
        SCOPED_TRACE(type);
        const DeviceParameter record = Hostile(type, 'x').ToRecord();
        EXPECT_EQ(type, static_cast<unsigned long>(record.GetType()));
        EXPECT_EQ(L"", record.GetValueString());
        EXPECT_EQ(L"", record.GetDefaultString());
    }
    for (const unsigned long type : {0ul, 2ul, kUnknownType}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(L"", Hostile(type, 'x').ToRecord().GetValueName(0));
    }
}

TEST(DeviceParameterTest, InitCommonSetsIdentifierNameAndDescriptionOnly) {
    DeviceParameter record = Hostile(kUnknownType).ToRecord();

    record.InitCommon(42, L"Gain", "Input gain");

    EXPECT_THAT(record, HasBytes(Hostile(kUnknownType)
                                     .Put(kIdOffset, 42ul)
                                     .Zero(kNameOffset, 64)
                                     .Put(kNameOffset, std::wstring(L"Gain"))
                                     .Zero(kDescriptionOffset, 256)
                                     .Put(kDescriptionOffset, std::string("Input gain"))));
}

TEST(DeviceParameterTest, InitCommonCutsTextsToTheirFields) {
    const struct {
        std::size_t nameUnits;
        std::size_t descriptionBytes;
    } cases[] = {{31, 255}, {32, 256}, {33, 257}, {1000, 1000}};
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.nameUnits);
        const std::wstring name = Wide(entry.nameUnits);
        const std::string description = Narrow(entry.descriptionBytes);
        DeviceParameter record = Hostile(kUnknownType).ToRecord();

        record.InitCommon(1, name.c_str(), description.c_str());

        EXPECT_EQ(name.substr(0, 32), record.GetName());
        EXPECT_EQ(description.substr(0, 256), record.GetDescription());
        EXPECT_EQ(std::string(16, '\xFF'), record.GetUnit());
    }
}

TEST(DeviceParameterTest, NameThatFillsItsFieldLeavesTheDescriptionAlone) {
    DeviceParameter record;

    record.InitCommon(1, Wide(40).c_str(), "");

    EXPECT_EQ(Wide(32), record.GetName());
    EXPECT_EQ("", record.GetDescription());
}

TEST(DeviceParameterTest, NullTextsReadAsEmpty) {
    DeviceParameter record = Hostile(DeviceParameter::String).ToRecord();

    record.InitCommon(1, nullptr, nullptr);
    EXPECT_EQ(L"", record.GetName());
    EXPECT_EQ("", record.GetDescription());

    record.InitString(nullptr);
    EXPECT_EQ(L"", record.GetDefaultString());
    EXPECT_EQ(L"", record.GetValueString());

    record.InitDWord(0, 1, 0, nullptr);
    EXPECT_EQ("", record.GetUnit());

    record.InitEnum(3, nullptr, 0);
    EXPECT_EQ(0u, record.GetMax());
    EXPECT_EQ(L"", record.GetValueName(0));
}

TEST(DeviceParameterTest, InitDWordMakesAnIntegerWhoseValueIsItsDefault) {
    DeviceParameter record = Hostile(kUnknownType).ToRecord();

    record.InitDWord(10, 0xFFFFFFF0, 500, "us");

    EXPECT_THAT(record, HasBytes(Hostile(DeviceParameter::Integer)
                                     .Zero(kUnitOffset, 16)
                                     .Put(kUnitOffset, std::string("us"))
                                     .Put(kMinimumOffset, 10ul)
                                     .Put(kMaximumOffset, 0xFFFFFFF0ul)
                                     .Put(kDefaultOffset, 500ul)
                                     .Put(kValueOffset, 500ul)
                                     .Zero(kContentOffset, 864)));
}

TEST(DeviceParameterTest, InitDWordStoresNumbersAsGiven) {
    DeviceParameter record;

    record.InitDWord(/*aMin=*/10, /*aMax=*/5, /*aDefault=*/100, "");

    EXPECT_EQ(10u, record.GetMin());
    EXPECT_EQ(5u, record.GetMax());
    EXPECT_EQ(100u, record.GetDefaultDWord());
}

TEST(DeviceParameterTest, InitDWordCutsTheUnitToItsField) {
    for (const std::size_t bytes : {15, 16, 17, 300}) {
        SCOPED_TRACE(bytes);
        DeviceParameter record;

        record.InitDWord(1, 2, 1, Narrow(bytes).c_str());

        EXPECT_EQ(Narrow(bytes).substr(0, 16), record.GetUnit());
        EXPECT_EQ(1u, record.GetMin());
        EXPECT_EQ(2u, record.GetMax());
    }
}

TEST(DeviceParameterTest, InitEnumMakesAnEnumerationWhoseValueIsItsDefault) {
    DeviceParameter record = Hostile(kUnknownType).ToRecord();

    record.InitEnum(3, L"Off\0Slow\0Fast\0", 1);

    EXPECT_THAT(record, HasBytes(Hostile(DeviceParameter::Enumeration)
                                     .Zero(kUnitOffset, 16)
                                     .Put(kMinimumOffset, 0ul)
                                     .Put(kMaximumOffset, 2ul)
                                     .Put(kDefaultOffset, 1ul)
                                     .Put(kValueOffset, 1ul)
                                     .Zero(kContentOffset, 864)
                                     .Put(kContentOffset, std::wstring(L"Off\0Slow\0Fast", 13))));
}

TEST(DeviceParameterTest, InitEnumTakesNoMoreNamesThanItIsTold) {
    DeviceParameter record;

    record.InitEnum(2, L"Off\0Slow\0Fast\0", 0);

    EXPECT_EQ(1u, record.GetMax());
    EXPECT_EQ(L"Slow", record.GetValueName(1));
    EXPECT_EQ(L"", record.GetValueName(2));
}

TEST(DeviceParameterTest, InitEnumWithoutNamesHoldsNone) {
    DeviceParameter record = Hostile(DeviceParameter::Enumeration).ToRecord();

    record.InitEnum(0, L"", 0);

    EXPECT_EQ(DeviceParameter::Enumeration, record.GetType());
    EXPECT_EQ(0u, record.GetMax());
    EXPECT_EQ(L"", record.GetValueName(0));
}

// The list lies at the end of its page, with nothing mapped behind it.
TEST(DeviceParameterTest, InitEnumEndsWithItsListHoweverLargeTheCount) {
    for (const std::wstring& list : {std::wstring(L"Off\0On\0\0", 8), std::wstring(1, L'\0')}) {
        SCOPED_TRACE(list.size());
        const GuardedText names(list);
        DeviceParameter record;

        record.InitEnum(0xFFFFFFFF, names.Get(), 0);

        EXPECT_EQ(list.size() > 1 ? 1u : 0u, record.GetMax());
        EXPECT_EQ(list.c_str(), record.GetValueName(0));
    }
}

TEST(DeviceParameterTest, InitEnumLeavesOutNamesThatDoNotFitWhole) {
    // 432 units: a name of 430, its zero and the end mark fill them.
    const struct {
        const char* name;
        std::wstring names;
        unsigned long count;
        unsigned long kept;
    } cases[] = {
        {"one that fills the field", Repeat(Wide(430), 1), 1, 1},
        {"one that is a unit too long", Repeat(Wide(431), 1), 1, 0},
        {"one that is as long as the field", Repeat(Wide(432), 1), 1, 0},
        {"one much too long", Repeat(Wide(5000), 1), 1, 0},
        {"two that fill the field", Repeat(L"x", 1) + Repeat(Wide(428), 1), 2, 2},
        {"a second that is too long", Repeat(L"x", 1) + Repeat(Wide(429), 1), 2, 1},
        {"none after one that does not fit",
         Repeat(L"x", 1) + Repeat(Wide(429), 1) + Repeat(L"y", 1), 3, 1},
        {"as many as fit", Repeat(L"x", 215), 215, 215},
        {"one more than fit", Repeat(L"x", 216), 216, 215},
        {"many more than fit", Repeat(L"x", 1000), 1000, 215},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.name);
        const GuardedRecord record{Bytes(0xFF)};
        const std::wstring list = entry.names + L'\0';

        record->InitEnum(entry.count, list.c_str(), 0);

        EXPECT_EQ(entry.kept > 0 ? entry.kept - 1 : 0, record->GetMax());
        for (unsigned long i = 0; i < entry.kept; ++i) EXPECT_NE(L"", record->GetValueName(i));
        EXPECT_EQ(L"", record->GetValueName(entry.kept));
    }
}

TEST(DeviceParameterTest, InitStringMakesAStringWhoseValueIsItsDefault) {
    DeviceParameter record = Hostile(kUnknownType).ToRecord();

    record.InitString(L"label");

    EXPECT_THAT(record, HasBytes(Hostile(DeviceParameter::String)
                                     .Zero(kUnitOffset, 32)
                                     .Zero(kContentOffset, 864)
                                     .Put(kContentOffset, std::wstring(L"label"))
                                     .Put(kValueTextOffset, std::wstring(L"label"))));
}

TEST(DeviceParameterTest, InitStringCutsTheTextToItsField) {
    for (const std::size_t units : {215, 216, 217, 1000}) {
        SCOPED_TRACE(units);
        const GuardedRecord record{Bytes(0xFF)};

        record->InitString(Wide(units).c_str());

        EXPECT_EQ(Wide(units).substr(0, 216), record->GetDefaultString());
        EXPECT_EQ(Wide(units).substr(0, 216), record->GetValueString());
    }
}

TEST(DeviceParameterTest, SetValueStoresNumbersUncheckedAgainstTheRange) {
    DeviceParameter integer;
    integer.InitDWord(1, 10, 5, "us");
    DeviceParameter enumeration;
    enumeration.InitEnum(1, L"Off\0", 0);

    EXPECT_THAT(integer.SetValue(0xFFFFFFFFul), IsBareCode(Code::Success));
    EXPECT_THAT(enumeration.SetValue(3ul), IsBareCode(Code::Success));

    EXPECT_EQ(0xFFFFFFFFu, integer.GetValueDWord());
    EXPECT_EQ(5u, integer.GetDefaultDWord());
    EXPECT_EQ(3u, enumeration.GetValueDWord());
    EXPECT_EQ(0u, enumeration.GetDefaultDWord());
}

TEST(DeviceParameterTest, SetValueStoresTextsThatFit) {
    DeviceParameter record;
    record.InitString(L"a default that is longer than the value");
    const Bytes before(record);

    EXPECT_THAT(record.SetValue(L"value"), IsBareCode(Code::Success));

    EXPECT_THAT(record, HasBytes(Bytes(before)
                                     .Zero(kValueTextOffset, 432)
                                     .Put(kValueTextOffset, std::wstring(L"value"))));
}

TEST(DeviceParameterTest, SetValueTakesTextsUpToTheSizeOfTheField) {
    const GuardedRecord record{Bytes(0xFF)};
    record->InitString(L"default");

    EXPECT_THAT(record->SetValue(Wide(216).c_str()), IsBareCode(Code::Success));
    EXPECT_EQ(Wide(216), record->GetValueString());

    EXPECT_THAT(record->SetValue(static_cast<const wchar_t*>(nullptr)), IsBareCode(Code::Success));
    EXPECT_EQ(L"", record->GetValueString());
    EXPECT_EQ(L"default", record->GetDefaultString());
}

TEST(DeviceParameterTest, RefusedTextLeavesTheRecordUnchanged) {
    for (const std::size_t units : {217, 218, 432, 5000}) {
        SCOPED_TRACE(units);
        const GuardedRecord record(Hostile(DeviceParameter::String));

        EXPECT_THAT(record->SetValue(Wide(units).c_str()), IsBareCode(Code::InvalidArgument));

        EXPECT_THAT(*record, HasBytes(Hostile(DeviceParameter::String)));
    }
}

TEST(DeviceParameterTest, TextIsRefusedByOtherTypes) {
    for (const unsigned long type : {0ul, 1ul, 3ul, kUnknownType, 0xFFFFFFFFul}) {
        SCOPED_TRACE(type);
        DeviceParameter record = Hostile(type).ToRecord();

        EXPECT_THAT(record.SetValue(L"text"), IsBareCode(Code::InvalidArgument));

        EXPECT_THAT(record, HasBytes(Hostile(type)));
    }
}

TEST(DeviceParameterTest, NumberIsRefusedByOtherTypes) {
    for (const unsigned long type : {2ul, 3ul, kUnknownType, 0xFFFFFFFFul}) {
        SCOPED_TRACE(type);
        DeviceParameter record = Hostile(type).ToRecord();

        EXPECT_THAT(record.SetValue(1ul), IsBareCode(Code::InvalidArgument));

        EXPECT_THAT(record, HasBytes(Hostile(type)));
    }
}

}  // namespace
}  // namespace QvTests
