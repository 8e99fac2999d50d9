// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Snapshots of parameters, and values from texts, on repositories without a device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "KitTestSupport.h"
#include "QvKit/Change.h"
#include "QvKit/Snapshot.h"
#include "QvKit/Text.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "TestSupport.h"

namespace {

using QvKit::Change;
using QvKit::DeviceParameters;
using QvKit::Refusal;
using QvKit::Setting;
using QvKit::SettingType;
using QvKit::Snapshot;
using QvKit::Value;
using QvTests::AllocationCounter;
using QvTests::ErrorOf;
using QvTests::HasCode;
using QvTests::kChinese;
using QvTests::kJapanese;
using QvTests::kSize;
using QvUserLib::Code;
using QvUserLib::DeviceParameterRepository;
using QvUserLib::Parameter;
using QvUserLib::Result;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

constexpr unsigned long kId = 1;

// A repository whose device does what the test says.
class FakeDevice : public DeviceParameterRepository {
public:
    Result Refresh() override {
        onRefresh();
        return refreshResult;
    }

    using DeviceParameterRepository::Add;
    Parameter& Add(const char* aName, unsigned long aId = kId) {
        auto* const parameter = new Parameter(QvKit::ToLibraryText(aName), aId);
        parameter->InitInteger(5, 0, 10);
        EXPECT_THAT(Add(parameter), HasCode(Code::Success));
        return *parameter;
    }
    Parameter& AddInteger(long long aMin, long long aMax) {
        Parameter& parameter = Add("Number");
        parameter.InitInteger(5, aMin, aMax);
        return parameter;
    }
    Parameter& AddText() {
        Parameter& parameter = Add("Text");
        parameter.InitString("");
        return parameter;
    }
    Parameter& AddEnumeration(const std::vector<const char*>& aEntries) {
        Parameter& parameter = Add("Mode");
        parameter.InitEnum();
        for (const char* const entry : aEntries) {
            EXPECT_THAT(parameter.AddEnumValue(entry), HasCode(Code::Success));
        }
        return parameter;
    }

