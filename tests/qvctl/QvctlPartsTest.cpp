// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The parts of the command-line tool that need neither a process nor a device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "DeviceChoice.h"
#include "InterfaceId.h"
#include "QvKit/Guid.h"
#include "QvKit/Setting.h"
#include "QvKit/Text.h"
#include "ToolProcess.h"
#include "commandline/ArgumentValues.h"
#include "commandline/Arguments.h"
#include "commandline/BytesArgument.h"
#include "commandline/CommandLine.h"
#include "kit/KitTestSupport.h"
#include "output/Assignment.h"
#include "output/ErrorReport.h"
#include "output/HexDump.h"
#include "output/Printable.h"
#include "output/SettingJson.h"
#include "output/SettingTable.h"
#include "output/TextTable.h"
#include "verbs/ChangeReport.h"
#include "verbs/SettingEventReport.h"

namespace {

using QvKit::Error;
using QvKit::ErrorKind;
using QvTests::ErrorOf;
using QvTests::kJapanese;
using QvTests::kSize;
using QvTests::MessageOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;
using testing::StartsWith;

// Bytes

TEST(QvctlHexDumpTest, LinesHaveOffsetsBytesAndCharacters) {
    std::vector<unsigned char> bytes;
    for (unsigned char byte = 0x70; byte < 0x82; ++byte) bytes.push_back(byte);

    EXPECT_EQ(
        "00000000  70 71 72 73 74 75 76 77  78 79 7a 7b 7c 7d 7e 7f  |pqrstuvwxyz{|}~.|\n"
        "00000010  80 81                                             |..|\n",
        Qvctl::HexDump(bytes));
    EXPECT_EQ("707172", Qvctl::ToHex({0x70, 0x71, 0x72}));
    EXPECT_EQ("", Qvctl::HexDump({}));
}

TEST(QvctlBytesArgumentTest, PairsOfDigitsAreBytes) {
    EXPECT_THAT(Qvctl::ParseHex("00 fFA0  7f "), ElementsAre(0x00, 0xFF, 0xA0, 0x7F));
    EXPECT_THAT(Qvctl::ParseHex(""), IsEmpty());
    for (const char* text : {"0", "00 1", "0 0", "0g", "g0", "0x00", "00-00", "\xC3\xA4"}) {
        EXPECT_THAT(MessageOf([&] { (void)Qvctl::ParseHex(text); }),
                    EndsWith("' is not made of pairs of hexadecimal digits"))
            << text;
    }
}

TEST(QvctlBytesArgumentTest, StandardInputIsReadToItsEnd) {
    QvTests::Pipe pipe;
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(pipe.WriteEnd(), "a\r\n\x1A\0b", 6, &written, nullptr));
    pipe.CloseWriteEnd();
    const HANDLE before = ::GetStdHandle(STD_INPUT_HANDLE);
    ::SetStdHandle(STD_INPUT_HANDLE, pipe.ReadEnd());

    const Qvctl::Bytes bytes = Qvctl::ReadBytesArgument("-");

    ::SetStdHandle(STD_INPUT_HANDLE, before);
    EXPECT_EQ(std::string("a\r\n\x1A\0b", 6), std::string(bytes.begin(), bytes.end()));
}

// Texts

TEST(QvctlPrintableTest, EscapesWhatDisturbsATerminal) {
    EXPECT_EQ("a\\u000ab\\u001b[0m", Qvctl::Printable("a\nb\x1B[0m"));
    EXPECT_EQ("\\u202e", Qvctl::Printable(QvKit::ToUtf8(std::wstring(1, 0x202E))));
    EXPECT_EQ(kSize, Qvctl::Printable(kSize));
}

TEST(QvctlAssignmentTest, ANameWithAnySignsComesBack) {
    for (const char* name : {"Gain", "A=B", "-x", "[x]", "a\nb", "\\u003d", kSize}) {
        QvKit::Setting setting;
        setting.name = name;
        setting.value = 7LL;

        const std::string line = Qvctl::FormatAssignment(setting);

        EXPECT_THAT(line, testing::Not(testing::AnyOf(StartsWith("-"), StartsWith("["))));
        EXPECT_EQ(name, Qvctl::ParseAssignment(line).name);
        EXPECT_EQ("7", Qvctl::ParseAssignment(line).value);
    }
}

