// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The parts of the command-line tool that need neither a process nor a device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "DeviceList.h"
#include "Failure.h"
#include "InterfaceId.h"
#include "ParameterChange.h"
#include "ParameterSelection.h"
#include "ParameterText.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "Spelling.h"
#include "TestSupport.h"
#include "TextTable.h"
#include "Utf8.h"

namespace {

using QvTests::HasCode;
using QvTests::LastErrorText;
using QvUserLib::Code;
using QvUserLib::DeviceParameterRepository;
using QvUserLib::Parameter;
using QvUserLib::Result;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

constexpr char kJapanese[] = "\xE6\x97\xA5\xE6\x9C\xAC";
constexpr char kChinese[] = "\xE4\xB8\xAD\xE5\x9B\xBD";
constexpr char kSize[] =
    "Gr\xC3\xB6\xC3\x9F"
    "e";

Parameter* NewInteger(const char* aName, unsigned long aId, long long aValue = 5,
                      long long aMin = 0, long long aMax = 10) {
    auto* parameter = new Parameter(Qvctl::LibraryText(aName), aId);
    parameter->InitInteger(aValue, aMin, aMax);
    return parameter;
}

Parameter NewMode() {
    Parameter mode("Mode", 1);
    mode.InitEnum();
    for (const char* entry : {"Slow", "Fast", "0"}) (void)mode.AddEnumValue(entry);
    return mode;
}

// The message of the failure that a call throws; empty when it throws none.
std::string FailureOf(const std::function<void()>& aCall) {
    try {
        aCall();
    } catch (const Qvctl::Failure& failure) {
        return failure.what();
    }
    return std::string();
}

// A repository whose device does what the test says.
class FakeDevice : public DeviceParameterRepository {
public:
    Result Apply() override {
        ++requests;
        return applyResult;
    }
    Result Refresh() override {
        onRefresh();
        return Result(Code::Success);
    }