    DeviceParameters parameters{*this};
    Result refreshResult = Result(Code::Success);
    std::function<void()> onRefresh = [] {};
};

// The refusal of this edit; nothing if it is none.
std::optional<Refusal> TryToSet(FakeDevice& aDevice, const std::string& aName,
                                const std::string& aText) {
    Change change(aDevice.parameters);
    change.Set(aName, aText);
    return change.GetEdits().at(0).refusal;
}

Refusal RefusalOf(FakeDevice& aDevice, const std::string& aName, const std::string& aText) {
    const std::optional<Refusal> refusal = TryToSet(aDevice, aName, aText);
    EXPECT_TRUE(refusal.has_value()) << "not refused: " << aText;
    return refusal.value_or(Refusal());
}

bool IsTaken(FakeDevice& aDevice, const std::string& aName, const std::string& aText) {
    return !TryToSet(aDevice, aName, aText);
}

// The value that this text is taken as; nothing if it is refused.
std::optional<Value> ValueFrom(FakeDevice& aDevice, const std::string& aName,
                               const std::string& aText) {
    Change change(aDevice.parameters);
    change.Set(aName, aText);
    const QvKit::Edit& edit = change.GetEdits().at(0);
    return edit.refusal ? std::nullopt : std::optional<Value>(edit.after);
}

// The bytes of a setting's texts and numbers.
long ContentOf(const Setting& aSetting) {
    std::size_t size = aSetting.name.size() + aSetting.description.size() + aSetting.unit.size();
    for (const std::string_view entry : aSetting.entries) size += entry.size();
    for (const Value* const value : {&aSetting.value, &aSetting.defaultValue}) {
        const auto* const text = std::get_if<QvKit::CompactWideText>(value);
        size += text != nullptr ? text->size() * sizeof(wchar_t) : sizeof(long long);
    }
    if (aSetting.type != SettingType::String) size += sizeof aSetting.minimum;
    constexpr std::size_t kMarks = 6;
    size += sizeof aSetting.id + sizeof aSetting.type + sizeof aSetting.maximum + kMarks;
    return static_cast<long>(size);
}

// Snapshots

TEST(KitSnapshotTest, HoldsAllOfAnInteger) {
    FakeDevice device;
    Parameter& gain = device.Add("Gain", 7);
    ASSERT_THAT(gain.SetInt(6), HasCode(Code::Success));
    ASSERT_THAT(gain.SetDescription("Amplification (dB)"), HasCode(Code::Success));

    const Snapshot snapshot(device);

    ASSERT_THAT(snapshot.GetSettings(), SizeIs(1));
    const Setting& setting = snapshot.GetSettings().front();
    EXPECT_EQ("Gain", setting.name);
    EXPECT_EQ(7u, setting.id);
    EXPECT_EQ(SettingType::Integer, setting.type);
    EXPECT_EQ("Amplification", setting.description);
    EXPECT_EQ("dB", setting.unit);
    EXPECT_EQ(Value(6LL), setting.value);
    EXPECT_EQ(Value(5LL), setting.defaultValue);
    EXPECT_EQ(0, setting.minimum);
    EXPECT_EQ(10, setting.maximum);
}

TEST(KitSnapshotTest, StaysAsItIsWhenTheParameterChangesAndGoes) {
    FakeDevice device;
    device.Add("Gain");
    const Snapshot snapshot(device);

    ASSERT_THAT(device.GetByID(kId)->SetInt(9), HasCode(Code::Success));
    ASSERT_THAT(device.RemoveByID(kId), HasCode(Code::Success));

    EXPECT_EQ(Value(5LL), snapshot.GetSettings().front().value);
    EXPECT_TRUE(device.parameters.GetSnapshot().IsEmpty());
}

// Half as much again as their content, and 64 bytes for each.
TEST(KitSnapshotTest, ManySettingsTakeLittleMoreMemoryThanTheirTextsAndNumbers) {
    constexpr unsigned long kCount = 300;
    FakeDevice device;
    for (unsigned long id = 0; id < kCount; ++id) {
        const std::string number = std::to_string(id);
        Parameter& parameter = device.Add(("Channel " + number + " level").c_str(), id);
        if (id % 3 == 1) parameter.InitString("Bench 7, north side");
        if (id % 3 == 2) parameter.InitEnum();
        for (const char* const entry : {"Continuous", "Triggered", "Standby"}) {
            if (id % 3 == 2) (void)parameter.AddEnumValue(entry);
        }
        const std::string description = "What channel " + number + " triggers at (mV)";
        ASSERT_THAT(parameter.SetDescription(description.c_str()), HasCode(Code::Success));
    }
    // The library keeps the UTF-16 form of a text once it has been asked for.
    ASSERT_THAT(Snapshot(device).GetSettings(), SizeIs(kCount));

    const AllocationCounter memory;
    const Snapshot snapshot(device);
    const long taken = memory.LiveBytes();

    long content = 0;
    for (const Setting& setting : snapshot.GetSettings()) content += ContentOf(setting);
    EXPECT_LE(taken, content + content / 2 + 64 * kCount);
    EXPECT_GE(taken, content);
}

TEST(KitSnapshotTest, EveryMarkIsCopied) {
    FakeDevice device;
    Parameter& parameter = device.Add("Gain");
    struct {
        Result (Parameter::*set)(bool);
        bool Setting::* isSet;
    } const marks[] = {{&Parameter::SetReadOnly, &Setting::isReadOnly},
                       {&Parameter::SetVolatile, &Setting::isVolatile},
                       {&Parameter::SetRestartRequired, &Setting::isRestartRequired},
                       {&Parameter::SetPersistent, &Setting::isPersistent},
                       {&Parameter::SetAdvanced, &Setting::isAdvanced},
                       {&Parameter::SetHidden, &Setting::isHidden}};
    for (const auto& mark : marks) {
        for (const bool on : {false, true}) {
            ASSERT_THAT((parameter.*mark.set)(on), HasCode(Code::Success));
            EXPECT_EQ(on, Snapshot(device).GetSettings().front().*mark.isSet);
        }
    }
}

TEST(KitSnapshotTest, AnIntegersUnitIsWhatTheLibraryAppended) {
    const char* const cases[][3] = {{"Gain (dB)", "Gain", "dB"},
                                    {"a (b) (c)", "a (b)", "c"},
                                    {" (dB)", "", "dB"},
                                    {"Gain(dB)", "Gain(dB)", ""},
                                    {"Level(max)", "Level(max)", ""},
                                    {"(dB)", "(dB)", ""},
                                    {"Gain", "Gain", ""},
                                    {"", "", ""},
                                    {"Gain ()", "Gain ()", ""},
                                    {"Gain (f(x))", "Gain (f(x))", ""},
                                    {"Gain)", "Gain)", ""},
                                    {"Gain (dB) x", "Gain (dB) x", ""}};
    for (const auto& [description, text, unit] : cases) {
        SCOPED_TRACE(description);
        FakeDevice device;
        Parameter& number = device.Add("Number");
        ASSERT_THAT(number.SetDescription(description), HasCode(Code::Success));

        const Setting setting = Snapshot(device).GetSettings().front();

        EXPECT_EQ(text, setting.description);
        EXPECT_EQ(unit, setting.unit);
    }
}

TEST(KitSnapshotTest, OnlyAnIntegerHasAUnit) {
    FakeDevice device;
    Parameter& text = device.AddText();
    ASSERT_THAT(text.SetDescription("Label (short)"), HasCode(Code::Success));

    const Setting setting = Snapshot(device).GetSettings().front();

    EXPECT_EQ(SettingType::String, setting.type);
    EXPECT_EQ("Label (short)", setting.description);
    EXPECT_THAT(setting.unit, IsEmpty());
}

TEST(KitSnapshotTest, TypesThatNoDriverHasAreLeftOut) {
    FakeDevice device;
    device.Add("Ratio").InitDouble(1.5, 1.0, 2.0);
    device.Add("Gain", 2);

    const Snapshot snapshot(device);

    EXPECT_EQ(nullptr, snapshot.Find("Ratio"));
    EXPECT_NE(nullptr, snapshot.Find("Gain"));
}

TEST(KitSnapshotTest, ANameOutsideAsciiIsFound) {
    FakeDevice device;
    device.Add(kSize);
    const Snapshot snapshot(device);

    ASSERT_NE(nullptr, snapshot.Find(kSize));
    EXPECT_EQ(1u, snapshot.Find(kSize)->id);
}

TEST(KitSnapshotTest, ANameThatIsAlikeInTheCodePageOnlyIsNotFound) {
    FakeDevice device;
    device.Add("??");

    EXPECT_EQ(nullptr, Snapshot(device).Find(kJapanese));
}

TEST(KitSnapshotTest, SelectedSettingsComeInTheOrderOfTheirNames) {
    FakeDevice device;
    device.Add("A", 1);
    device.Add("B", 2);

    const std::vector<Setting> selected = Snapshot(device).Select({"B", "A"});

    ASSERT_THAT(selected, SizeIs(2));
    EXPECT_EQ("B", selected[0].name);
    EXPECT_EQ("A", selected[1].name);
}

TEST(KitSnapshotTest, NamesThatDoNotExistAreRefusedWithTheNameThatWasMeant) {
    FakeDevice device;
    device.Add("Gain");

    const auto error = ErrorOf([&] { (void)Snapshot(device).Select({"gain", "Gain", "Xyz"}); });

    ASSERT_TRUE(error.has_value());
    EXPECT_STREQ(
        "gain: The specified parameter doesn't exist (did you mean Gain?); "
        "Xyz: The specified parameter doesn't exist",
        error->what());
    EXPECT_EQ(18u, error->GetRefusals().front().code);
    EXPECT_FALSE(error->GetRefusals().front().isLogged);
}

// Values as texts

TEST(KitSettingTest, AValueIsItsNumberTextOrEntry) {
    FakeDevice device;
    device.AddEnumeration({"Slow", "Fast"});
    Setting setting = Snapshot(device).GetSettings().front();

    EXPECT_EQ("Fast", setting.ToText(1LL));
    EXPECT_EQ("", setting.ToText(2LL));
    EXPECT_EQ("\"\"", setting.Describe(-1LL));
    EXPECT_EQ("Slow, Fast", setting.DescribeRange());
    EXPECT_EQ("Slow", setting.DescribeWithUnit(0LL));

    setting.type = SettingType::Integer;
    setting.unit = "dB";
    EXPECT_EQ("-1", setting.ToText(-1LL));
    EXPECT_EQ("6 dB", setting.DescribeWithUnit(6LL));
    EXPECT_EQ("0 to 1", setting.DescribeRange());

    setting.unit = QvKit::kHexadecimalUnit;
    EXPECT_EQ("0x0", setting.ToText(0LL));
    EXPECT_EQ("0x1f", setting.ToText(31LL));
    EXPECT_EQ("0x7fffffffffffffff",
              setting.DescribeWithUnit(std::numeric_limits<long long>::max()));
    EXPECT_EQ("-1", setting.ToText(-1LL));

    setting.type = SettingType::String;
    EXPECT_EQ(kJapanese, setting.ToText(QvKit::FromUtf8(kJapanese)));
    setting.maximum = 64;
    EXPECT_EQ("up to 64 characters", setting.DescribeRange());
}

// Texts of settings

TEST(KitCompactTextTest, ReadsLikeAStandardString) {
    const QvKit::CompactText text = std::string("Gain");

    EXPECT_EQ("Gain", text);
    EXPECT_EQ(text, std::string("Gain"));
    EXPECT_NE(text, QvKit::CompactText("Gai"));
    EXPECT_STREQ("Gain", text.c_str());
    EXPECT_THAT(text, SizeIs(4));
    EXPECT_LT(text.compare("Gaio"), 0);
    EXPECT_EQ("Gain of 1, Gain", text + " of 1, " + text);
    EXPECT_EQ(L"\u65e5", QvKit::CompactWideText(L"\u65e5"));
}

TEST(KitCompactTextTest, AnEmptyTextTakesNoMemory) {
    const AllocationCounter memory;

    const QvKit::CompactText text = "";

    EXPECT_EQ(0, memory.Count());
    EXPECT_THAT(text, IsEmpty());
    EXPECT_STREQ("", text.c_str());
    EXPECT_EQ(QvKit::CompactText(), text);
}

TEST(KitCompactTextTest, ACopyIsIndependent) {
    QvKit::CompactText text = "Gain";
    const QvKit::CompactText copy = text;
    const QvKit::CompactText moved = std::move(text);

    text = "Rate";

    EXPECT_EQ("Gain", copy);
    EXPECT_EQ("Gain", moved);
    EXPECT_EQ("Rate", text);
}

TEST(KitCompactTextTest, AZeroInATextIsKept) {
    const std::string zero("a\0b", 3);

    EXPECT_EQ(zero, QvKit::CompactText(zero));
    EXPECT_NE(zero, QvKit::CompactText("a"));
}

TEST(KitEntryNamesTest, AreTheNamesInTheirOrder) {
    const std::vector<std::string> names = {"Slow", "", "Fast", "Slow"};
    const QvKit::EntryNames entries(names);

    EXPECT_THAT(std::vector<std::string>(entries.begin(), entries.end()), ElementsAreArray(names));
    EXPECT_THAT(entries, SizeIs(4));
    EXPECT_EQ("Fast", entries[2]);
    EXPECT_EQ("", entries[4]);
    EXPECT_EQ("", QvKit::EntryNames()[0]);
    EXPECT_THAT(QvKit::EntryNames(), SizeIs(0));
    EXPECT_NE(entries, QvKit::EntryNames({"Slow", "Fast", "", "Slow"}));
}

TEST(KitEntryNamesTest, ANameEndsAtAZero) {
    EXPECT_EQ(QvKit::EntryNames({"Slow", "Fast"}),
              QvKit::EntryNames({std::string_view("Slow\0x", 6), "Fast"}));
}

// Changes: values from texts

TEST(KitValueTest, AnIntegerIsDecimalOrHexadecimalWithASign) {
    FakeDevice device;
    const Parameter& number = device.AddInteger(std::numeric_limits<long long>::min(),
                                                std::numeric_limits<long long>::max());
    struct {
        const char* text;
        long long value;
    } const cases[] = {{"12", 12},
                       {"+12", 12},
                       {"-12", -12},
                       {"010", 10},
                       {"0x1f", 31},
                       {"0XFF", 255},
                       {"-0x10", -16},
                       {"9223372036854775807", std::numeric_limits<long long>::max()},
                       {"-9223372036854775808", std::numeric_limits<long long>::min()}};
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.text);
        EXPECT_TRUE(IsTaken(device, "Number", oneCase.text));
        EXPECT_EQ(oneCase.value, number.GetInt());
    }
}