// Marks

TEST(QvctlMarksTest, EveryMarkHasAWord) {
    QvKit::Setting setting;
    EXPECT_THAT(Qvctl::GetMarks(setting), IsEmpty());

    setting.isVolatile = true;
    setting.isRestartRequired = true;
    setting.isPersistent = false;
    setting.isAdvanced = true;
    setting.isHidden = true;
    EXPECT_THAT(Qvctl::GetMarks(setting),
                ElementsAre("volatile", "restart", "not saved", "advanced", "hidden"));
}

TEST(QvctlMarksTest, AReadOnlySettingIsNotExpectedToBeSaved) {
    QvKit::Setting setting;
    setting.isReadOnly = true;
    setting.isPersistent = false;

    EXPECT_THAT(Qvctl::GetMarks(setting), ElementsAre("read-only"));
}

// Events of settings

TEST(QvctlSettingEventTest, ALineSaysWhatHasChangedUnlessItIsTheValue) {
    using Kind = QvKit::SettingEvent::Kind;
    QvKit::Setting before;
    before.name = "Gain";
    before.unit = "dB";
    before.maximum = 60;
    before.value = 6LL;
    before.entries = {"Slow"};
    QvKit::Setting after = before;
    after.value = 12LL;
    after.defaultValue = 3LL;
    after.isReadOnly = true;
    struct {
        Kind kind;
        const char* text;
        nlohmann::ordered_json before;
        nlohmann::ordered_json after;
    } const cases[] = {
        {Kind::Value, "Gain: 6 dB -> 12 dB", 6, 12},
        {Kind::Range,
         "Gain: range: 0 to 60, default 0 dB -> 0 to 60, default 3 dB",
         {{"default", 0}, {"unit", "dB"}, {"minimum", 0}, {"maximum", 60}},
         {{"default", 3}, {"unit", "dB"}, {"minimum", 0}, {"maximum", 60}}},
        {Kind::Marks, "Gain: marks: persistent -> readOnly, persistent",
         Qvctl::ToJson(before)["marks"], Qvctl::ToJson(after)["marks"]},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.text);
        const Qvctl::SettingEventReport report({oneCase.kind, {}, before, after, std::nullopt},
                                               Qvctl::Moment::Now());
        EXPECT_EQ(oneCase.text, report.ToText());
        EXPECT_EQ(oneCase.before, report.ToJson()["before"]);
        EXPECT_EQ(oneCase.after, report.ToJson()["after"]);
    }
}

TEST(QvctlSettingEventTest, OtherEntriesAreListed) {
    QvKit::Setting before;
    before.name = "Mode";
    before.type = QvKit::SettingType::Enumeration;
    before.value = 0LL;
    before.defaultValue = 0LL;
    before.entries = {"Slow"};
    QvKit::Setting after = before;
    after.entries = {"Slow", "Fast"};

    const Qvctl::SettingEventReport report(
        {QvKit::SettingEvent::Kind::Entries, {}, before, after, std::nullopt},
        Qvctl::Moment::Now());

    EXPECT_EQ("Mode: entries: Slow -> Slow, Fast", report.ToText());
    EXPECT_EQ("entries", report.ToJson()["what"]);
    EXPECT_EQ(nlohmann::ordered_json({"Slow", "Fast"}), report.ToJson()["after"]);
}