    int requests = 0;
    Result applyResult = Result(Code::Success);
    std::function<void()> onRefresh = [] {};
};

// Texts

TEST(QvctlUtf8Test, ACharacterBeyondTheBasicPlaneComesBack) {
    const std::string clef = "\xF0\x9D\x84\x9E";

    EXPECT_EQ(L"\xD834\xDD1E", Qvctl::FromUtf8(clef));
    EXPECT_EQ(clef, Qvctl::ToUtf8(Qvctl::FromUtf8(clef)));
}

TEST(QvctlUtf8Test, ALoneSurrogateIsNotWellFormed) {
    EXPECT_FALSE(Qvctl::IsWellFormed(L"a\xD834"));
    EXPECT_TRUE(Qvctl::IsWellFormed(L"a\xD834\xDD1E"));
    EXPECT_EQ("a\xEF\xBF\xBD", Qvctl::ToUtf8(L"a\xD834"));
}

TEST(QvctlUtf8Test, ALibraryTextKeepsWhatTheCodePageLacks) {
    EXPECT_EQ(kJapanese, Qvctl::Utf8Of(Qvctl::LibraryText(kJapanese)));
}

TEST(QvctlUtf8Test, AnsiIsRefusedWhenACharacterWouldBecomeAnother) {
    EXPECT_EQ("plain", Qvctl::ToAnsi("plain"));
    EXPECT_FALSE(Qvctl::ToAnsi(kJapanese).has_value());
    // U+0100, which the system would make an A.
    EXPECT_FALSE(Qvctl::ToAnsi("\xC4\x80").has_value());
}

TEST(QvctlUtf8Test, PrintableEscapesWhatDisturbsATerminal) {
    EXPECT_EQ("a\\u000ab\\u001b[0m", Qvctl::Printable("a\nb\x1B[0m"));
    EXPECT_EQ("\\u202e", Qvctl::Printable(Qvctl::ToUtf8(std::wstring(1, 0x202E))));
    EXPECT_EQ(kSize, Qvctl::Printable(kSize));
}

// Values from text

TEST(QvctlSetFromTextTest, AnIntegerIsDecimalOrHexadecimalWithASign) {
    Parameter number("Number", 1);
    number.InitInteger(0, std::numeric_limits<long long>::min(),
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
        EXPECT_THAT(Qvctl::SetFromText(&number, oneCase.text), HasCode(Code::Success));
        EXPECT_EQ(oneCase.value, number.GetInt());
    }
}

TEST(QvctlSetFromTextTest, WhatIsNoNumberIsRefused) {
    Parameter number("Number", 1);
    number.InitInteger(5, -100, 100);
    for (const char* text :
         {"", " 1", "1 ", "1.5", "1e2", "five", "0x", "0xg", "--1", "-", "+-1"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(Qvctl::SetFromText(&number, text), HasCode(Code::NotSupported));
        EXPECT_EQ("Not a whole number, decimal or with 0x hexadecimal", LastErrorText());
        EXPECT_EQ(5, number.GetInt());
    }
}

TEST(QvctlSetFromTextTest, ANumberBeyond64BitsIsRefusedInsteadOfWrapping) {
    Parameter number("Number", 1);
    number.InitInteger(5, -100, 100);
    for (const char* text : {"9223372036854775808", "-9223372036854775809", "0xffffffffffffffff",
                             "18446744073709551617", "99999999999999999999999"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(Qvctl::SetFromText(&number, text), HasCode(Code::NotSupported));
        EXPECT_EQ("The number does not fit in 64 bits", LastErrorText());
    }
}

TEST(QvctlSetFromTextTest, AnEntrysNameComesBeforeItsIndex) {
    Parameter mode = NewMode();

    EXPECT_THAT(Qvctl::SetFromText(&mode, "0"), HasCode(Code::Success));
    EXPECT_EQ(2, mode.GetInt());
    EXPECT_THAT(Qvctl::SetFromText(&mode, "1"), HasCode(Code::Success));
    EXPECT_EQ(1, mode.GetInt());
}

TEST(QvctlSetFromTextTest, AnEntryThatIsAlikeInTheCodePageOnlyIsRefused) {
    Parameter mode("Mode", 1);
    mode.InitEnum();
    ASSERT_THAT(mode.AddEnumValue("??"), HasCode(Code::Success));

    EXPECT_THAT(Qvctl::SetFromText(&mode, kJapanese), HasCode(Code::NotFound));
    EXPECT_EQ("No entry has exactly this name", LastErrorText());
}

TEST(QvctlSetFromTextTest, AReadOnlyParameterIsRefusedAsSuchWhateverTheText) {
    Parameter number("Number", 1);
    number.InitInteger(5, 0, 10);
    ASSERT_THAT(number.SetReadOnly(true), HasCode(Code::Success));

    EXPECT_THAT(Qvctl::SetFromText(&number, "nonsense"), HasCode(Code::NotAllowed));
    EXPECT_EQ("Parameter is read-only", LastErrorText());
}

TEST(QvctlSetFromTextTest, AMissingParameterIsRefusedInTheLibrarysWords) {
    EXPECT_THAT(Qvctl::SetFromText(nullptr, "1"), HasCode(Code::InvalidArgument));
    EXPECT_EQ("The specified parameter doesn't exist", LastErrorText());
}

TEST(QvctlSetFromTextTest, ATextIsAsLongAsARecordCarries) {
    Parameter text("Text", 1);
    text.InitString("");

    EXPECT_THAT(Qvctl::SetFromText(&text, std::string(216, 't')), HasCode(Code::Success));
    EXPECT_THAT(Qvctl::SetFromText(&text, std::string(217, 't')), HasCode(Code::InvalidArgument));
    EXPECT_EQ("The text has more than 216 characters", LastErrorText());
}

TEST(QvctlSetFromTextTest, AChangeThatTheCodePageCannotTellIsMarked) {
    Parameter text("Text", 1);
    text.InitString("");
    ASSERT_THAT(text.SetString(Qvctl::LibraryText(kJapanese)), HasCode(Code::Success));
    ASSERT_TRUE(text.HasChanged(/*aReset=*/true));

    EXPECT_THAT(Qvctl::SetFromText(&text, kChinese), HasCode(Code::Success));

    EXPECT_TRUE(text.HasChanged(/*aReset=*/false));
    EXPECT_EQ(kChinese, Qvctl::Utf8Of(text.GetString()));
}

// Values to text

TEST(QvctlDescriptionTest, AnIntegersUnitIsWhatStandsInParenthesesAtTheEnd) {
    struct {
        const char* description;
        const char* text;
        const char* unit;
    } const cases[] = {{"Gain (dB)", "Gain", "dB"},
                       {"Level(max)", "Level", "max"},
                       {"a (b) (c)", "a (b)", "c"},
                       {"(dB)", "", "dB"},
                       {"Gain", "Gain", ""},
                       {"Gain)", "Gain)", ""},
                       {"Gain (dB) x", "Gain (dB) x", ""}};
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.description);
        Parameter number("Number", 1);
        number.InitInteger(0, 0, 0);
        ASSERT_THAT(number.SetDescription(oneCase.description), HasCode(Code::Success));

        const Qvctl::Description description = Qvctl::GetDescription(number);

        EXPECT_EQ(oneCase.text, description.text);
        EXPECT_EQ(oneCase.unit, description.unit);
    }
}

TEST(QvctlDescriptionTest, OnlyAnIntegerHasAUnit) {
    Parameter text("Text", 1);
    text.InitString("");
    ASSERT_THAT(text.SetDescription("Label (short)"), HasCode(Code::Success));

    EXPECT_EQ("Label (short)", Qvctl::GetDescription(text).text);
}

TEST(QvctlMarksTest, EveryMarkHasAWord) {
    Parameter number("Number", 1);
    number.InitInteger(0, 0, 0);
    EXPECT_THAT(Qvctl::GetMarks(number), IsEmpty());

    for (const auto setter : {&Parameter::SetVolatile, &Parameter::SetRestartRequired,
                              &Parameter::SetAdvanced, &Parameter::SetHidden}) {
        ASSERT_THAT((number.*setter)(true), HasCode(Code::Success));
    }
    ASSERT_THAT(number.SetPersistent(false), HasCode(Code::Success));

    EXPECT_THAT(Qvctl::GetMarks(number),
                ElementsAre("volatile", "restart", "not saved", "advanced", "hidden"));
}

// Names

TEST(QvctlSelectionTest, ANameOutsideAsciiIsFound) {
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Add(NewInteger(kSize, 1)), HasCode(Code::Success));