TEST(KitValueTest, WhatIsNoNumberIsRefused) {
    FakeDevice device;
    const Parameter& number = device.AddInteger(-100, 100);
    for (const char* text :
         {"", " 1", "1 ", "1.5", "1e2", "five", "0x", "0xg", "--1", "-", "+-1"}) {
        SCOPED_TRACE(text);
        const Refusal refusal = RefusalOf(device, "Number", text);

        EXPECT_EQ("Not a whole number, decimal or with 0x hexadecimal", refusal.reason);
        EXPECT_EQ(static_cast<unsigned long>(Code::NotSupported), refusal.code);
        EXPECT_FALSE(refusal.isLogged);
        EXPECT_EQ(5, number.GetInt());
    }
}

TEST(KitValueTest, ANumberBeyond64BitsIsRefusedInsteadOfWrapping) {
    FakeDevice device;
    device.AddInteger(-100, 100);
    for (const char* text : {"9223372036854775808", "-9223372036854775809", "0xffffffffffffffff",
                             "18446744073709551617", "99999999999999999999999"}) {
        SCOPED_TRACE(text);
        const Refusal refusal = RefusalOf(device, "Number", text);

        EXPECT_EQ("The number does not fit in 64 bits", refusal.reason);
        EXPECT_EQ(static_cast<unsigned long>(Code::NotSupported), refusal.code);
    }
}

