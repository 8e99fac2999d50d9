// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The parts of the command-line tool that need neither a process nor a device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "DeviceChoice.h"
#include "InterfaceId.h"
#include "QvKit/Guid.h"
#include "QvKit/Setting.h"
#include "QvKit/Text.h"
#include "ToolProcess.h"
#include "commandline/BytesOption.h"
#include "commandline/CommandLine.h"
#include "kit/KitTestSupport.h"
#include "output/Assignment.h"
#include "output/ErrorReport.h"
#include "output/HexDump.h"
#include "output/Printable.h"
#include "output/SettingTable.h"
#include "output/TextTable.h"

namespace {

using QvKit::Error;
using QvKit::ErrorKind;
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

TEST(QvctlBytesOptionTest, PairsOfDigitsAreBytes) {
    EXPECT_THAT(Qvctl::ParseHex("00 fFA0  7f "), ElementsAre(0x00, 0xFF, 0xA0, 0x7F));
    EXPECT_THAT(Qvctl::ParseHex(""), IsEmpty());
    for (const char* text : {"0", "00 1", "0 0", "0g", "g0", "0x00", "00-00", "\xC3\xA4"}) {
        EXPECT_THAT(MessageOf([&] { (void)Qvctl::ParseHex(text); }),
                    EndsWith("' is not made of pairs of hexadecimal digits"))
            << text;
    }
}

TEST(QvctlBytesOptionTest, StandardInputIsReadToItsEnd) {
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