    ASSERT_NE(nullptr, Qvctl::FindParameter(parameters, kSize));
    EXPECT_EQ(1u, Qvctl::FindParameter(parameters, kSize)->GetID());
}

TEST(QvctlSelectionTest, ANameThatIsAlikeInTheCodePageOnlyIsNotFound) {
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Add(NewInteger("??", 1)), HasCode(Code::Success));

    EXPECT_EQ(nullptr, Qvctl::FindParameter(parameters, kJapanese));
}

// Changes

TEST(QvctlChangeTest, AllEditsGoInOneRequest) {
    FakeDevice device;
    ASSERT_THAT(device.Add(NewInteger("A", 1)), HasCode(Code::Success));
    ASSERT_THAT(device.Add(NewInteger("B", 2)), HasCode(Code::Success));

    Qvctl::ParameterChange change(device);
    change.Set("A", "6");
    change.Set("B", "7");
    change.Send();

    EXPECT_EQ(1, device.requests);
    EXPECT_EQ(Qvctl::Value(5LL), change.GetEdits()[1].before);
    EXPECT_EQ(Qvctl::Value(7LL), change.GetEdits()[1].after);
}

TEST(QvctlChangeTest, NothingIsSentWhenOneEditIsRefused) {
    FakeDevice device;
    ASSERT_THAT(device.Add(NewInteger("A", 1)), HasCode(Code::Success));

    Qvctl::ParameterChange change(device);
    change.Set("A", "6");
    change.Set("B", "7");

    EXPECT_EQ("B=7 refused: The specified parameter doesn't exist; nothing was sent",
              FailureOf([&] { change.Send(); }));
    EXPECT_EQ(0, device.requests);
}

TEST(QvctlChangeTest, AValueThatTheDeviceDidNotKeepIsAFailure) {
    FakeDevice device;
    ASSERT_THAT(device.Add(NewInteger("A", 1)), HasCode(Code::Success));
    device.onRefresh = [&] { (void)device.GetByID(1UL)->SetInt(8); };

    Qvctl::ParameterChange change(device);
    change.Set("A", "7");

    EXPECT_EQ("A=7 refused: The device did not keep the value (it holds 8); the change was sent",
              FailureOf([&] { change.Send(); }));
}

TEST(QvctlChangeTest, AVolatileValueMayDifferFromWhatWasSent) {
    FakeDevice device;
    ASSERT_THAT(device.Add(NewInteger("A", 1)), HasCode(Code::Success));
    ASSERT_THAT(device.GetByID(1UL)->SetVolatile(true), HasCode(Code::Success));
    device.onRefresh = [&] { (void)device.GetByID(1UL)->SetInt(8); };

    Qvctl::ParameterChange change(device);
    change.Set("A", "7");

    EXPECT_NO_THROW(change.Send());
}