TEST(KitValueTest, AValueOutsideTheRangeIsRefusedInTheLibrarysWords) {
    FakeDevice device;
    Parameter& number = device.AddInteger(0, 60);
    ASSERT_THAT(number.SetDescription("Gain (dB)"), HasCode(Code::Success));

    const Refusal refusal = RefusalOf(device, "Number", "61");

    EXPECT_EQ("Value does not fit in the range", refusal.reason);
    EXPECT_EQ("allowed: 0 to 60 dB", refusal.hint);
    EXPECT_EQ("61", refusal.value);
    EXPECT_EQ(18u, refusal.code);
    EXPECT_TRUE(refusal.isLogged);
}

TEST(KitValueTest, AnEntrysNameComesBeforeItsIndex) {
    for (const auto& [text, index] : {std::pair("0", 2LL), std::pair("1", 1LL)}) {
        FakeDevice device;
        device.AddEnumeration({"Slow", "Fast", "0"});
        EXPECT_EQ(Value(index), ValueFrom(device, "Mode", text)) << text;
    }
}

TEST(KitValueTest, AnEntryThatDoesNotExistIsRefusedInTheLibrarysWords) {
    FakeDevice device;
    device.AddEnumeration({"Slow", "Fast"});

    const Refusal refusal = RefusalOf(device, "Mode", "Faster");

    EXPECT_EQ("Enumeration value does not exist in for parameter", refusal.reason);
    EXPECT_EQ("did you mean Fast? allowed: Slow, Fast", refusal.hint);
    EXPECT_TRUE(refusal.isLogged);
}