TEST(QvctlSettingEventTest, AParameterThatComesOrGoesHasItsValueOnOneSide) {
    QvKit::Setting setting;
    setting.name = "Gain";
    setting.value = 6LL;
    const Qvctl::SettingEventReport come(
        {QvKit::SettingEvent::Kind::Arrival, {}, std::nullopt, setting, std::nullopt},
        Qvctl::Moment::Now());
    const Qvctl::SettingEventReport gone(
        {QvKit::SettingEvent::Kind::Gone, {}, setting, std::nullopt, std::nullopt},
        Qvctl::Moment::Now());

    EXPECT_EQ("Gain: arrival: 6", come.ToText());
    EXPECT_EQ(nullptr, come.ToJson()["before"]);
    EXPECT_EQ(6, come.ToJson()["after"]);
    EXPECT_EQ("Gain: gone: 6", gone.ToText());
    EXPECT_EQ(nullptr, gone.ToJson()["after"]);
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

TEST(QvctlTableTest, AWordThatDoesNotFitStaysWhole) {
    Qvctl::TextTable table({"A"});
    table.AddRow({"abcdefghijklmnop qr"});

    EXPECT_EQ("A\nabcdefghijklmnop\nqr\n", table.Format(10));
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

TEST(QvctlTableTest, LinesFitWhereTheWordsDo) {
    Qvctl::TextTable table({"A", "B", "C"});
    table.AddRow({"aaaaaaaaaa aa", "bbbbbbbbbb bb", "many words in a third cell of it"},
                 "a note that has to go on in a further line");

    EXPECT_THAT(LinesOf(table.Format(40)), Each(SizeIs(Le(40u))));
}

// Arguments

TEST(QvctlTextTest, LinesAreBrokenBetweenWordsAndNothingIsLost) {
    EXPECT_THAT(Qvctl::Wrap("install the driver first", 12),
                ElementsAre("install the", "driver first"));
    EXPECT_THAT(Qvctl::Wrap("", 12), ElementsAre(""));
}

TEST(QvctlArgumentsTest, AParameterMayBeCalledAsAVerb) {
    const Qvctl::Verbs verbs = Qvctl::MakeAllVerbs();

    const Qvctl::Command command = Qvctl::ParseCommandLine({"get", "list", "set"}, verbs);

    EXPECT_EQ("get", command.verb->name);
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
    EXPECT_EQ(Qvctl::DeviceChoice::Index, options.device.kind);
    EXPECT_EQ("1", options.device.text);
    EXPECT_TRUE(::IsEqualGUID(Qvctl::SampleInterface(), options.interfaceClass));
}

using AddFunction = std::function<void(Qvctl::Arguments&)>;

class TestVerb final : public Qvctl::Verb {
public:
    explicit TestVerb(AddFunction aAdd) : add_(std::move(aAdd)) {}

    void AddArguments(Qvctl::Arguments& aArguments) override { add_(aArguments); }
    Qvctl::Outcome Run(const Qvctl::Context&) override { return {}; }

private:
    AddFunction add_;
};

// Reads a command line behind a verb that takes what `aAdd` adds.
void Parse(std::vector<std::string> aWords, AddFunction aAdd) {
    Qvctl::Verbs verbs;
    verbs.push_back({"test", "", "", 0, std::make_unique<TestVerb>(std::move(aAdd))});
    aWords.insert(aWords.begin(), "test");
    (void)Qvctl::ParseCommandLine(aWords, verbs);
}

TEST(QvctlArgumentsTest, ANumberIsDecimalWithZerosInFrontToo) {
    unsigned int size = 0;

    Parse({"--size", "010"}, [&](Qvctl::Arguments& aArguments) {
        aArguments.Add("--size BYTES", size, Qvctl::WholeNumber<unsigned int>(1, 100), "");
    });

    EXPECT_EQ(10u, size);
}

TEST(QvctlArgumentsTest, AValueThatIsLeftOutIsEmpty) {
    const auto parse = [](const std::vector<std::string>& aWords) {
        std::optional<std::string> text;
        Parse(aWords, [&](Qvctl::Arguments& aArguments) {
            aArguments.AddWithOptionalValue("--class [CLASS]", text, "");
        });
        return text;
    };

    EXPECT_EQ("", parse({"--class"}));
    EXPECT_EQ("x", parse({"--class", "x"}));
    EXPECT_EQ(std::nullopt, parse({}));
}

TEST(QvctlArgumentsTest, AValueThatCannotBeReadIsNoWrongUsage) {
    std::string text;
    const auto fail = [](const std::string&) -> std::string {
        throw Error(ErrorKind::SystemFailed, "cannot read it");
    };

    const std::optional<Error> error = ErrorOf([&] {
        Parse({"--in", "x"},
              [&](Qvctl::Arguments& aArguments) { aArguments.Add("--in FILE", text, fail, ""); });
    });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_EQ("cannot read it", std::string(error->what()));
}

TEST(QvctlArgumentsTest, WhatNamesADeviceIsKnownByItsForm) {
    EXPECT_EQ(Qvctl::DeviceChoice::Path, Qvctl::ParseDeviceChoice("\\\\.\\Dev0").kind);
    EXPECT_EQ(Qvctl::DeviceChoice::InstanceId,
              Qvctl::ParseDeviceChoice("ROOT\\QVSAMPLE\\0000").kind);
    EXPECT_EQ(Qvctl::DeviceChoice::Parameter, Qvctl::ParseDeviceChoice("Label=a\\b\\c").kind);
    for (const char* text : {"", "-1", "+1", "0x1", "C:\\file", "\\\\server\\share"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(MessageOf([&] { Qvctl::ParseDeviceChoice(text); }),
                    HasSubstr("is neither a number, a path"));
    }
}

TEST(QvctlArgumentsTest, AnInterfaceThatIsNoGuidIsRefused) {
    const std::string guid = QvKit::GuidToText(Qvctl::SampleInterface());
    for (const std::string& text : {std::string(), std::string("{}"), guid + "x",
                                    guid.substr(0, 37), "x" + guid, guid.substr(0, 36) + "g}"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(MessageOf([&] { Qvctl::ParseInterface(text); }), HasSubstr("is no GUID"));
    }
}

// Verdicts

QvKit::Edit EditWith(QvKit::Verdict aVerdict, std::optional<long long> aHeld) {
    QvKit::Edit edit;
    edit.setting.name = "Gain";
    edit.setting.unit = "dB";
    edit.setting.value = 6LL;
    edit.after = 7LL;
    edit.verdict = aVerdict;
    if (aHeld) edit.held = *aHeld;
    return edit;
}

TEST(QvctlVerdictTest, EveryVerdictHasItsWordsAndItsName) {
    using QvKit::Verdict;
    struct {
        Verdict verdict;
        std::optional<long long> held;
        const char* name;
        bool hasChanged;
        const char* words;
    } const cases[] = {
        {Verdict::NotSent, std::nullopt, "not-sent", true, ""},
        {Verdict::Taken, 7, "taken", true, ""},
        {Verdict::Rounded, 8, "rounded", true, " (rounded to 8 dB)"},
        {Verdict::NotKept, 6, "not-kept", false, " (not kept: the device holds 6 dB)"},
        {Verdict::Gone, std::nullopt, "gone", false, " (the device does not have it any more)"},
        {Verdict::Unknown, std::nullopt, "unknown", false,
         " (it is not known whether the device took it)"},
        {Verdict::Restored, 6, "restored", false, " (the former value was restored)"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.name);
        const QvKit::Edit edit = EditWith(oneCase.verdict, oneCase.held);
        nlohmann::ordered_json json;
        Qvctl::AddToJson(json, QvKit::ChangeOutcome{{edit}, {}, {}});

        EXPECT_EQ(std::string("Gain: 6 dB -> 7 dB") + oneCase.words, Qvctl::DescribeEdit(edit));
        EXPECT_EQ(oneCase.name, json["parameters"][0]["verdict"]);
        EXPECT_EQ(oneCase.hasChanged, json["parameters"][0]["changed"]);
        EXPECT_EQ(!oneCase.held.has_value(), json["parameters"][0]["held"].is_null());
    }
}

TEST(QvctlVerdictTest, WhatAnotherProgramDidIsTold) {
    QvKit::Edit edit = EditWith(QvKit::Verdict::Rounded, 8);
    edit.readBefore = 5LL;

    EXPECT_EQ(
        "Gain: 6 dB -> 7 dB (rounded to 8 dB; another program changed it from 5 dB meanwhile)",
        Qvctl::DescribeEdit(edit));
}

TEST(QvctlVerdictTest, ARefusedEditHasNoValues) {
    QvKit::Edit edit = EditWith(QvKit::Verdict::Refused, std::nullopt);
    edit.refusal = QvKit::Refusal{"Gain", "61", "no", "", 18};
    nlohmann::ordered_json json;

    Qvctl::AddToJson(json, QvKit::ChangeOutcome{{edit}, {}, {}});

    EXPECT_EQ("refused", json["parameters"][0]["verdict"]);
    EXPECT_TRUE(json["parameters"][0]["before"].is_null());
    EXPECT_TRUE(json["parameters"][0]["after"].is_null());
    EXPECT_EQ(false, json["parameters"][0]["changed"]);
}

TEST(QvctlVerdictTest, JsonTellsWhetherTheFormerValuesWereRestored) {
    using Restoring = QvKit::ChangeOutcome::Restoring;
    struct {
        Restoring restoring;
        nlohmann::ordered_json json;
    } const cases[] = {
        {Restoring::NotNeeded, nullptr}, {Restoring::Done, true}, {Restoring::Failed, false}};
    for (const auto& oneCase : cases) {
        nlohmann::ordered_json json;
        Qvctl::AddToJson(json, QvKit::ChangeOutcome{{}, oneCase.restoring, {}});
        EXPECT_EQ(oneCase.json, json["restored"]);
    }
}

// Errors

TEST(QvctlErrorTest, WithoutSampleDevicesTheMessageTellsHowToInstallTheDriver) {
    EXPECT_THAT(Qvctl::NoDevicePresent(Qvctl::SampleInterface()).what(),
                EndsWith("is present; install the sample driver with \"qvctl driver install "
                         "QvSampleDriver.inf\""));
    EXPECT_THAT(Qvctl::NoDevicePresent(GUID()).what(), EndsWith("is present"));
}

TEST(QvctlErrorTest, RefusalsAreALineEach) {
    const Error error({{"A", "1", "no", "", 18}, {"B", std::nullopt, "nor this", "x", 25}},
                      "nothing was sent");

    EXPECT_THAT(Qvctl::LinesOf(error),
                ElementsAre("A=1 refused: no", "B: nor this (x); nothing was sent"));
    EXPECT_THAT(Qvctl::LinesOf(Error(ErrorKind::Cancelled, "interrupted")),
                ElementsAre("interrupted"));
}

TEST(QvctlErrorTest, EveryKindHasItsExitCodeAndItsName) {
    struct {
        ErrorKind kind;
        int exitCode;
        const char* name;
    } const cases[] = {
        {ErrorKind::WrongUse, 2, "usage"},      {ErrorKind::NoSuchDevice, 3, "no-device"},
        {ErrorKind::AccessDenied, 1, "failed"}, {ErrorKind::DeviceInUse, 1, "failed"},
        {ErrorKind::DeviceGone, 1, "failed"},   {ErrorKind::DeviceFailed, 1, "failed"},
        {ErrorKind::SystemFailed, 1, "failed"}, {ErrorKind::ChangedMeanwhile, 1, "changed"},
        {ErrorKind::Refused, 1, "refused"},     {ErrorKind::Cancelled, 130, "interrupted"},
        {ErrorKind::TimedOut, 4, "timed-out"},  {ErrorKind::Closed, 1, "failed"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.name);
        const nlohmann::ordered_json json = Qvctl::ToJson(Error(oneCase.kind, "m"));

        EXPECT_EQ(oneCase.exitCode, static_cast<int>(Qvctl::ExitCodeOf(oneCase.kind)));
        EXPECT_EQ(oneCase.exitCode, json["exitCode"]);
        EXPECT_EQ(oneCase.name, json["kind"]);
    }
}

TEST(QvctlErrorTest, JsonHasTheSameMembersForEveryKind) {
    const Error errors[] = {Error(ErrorKind::SystemFailed, "m"),
                            Error(ErrorKind::NoSuchDevice, "m", 18),
                            Error({{"A", "1", "no", "", 18}})};
    for (const Error& error : errors) {
        const nlohmann::ordered_json json = Qvctl::ToJson(error);
        for (const char* member : {"kind", "exitCode", "message", "code", "refusals"}) {
            EXPECT_TRUE(json.contains(member)) << member;
        }
    }
    EXPECT_EQ(18, Qvctl::ToJson(errors[1])["code"]);
    EXPECT_EQ("no", Qvctl::ToJson(errors[2])["refusals"][0]["reason"]);
}

}  // namespace