TEST(QvctlChangeTest, AParameterThatTheDeviceLostIsAFailure) {
    FakeDevice device;
    ASSERT_THAT(device.Add(NewInteger("A", 1)), HasCode(Code::Success));
    device.onRefresh = [&] { (void)device.RemoveByID(1); };

    Qvctl::ParameterChange change(device);
    change.Reset("A");

    EXPECT_EQ("A: The device does not have it any more; the change was sent",
              FailureOf([&] { change.Send(); }));
}

TEST(QvctlChangeTest, ARefusalByTheDeviceIsAFailureWithItsCode) {
    FakeDevice device;
    device.applyResult = Result(Code::Pending);

    Qvctl::ParameterChange change(device);

    EXPECT_EQ("the device refused the change: code 0xffff", FailureOf([&] { change.Send(); }));
}

// The table

std::vector<std::string> LinesOf(const std::string& aText) {
    std::vector<std::string> lines;
    std::istringstream text(aText);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

TEST(QvctlTableTest, ColumnsAreAsWideAsTheirWidestCell) {
    Qvctl::TextTable table({"A", "B"});
    table.AddRow({"long cell", "x"});

    EXPECT_EQ("A          B\nlong cell  x\n", table.Format(80));
}

TEST(QvctlTableTest, CellsAreBrokenBetweenWordsAndNothingIsLost) {
    Qvctl::TextTable table({"NAME", "WORDS"});
    table.AddRow({"unbroken", "some words that take more than one line"});

    EXPECT_EQ(
        "NAME      WORDS\n"
        "unbroken  some words\n"
        "          that take\n"
        "          more than\n"
        "          one line\n",
        table.Format(20));
}

TEST(QvctlTableTest, AWordThatDoesNotFitIsBrokenInside) {
    Qvctl::TextTable table({"A"});
    table.AddRow({"abcdefghijklmnop"});

    EXPECT_EQ("A\nabcdefghij\nklmnop\n", table.Format(10));
}

TEST(QvctlTableTest, WideCharactersTakeTwoColumns) {
    Qvctl::TextTable table({"A", "B"});
    table.AddRow({kJapanese, "x"});
    table.AddRow({"1234", "y"});

    EXPECT_EQ(std::string("A     B\n") + kJapanese + "  x\n1234  y\n", table.Format(80));
}

TEST(QvctlTableTest, ANoteStandsBelowItsRow) {
    Qvctl::TextTable table({"A"});
    table.AddRow({"x"}, "a note of its own");

    EXPECT_THAT(LinesOf(table.Format(14)), ElementsAre("A", "x", "    a note of", "    its own"));
}

TEST(QvctlTableTest, LinesFitWhateverTheCells) {
    Qvctl::TextTable table({"A", "B", "C"});
    table.AddRow({std::string(40, 'a'), std::string(40, 'b'), "many words in a third cell of it"},
                 std::string(100, 'n'));

    EXPECT_THAT(LinesOf(table.Format(40)), Each(SizeIs(Le(40u))));
}

// Arguments

TEST(QvctlSpellingTest, AWordWithAMistakeIsFound) {
    const std::vector<std::string> known = {"show", "set", "stream", "SamplingInterval"};

    EXPECT_EQ("show", Qvctl::NearestWord("hsow", known));
    EXPECT_EQ("show", Qvctl::NearestWord("SHOW", known));
    EXPECT_EQ("stream", Qvctl::NearestWord("strean", known));
    EXPECT_EQ("stream", Qvctl::NearestWord("strea", known));
    EXPECT_EQ("set", Qvctl::NearestWord("sett", known));
    EXPECT_EQ("SamplingInterval", Qvctl::NearestWord("samplinginteval", known));
}

TEST(QvctlSpellingTest, AWordThatIsNotNearIsNotFound) {
    const std::vector<std::string> known = {"show", "set", "stream"};

    EXPECT_EQ("", Qvctl::NearestWord("", known));
    EXPECT_EQ("", Qvctl::NearestWord("frobnicate", known));
    EXPECT_EQ("", Qvctl::NearestWord("go", known));
    EXPECT_EQ("", Qvctl::NearestWord("ship", known));
}

TEST(QvctlTextTest, LinesAreBrokenBetweenWordsAndNothingIsLost) {
    EXPECT_THAT(Qvctl::Wrap("install the driver first", 12),
                ElementsAre("install the", "driver first"));
    EXPECT_THAT(Qvctl::Wrap("", 12), ElementsAre(""));
}

TEST(QvctlArgumentsTest, AParameterMayBeCalledAsAVerb) {
    const Qvctl::Verbs verbs = Qvctl::MakeAllVerbs();

    const Qvctl::Command command = Qvctl::ParseCommandLine({"get", "list", "set"}, verbs);

    EXPECT_EQ("get", command.verb->GetName());
}

TEST(QvctlArgumentsTest, ASlashBeginsNoOption) {
    const Qvctl::Verbs verbs = Qvctl::MakeAllVerbs();

    EXPECT_NO_THROW(Qvctl::ParseCommandLine({"set", "/json=1"}, verbs));
}

TEST(QvctlArgumentsTest, OptionsAreTakenBeforeAndBehindTheNames) {
    const Qvctl::Verbs verbs = Qvctl::MakeAllVerbs();

    const Qvctl::Options options =
        Qvctl::ParseCommandLine({"get", "--json", "Gain", "--device", "1"}, verbs).options;

    EXPECT_TRUE(options.json);
    EXPECT_FALSE(options.verbose);
    EXPECT_TRUE(options.device.isIndex);
    EXPECT_EQ("1", options.device.text);
    EXPECT_TRUE(::IsEqualGUID(Qvctl::SampleInterface(), options.interfaceClass));
}

TEST(QvctlArgumentsTest, OnlyDevicePathsAndNumbersNameADevice) {
    EXPECT_FALSE(Qvctl::ParseDeviceChoice("\\\\.\\Dev0").isIndex);
    for (const char* text : {"", "-1", "+1", "0x1", "C:\\file", "\\\\server\\share"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(FailureOf([&] { Qvctl::ParseDeviceChoice(text); }),
                    HasSubstr("is neither a number nor a path"));
    }
}

TEST(QvctlArgumentsTest, AnInterfaceThatIsNoGuidIsRefused) {
    const std::string guid = Qvctl::InterfaceText(Qvctl::SampleInterface());
    for (const std::string& text : {std::string(), std::string("{}"), guid + "x",
                                    guid.substr(0, 37), "x" + guid, guid.substr(0, 36) + "g}"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(FailureOf([&] { Qvctl::ParseInterface(text); }), HasSubstr("is no GUID"));
    }
}

// Failures

TEST(QvctlFailureTest, WithoutSampleDevicesTheMessageTellsHowToInstallTheDriver) {
    EXPECT_THAT(Qvctl::NoDevicePresent(Qvctl::SampleInterface()).what(),
                EndsWith("is present; install the sample driver with \"QvSampleSetup install "
                         "--devices 2\""));
    EXPECT_THAT(Qvctl::NoDevicePresent(GUID()).what(), EndsWith("is present"));
}

TEST(QvctlFailureTest, RefusalsAreALineEachAndTogetherTheMessage) {
    const Qvctl::Failure failure(
        {{"A", "1", "no", "", 18}, {"B", std::nullopt, "nor this", "x", 25}}, "nothing was sent");

    EXPECT_THAT(failure.GetLines(),
                ElementsAre("A=1 refused: no", "B: nor this (x); nothing was sent"));
    EXPECT_STREQ("A=1 refused: no; B: nor this (x); nothing was sent", failure.what());
    EXPECT_EQ(Qvctl::ExitCode::Failed, failure.GetExitCode());
}

TEST(QvctlFailureTest, JsonHasTheSameMembersForEveryKind) {
    const Qvctl::Failure failures[] = {
        {Qvctl::ExitCode::Failed, "m"},
        {Qvctl::ExitCode::WrongUsage, "m"},
        {Qvctl::ExitCode::NoSuchDevice, "m", 18},
        {{{"A", "1", "no", "", 18}}, ""},
    };
    std::vector<std::string> kinds;
    for (const Qvctl::Failure& failure : failures) {
        const nlohmann::ordered_json json = failure.ToJson();
        kinds.push_back(json["kind"]);
        for (const char* member : {"kind", "exitCode", "message", "code", "refusals"}) {
            EXPECT_TRUE(json.contains(member)) << member;
        }
    }
    EXPECT_THAT(kinds, ElementsAre("failed", "usage", "no-device", "refused"));
}

}  // namespace