TEST(KitValueTest, AnEntryIsTakenInAnotherCaseWhenOnlyOneIsMeant) {
    FakeDevice device;
    device.AddEnumeration({"Slow", "fast", "Fast"});

    EXPECT_EQ(Value(2LL), ValueFrom(device, "Mode", "Fast"));
    EXPECT_EQ(Value(0LL), ValueFrom(device, "Mode", "sLOW"));
    EXPECT_EQ("did you mean fast? allowed: Slow, fast, Fast",
              RefusalOf(device, "Mode", "FAST").hint);
}

TEST(KitValueTest, AnEntryThatIsNearlyRightIsSuggested) {
    FakeDevice device;
    device.AddEnumeration({"Continuous", "Triggered"});

    EXPECT_EQ("did you mean Triggered? allowed: Continuous, Triggered",
              RefusalOf(device, "Mode", "trigger").hint);
}

TEST(KitValueTest, ANumbersUnitMayFollow) {
    FakeDevice device;
    Parameter& number = device.AddInteger(0, 1000);
    ASSERT_THAT(number.SetDescription("Gain (dB)"), HasCode(Code::Success));
    for (const char* text : {"12dB", "12 dB", "0xc dB", "12"}) {
        EXPECT_TRUE(IsTaken(device, "Number", text)) << text;
        EXPECT_EQ(12, number.GetInt());
    }
    for (const char* text : {"dB", " dB", "12 db", "12 dBm", "12dB "}) {
        EXPECT_EQ("Not a whole number, decimal or with 0x hexadecimal",
                  RefusalOf(device, "Number", text).reason)
            << text;
    }
}

TEST(KitValueTest, HexadecimalDigitsAreNoUnit) {
    FakeDevice device;
    Parameter& number = device.AddInteger(0, 1000);
    ASSERT_THAT(number.SetDescription("Size (B)"), HasCode(Code::Success));

    EXPECT_TRUE(IsTaken(device, "Number", "0x1B"));

    EXPECT_EQ(0x1B, number.GetInt());
}

TEST(KitValueTest, EveryCharacterComesBackFromItsEscapedText) {
    FakeDevice device;
    const Parameter& parameter = device.AddText();
    constexpr unsigned int kStep = 50;
    for (unsigned int first = 1; first <= 0xFFFF; first += kStep) {
        std::wstring text;
        // A backslash in front of each, which must not begin an escape.
        for (unsigned int unit = first; unit < first + kStep && unit <= 0xFFFF; ++unit) {
            text += {L'\\', static_cast<wchar_t>(unit)};
        }
        const std::string escaped = Snapshot(device).Find("Text")->ToEscapedText(text);
        Change change(device.parameters);

        change.SetEscaped("Text", escaped);

        ASSERT_EQ(1u, change.GetEdits().size()) << escaped;
        ASSERT_EQ(text, parameter.GetString().GetUnicode()) << escaped;
    }
}

TEST(KitValueTest, WhatMovesTheCursorOrReordersTheLineIsEscaped) {
    FakeDevice device;
    device.AddText();
    const std::wstring first = L"\x1\x7F\x200E\x2028\x2066";
    const std::wstring last = L"\x1F\x9F\x200F\x202E\x2069";
    const std::wstring outside = L"\x20\x7E\xA0\x200D\x2010\x2027\x202F\x2065\x206A";
    const auto escape = [&](const std::wstring& aText) {
        return Snapshot(device).Find("Text")->ToEscapedText(aText);
    };

    EXPECT_EQ("\\u0001\\u007f\\u200e\\u2028\\u2066", escape(first));
    EXPECT_EQ("\\u001f\\u009f\\u200f\\u202e\\u2069", escape(last));
    EXPECT_EQ(QvKit::ToUtf8(outside), escape(outside));
}

TEST(KitValueTest, AZeroInATextIsRefused) {
    FakeDevice device;
    device.AddText();
    Change change(device.parameters);

    change.SetEscaped("Text", "a\\u0000b");

    EXPECT_STREQ("Text=a\\u0000b refused: A text cannot have a zero character; nothing was sent",
                 change.GetPlan().error->what());
}

TEST(KitValueTest, AnEntryIsTakenByItsEscapedText) {
    FakeDevice device;
    const Parameter& mode = device.AddEnumeration({"A", "B\n"});
    const std::string escaped = Snapshot(device).Find("Mode")->ToEscapedText(1LL);
    Change change(device.parameters);

    change.SetEscaped("Mode", escaped);

    EXPECT_EQ("B\\u000a", escaped);
    EXPECT_EQ(1, mode.GetInt());
}

TEST(KitValueTest, AnEntryThatIsAlikeInTheCodePageOnlyIsRefused) {
    FakeDevice device;
    device.AddEnumeration({"??"});

    const Refusal refusal = RefusalOf(device, "Mode", kJapanese);

    EXPECT_EQ("No entry has exactly this name", refusal.reason);
    EXPECT_EQ(static_cast<unsigned long>(Code::NotFound), refusal.code);
}

TEST(KitValueTest, AReadOnlyParameterIsRefusedAsSuchWhateverTheText) {
    FakeDevice device;
    ASSERT_THAT(device.Add("Number").SetReadOnly(true), HasCode(Code::Success));

    const Refusal refusal = RefusalOf(device, "Number", "nonsense");

    EXPECT_EQ("Parameter is read-only", refusal.reason);
    EXPECT_THAT(refusal.hint, IsEmpty());
    EXPECT_EQ(static_cast<unsigned long>(Code::NotAllowed), refusal.code);
}

TEST(KitValueTest, AMissingParameterIsRefused) {
    FakeDevice device;

    const Refusal refusal = RefusalOf(device, "Number", "1");

    EXPECT_EQ("The specified parameter doesn't exist", refusal.reason);
    EXPECT_EQ("1", refusal.value);
    EXPECT_EQ(static_cast<unsigned long>(Code::InvalidArgument), refusal.code);
}

TEST(KitValueTest, ATextIsAsLongAsARecordCarries) {
    FakeDevice device;
    device.AddText();

    EXPECT_TRUE(IsTaken(device, "Text", std::string(216, 't')));
    const Refusal refusal = RefusalOf(device, "Text", std::string(217, 't'));

    EXPECT_EQ("The text has more than 216 characters", refusal.reason);
    EXPECT_THAT(refusal.hint, IsEmpty());
    EXPECT_EQ(static_cast<unsigned long>(Code::InvalidArgument), refusal.code);
}

TEST(KitValueTest, AChangeThatTheCodePageCannotTellIsMarked) {
    FakeDevice device;
    Parameter& text = device.AddText();
    ASSERT_THAT(text.SetString(QvKit::ToLibraryText(kJapanese)), HasCode(Code::Success));
    ASSERT_TRUE(text.HasChanged(/*aReset=*/true));

    EXPECT_TRUE(IsTaken(device, "Text", kChinese));

    EXPECT_TRUE(text.HasChanged(/*aReset=*/false));
    EXPECT_EQ(kChinese, QvKit::FromLibraryText(text.GetString()));
}

TEST(KitValueTest, AResetSetsTheDefault) {
    FakeDevice device;
    ASSERT_THAT(device.Add("Number", 2).SetInt(9), HasCode(Code::Success));
    ASSERT_THAT(device.AddText().SetString("text"), HasCode(Code::Success));

    Change change(device.parameters);
    change.Reset("Number");
    change.Reset("Text");

    EXPECT_EQ(5, device.GetByID(2UL)->GetInt());
    EXPECT_STREQ("", device.GetByID(kId)->GetString().GetAscii());
    EXPECT_FALSE(change.GetEdits()[0].request.has_value());
}

TEST(KitValueTest, AResetOfAReadOnlyParameterIsRefusedInTheLibrarysWords) {
    FakeDevice device;
    ASSERT_THAT(device.Add("Number").SetReadOnly(true), HasCode(Code::Success));

    Change change(device.parameters);
    change.Reset("Number");

    EXPECT_STREQ("Number: Parameter is read-only; nothing was sent",
                 change.GetPlan().error->what());
}

}  // namespace
