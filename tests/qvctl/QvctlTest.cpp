// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The command-line tool as a process of its own, on the two devices of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "QvKit/Error.h"
#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "TestSupport.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::LinesOf;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using QvTests::Widen;
using QvUserLib::DeviceConnection;
using QvUserLib::DeviceParameterRepository;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Columns of the terminal, as none of the sample's characters is wide.
std::size_t ColumnsOf(const std::string& aLine) { return Widen(aLine).size(); }

// The row of the table that begins with this name; empty when there is none.
std::string RowOf(const std::string& aTable, const std::string& aName) {
    for (const std::string& line : LinesOf(aTable)) {
        if (line.rfind(aName + " ", 0) == 0) return line;
    }
    return std::string();
}

std::string Get(const std::string& aName, const std::string& aDevice = "0") {
    return Qvctl({"get", aName, "--device", aDevice}).out;
}

void ResetDevice(unsigned int aIndex) {
    DeviceConnection connection;
    DeviceParameterRepository parameters;
    ASSERT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, aIndex), QvTests::HasCode(0))
        << "install the sample driver with two devices first";
    ASSERT_THAT(parameters.Connect(&connection), QvTests::HasCode(0));
    ASSERT_THAT(parameters.ResetDefaults(), QvTests::HasCode(0));
    // Labels that differ only in characters which the code page lacks count as unchanged.
    const unsigned long label = QV_SAMPLE_ID_LABEL;
    ASSERT_THAT(parameters.GetByID(label)->SetString("detour"), QvTests::HasCode(0));
    ASSERT_THAT(parameters.GetByID(label)->ResetDefault(), QvTests::HasCode(0));
    ASSERT_THAT(parameters.Apply(), QvTests::HasCode(0));
}

// Every test finds both devices with their defaults, and leaves them so.
class QvctlTest : public testing::Test {
protected:
    void SetUp() override { ResetDevices(); }
    void TearDown() override { ResetDevices(); }

private:
    static void ResetDevices() {
        ResetDevice(0);
        ResetDevice(1);
    }
};

// Text that only UTF-8 and UTF-16 can hold: the code page 1252 has no such characters.
constexpr char kJapanese[] = "\xE6\x97\xA5\xE6\x9C\xAC";
constexpr char kChinese[] = "\xE4\xB8\xAD\xE5\x9B\xBD";
constexpr char kDefaultLabel[] =
    "S\xC3\xBC"
    "d \xE2\x80\x93 Kanal 1";
constexpr const char* kVerbs[] = {"list", "show",   "get",   "set",  "reset",  "watch",
                                  "wait", "stream", "write", "read", "control"};
constexpr char kUnknownInterface[] = "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}";

// list

TEST_F(QvctlTest, ListPrintsNumberAndPathOfEachDevice) {
    const Outcome outcome = Qvctl({"list"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.out),
                ElementsAre(AllOf(StartsWith("0  \\\\?\\"), EndsWith(QV_SAMPLE_INTERFACE_TEXT)),
                            AllOf(StartsWith("1  \\\\?\\"), EndsWith(QV_SAMPLE_INTERFACE_TEXT))));
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(QvctlTest, ListAsJsonHasTheSamePaths) {
    const json list = Qvctl({"list", "--json"}).Json();

    EXPECT_EQ(QV_SAMPLE_INTERFACE_TEXT, list["interface"]);
    ASSERT_EQ(2u, list["devices"].size());
    const std::string line = "1  " + list["devices"][1]["path"].get<std::string>();
    EXPECT_EQ(1, list["devices"][1]["index"]);
    EXPECT_EQ(line, LinesOf(Qvctl({"list"}).out)[1]);
}

// show

TEST_F(QvctlTest, ShowPrintsValueRangeDefaultAndMarksInOneRow) {
    ASSERT_EQ(0u, Qvctl({"set", "BufferSize=128"}).exitCode);

    const Outcome outcome = Qvctl({"show"});

    EXPECT_EQ(0u, outcome.exitCode);
    std::istringstream row(RowOf(outcome.out, "BufferSize"));
    const std::vector<std::string> words{std::istream_iterator<std::string>(row), {}};
    EXPECT_THAT(words, ElementsAre("BufferSize", "128", "KiB", "4", "to", "256", "64", "restart"));
}

TEST_F(QvctlTest, ShowHasALineForEachParameterWhereThereIsNoTerminal) {
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT + 1, LinesOf(Qvctl({"show", "--all"}).out).size());
}

TEST_F(QvctlTest, ShowPrintsIdentifiersOnRequest) {
    EXPECT_THAT(LinesOf(Qvctl({"show", "Gain", "--ids"}).out),
                ElementsAre(StartsWith("ID  NAME"), StartsWith("2   Gain")));
}

TEST_F(QvctlTest, ShowPrintsHexadecimalNumbersOnRequestAndWhereTheUnitSaysSo) {
    EXPECT_THAT(RowOf(Qvctl({"show", "Gain", "--hex"}).out, "Gain"),
                HasSubstr("0x6    0x0 to 0x3c"));
    EXPECT_THAT(RowOf(Qvctl({"show", "FaultStatus"}).out, "FaultStatus"),
                HasSubstr("0xc0000185  0xc0000000 to 0xefffffff"));
    EXPECT_EQ("FaultStatus=0xc0000185\n", Get("FaultStatus"));
}

TEST_F(QvctlTest, ShowListsTheEntriesOfAnEnumeration) {
    EXPECT_THAT(Qvctl({"show", "OperatingMode"}).out, HasSubstr("Continuous, Triggered, Standby"));
}

TEST_F(QvctlTest, ShowLeavesOutHiddenAndAdvancedParameters) {
    const std::string table = Qvctl({"show"}).out;

    EXPECT_THAT(table, HasSubstr("SamplingInterval"));
    EXPECT_THAT(table, Not(HasSubstr("SelfTestCount")));
    EXPECT_THAT(table, Not(HasSubstr("FilterOrder")));
}

TEST_F(QvctlTest, ShowAdvancedAddsAdvancedButNotHiddenParameters) {
    const std::string table = Qvctl({"show", "--advanced"}).out;

    EXPECT_THAT(RowOf(table, "FilterOrder"), HasSubstr("advanced"));
    EXPECT_THAT(table, Not(HasSubstr("SelfTestCount")));
}

TEST_F(QvctlTest, ShowAllAddsHiddenAndAdvancedParameters) {
    const std::string table = Qvctl({"show", "--all"}).out;

    EXPECT_THAT(RowOf(table, "SelfTestCount"), HasSubstr("hidden"));
    EXPECT_THAT(RowOf(table, "FilterOrder"), HasSubstr("advanced"));
}

TEST_F(QvctlTest, ShowNamedParametersWhateverTheirMarksInTheGivenOrder) {
    const std::vector<std::string> lines = LinesOf(Qvctl({"show", "SelfTestCount", "Gain"}).out);

    EXPECT_THAT(lines,
                ElementsAre(StartsWith("NAME"), StartsWith("SelfTestCount"), StartsWith("Gain")));
}

TEST_F(QvctlTest, ShowVerboseAddsTheDescriptionWithoutItsUnit) {
    const std::vector<std::string> lines = LinesOf(Qvctl({"show", "Gain", "--verbose"}).out);

    EXPECT_THAT(lines,
                ElementsAre(StartsWith("NAME"), StartsWith("Gain"), "    Input amplification"));
}

TEST_F(QvctlTest, ShowAsJsonTellsAllOfAnInteger) {
    const json shown = Qvctl({"show", "SamplingInterval", "--json"}).Json();

    EXPECT_EQ(0, shown["device"]["index"]);
    const json expected = json::parse(R"([{
        "name": "SamplingInterval", "id": 1, "type": "integer",
        "description": "Time between two samples", "unit": "us",
        "value": 1000, "default": 1000, "minimum": 10, "maximum": 1000000,
        "marks": {"readOnly": false, "volatile": false, "restartRequired": false,
                  "persistent": true, "advanced": false, "hidden": false}}])");
    EXPECT_EQ(expected, shown["parameters"]);
}

TEST_F(QvctlTest, ShowAsJsonNamesAnEnumerationsEntries) {
    const json mode = Qvctl({"show", "OperatingMode", "--json"}).Json()["parameters"][0];

    EXPECT_EQ("enumeration", mode["type"]);
    EXPECT_EQ("Continuous", mode["value"]);
    EXPECT_EQ(json({"Continuous", "Triggered", "Standby"}), mode["entries"]);
}

TEST_F(QvctlTest, ShowOfAnUnknownNameIsRefusedWithTheNameThatWasMeant) {
    const Outcome outcome = Qvctl({"show", "gain"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: gain: The specified parameter doesn't exist (did you mean Gain?)\n",
              outcome.err);
    EXPECT_THAT(outcome.out, IsEmpty());
}

// get

TEST_F(QvctlTest, GetPrintsLinesThatSetTakes) {
    const Outcome outcome = Qvctl({"get", "Resolution", "Gain"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ("Resolution=16 bit\nGain=6\n", outcome.out);
    EXPECT_EQ(0u, Qvctl({"set", "Resolution=16 bit", "Gain=6"}).exitCode);
}

TEST_F(QvctlTest, GetPrintsOneValueAloneOnRequest) {
    EXPECT_EQ("Continuous\n", Qvctl({"get", "--value", "OperatingMode"}).out);
}

TEST_F(QvctlTest, SetTakesAllThatGetPrints) {
    std::vector<std::string> arguments = LinesOf(Qvctl({"get", "--all"}).out);
    ASSERT_EQ(QV_SAMPLE_PARAMETER_COUNT, arguments.size());
    arguments.insert(arguments.begin(), {"set", "--skip-read-only"});

    const Outcome outcome = Qvctl(arguments);

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(outcome.out, Not(HasSubstr("->")));
    EXPECT_THAT(outcome.out, Not(HasSubstr("Temperature")));
}

TEST_F(QvctlTest, EnvironmentVariablesAreDefaults) {
    ASSERT_EQ(0u, Qvctl({"set", "Gain=7", "--device", "1"}).exitCode);

    ASSERT_TRUE(::SetEnvironmentVariableA("QVCTL_DEVICE", "1"));
    EXPECT_EQ("Gain=7\n", Qvctl({"get", "Gain"}).out);
    EXPECT_EQ("Gain=6\n", Get("Gain", "0"));
    ::SetEnvironmentVariableA("QVCTL_DEVICE", nullptr);

    ASSERT_TRUE(::SetEnvironmentVariableA("QVCTL_INTERFACE", kUnknownInterface));
    EXPECT_EQ(3u, Qvctl({"list"}).exitCode);
    ::SetEnvironmentVariableA("QVCTL_INTERFACE", nullptr);
}

TEST_F(QvctlTest, GetPrintsControlCharactersAsSetTakesThem) {
    const std::string line = "Notes=a\\u000ab\\u007f C:\\temp \\u005cu000a \\u202e";

    ASSERT_EQ(0u, Qvctl({"set", line}).exitCode);

    EXPECT_EQ(line + "\n", Get("Notes"));
    // NOLINTNEXTLINE(misc-misleading-bidirectional)
    EXPECT_EQ("a\nb\x7F C:\\temp \\u000a \xE2\x80\xAE",
              Qvctl({"get", "Notes", "--json"}).Json()["values"]["Notes"]);
}

TEST_F(QvctlTest, GetPrintsUtf8) {
    EXPECT_EQ(std::string("Label=") + kDefaultLabel + "\n", Get("Label"));
}

TEST_F(QvctlTest, GetAsJsonGivesNumbersAndTexts) {
    const json values = Qvctl({"get", "Gain", "Label", "OperatingMode", "--json"}).Json()["values"];

    EXPECT_EQ(json({{"Gain", 6}, {"Label", kDefaultLabel}, {"OperatingMode", "Continuous"}}),
              values);
}

TEST_F(QvctlTest, GetWithOneUnknownNamePrintsNoValue) {
    const Outcome outcome = Qvctl({"get", "Gain", "NoSuch"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: NoSuch: The specified parameter doesn't exist\n", outcome.err);
    EXPECT_THAT(outcome.out, IsEmpty());
}

// set

TEST_F(QvctlTest, SetChangesSeveralParametersAtOnce) {
    const Outcome outcome =
        Qvctl({"set", "SamplingInterval=250", "OperatingMode=Triggered", "Label=Bench 2"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(
        LinesOf(outcome.out),
        ElementsAre("SamplingInterval: 1000 us -> 250 us", "OperatingMode: Continuous -> Triggered",
                    std::string("Label: ") + kDefaultLabel + " -> Bench 2"));
    EXPECT_EQ("SamplingInterval=250\nOperatingMode=Triggered\nLabel=Bench 2\n",
              Qvctl({"get", "SamplingInterval", "OperatingMode", "Label"}).out);
}

TEST_F(QvctlTest, SetKeepsCharactersThatTheCodePageLacks) {
    const std::string label = std::string("Label=") + kJapanese;

    EXPECT_EQ(0u, Qvctl({"set", label}).exitCode);

    EXPECT_EQ(label + "\n", Get("Label"));
}

TEST_F(QvctlTest, SetFromOneSuchTextToAnotherIsSent) {
    ASSERT_EQ(0u, Qvctl({"set", std::string("Label=") + kJapanese}).exitCode);

    EXPECT_EQ(0u, Qvctl({"set", std::string("Label=") + kChinese}).exitCode);

    EXPECT_EQ(std::string("Label=") + kChinese + "\n", Get("Label"));
}

TEST_F(QvctlTest, SetTakesAnEmptyText) {
    EXPECT_EQ(0u, Qvctl({"set", "Label="}).exitCode);

    EXPECT_EQ("Label=\n", Get("Label"));
}

TEST_F(QvctlTest, SetTakesAnEntrysIndexAndAHexadecimalNumber) {
    EXPECT_EQ(0u, Qvctl({"set", "OperatingMode=2", "Marker=0xFFFFFFFF"}).exitCode);

    EXPECT_EQ("OperatingMode=Standby\nMarker=4294967295\n",
              Qvctl({"get", "OperatingMode", "Marker"}).out);
}

TEST_F(QvctlTest, SetTakesAnEntryInAnyCaseAndANumberWithItsUnit) {
    EXPECT_EQ("OperatingMode: Continuous -> Triggered\nGain: 6 dB -> 12 dB\n",
              Qvctl({"set", "OperatingMode=triggered", "Gain=12dB"}).out);
}

TEST_F(QvctlTest, SetToThePresentValueSaysThatNothingChanged) {
    EXPECT_EQ("Gain: 6 dB (unchanged)\n", Qvctl({"set", "Gain=6"}).out);
}

TEST_F(QvctlTest, SetTellsThatTheDeviceHasToStartAgain) {
    EXPECT_EQ("BufferSize: 64 KiB -> 32 KiB (takes effect when the device starts again)\n",
              Qvctl({"set", "BufferSize=32"}).out);
}

TEST_F(QvctlTest, SetAsJsonTellsBeforeAndAfter) {
    const json parameters =
        Qvctl({"set", "Gain=7", "BufferSize=64", "--json"}).Json()["parameters"];

    EXPECT_EQ(json::parse(R"([
        {"name": "Gain", "before": 6, "after": 7, "changed": true, "restartRequired": false,
         "verdict": "taken", "held": 7, "readBefore": null},
        {"name": "BufferSize", "before": 64, "after": 64, "changed": false,
         "restartRequired": false, "verdict": "taken", "held": 64, "readBefore": null}])"),
              parameters);
}

TEST_F(QvctlTest, ADryRunOfSetSendsNothing) {
    EXPECT_EQ("Gain: 6 dB -> 7 dB\na dry run: nothing was sent\n",
              Qvctl({"set", "Gain=7", "--dry-run"}).out);
    EXPECT_EQ("Gain=6\n", Get("Gain"));
}

TEST_F(QvctlTest, ADryRunOfResetSendsNothing) {
    ASSERT_EQ(0u, Qvctl({"set", "Gain=7"}).exitCode);

    EXPECT_EQ("Gain: 7 dB -> 6 dB\na dry run: nothing was sent\n",
              Qvctl({"reset", "--dry-run"}).out);
    EXPECT_EQ("Gain=7\n", Get("Gain"));
}

TEST_F(QvctlTest, ADryRunOfWhatIsRefusedFails) {
    const Outcome outcome = Qvctl({"set", "Gain=61", "--dry-run", "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("refused", outcome.Json()["parameters"][0]["verdict"]);
}

TEST_F(QvctlTest, WhatTheDriverRefusesIsNotKept) {
    // Half a character.
    const Outcome outcome = Qvctl({"set", "Gain=7", "Label=\\ud800", "--all-or-nothing"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err,
                StartsWith("qvctl: the device refused the change of Gain, Label: DeviceIoControl "
                           "failed (error 1113"));
    EXPECT_THAT(
        LinesOf(outcome.out),
        ElementsAre("Gain: 6 dB -> 7 dB (not kept: the device holds 6 dB)",
                    EndsWith(std::string(" (not kept: the device holds ") + kDefaultLabel + ")")));
}

TEST_F(QvctlTest, SetRefusesWhatDoesNotFitWithOneLineThatSaysWhy) {
    struct {
        std::string assignment;
        std::string reason;
    } const cases[] = {
        {"SamplingInterval=-5", "Value does not fit in the range (allowed: 10 to 1000000 us)"},
        {"NoSuch=1", "The specified parameter doesn't exist"},
        {"Temperature=20", "Parameter is read-only"},
        {"OperatingMode=Fast",
         "Enumeration value does not exist in for parameter (allowed: Continuous, Triggered, "
         "Standby)"},
        {"OperatingMode=3",
         "Value does not fit in the range (allowed: Continuous, Triggered, Standby)"},
        {"Gain=5x", "Not a whole number, decimal or with 0x hexadecimal (allowed: 0 to 60 dB)"},
        {"OperatingMode=Trigger",
         "Enumeration value does not exist in for parameter (did you mean Triggered? allowed: "
         "Continuous, Triggered, Standby)"},
        {"Gain=9223372036854775808", "The number does not fit in 64 bits (allowed: 0 to 60 dB)"},
        {"Notes=" + std::string(217, 'n'), "The text has more than 216 characters"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.assignment);
        const Outcome outcome = Qvctl({"set", oneCase.assignment});

        EXPECT_EQ(1u, outcome.exitCode);
        EXPECT_EQ(
            "qvctl: " + oneCase.assignment + " refused: " + oneCase.reason + "; nothing was sent\n",
            outcome.err);
        EXPECT_THAT(outcome.out, IsEmpty());
    }
}

TEST_F(QvctlTest, SetSendsNothingWhenOneValueIsRefused) {
    EXPECT_EQ(1u, Qvctl({"set", "Gain=7", "SamplingInterval=0", "Label=new"}).exitCode);

    EXPECT_EQ(std::string("Gain=6\nLabel=") + kDefaultLabel + "\n",
              Qvctl({"get", "Gain", "Label"}).out);
}

TEST_F(QvctlTest, SetNamesEveryRefusalOnALineOfItsOwn) {
    EXPECT_THAT(LinesOf(Qvctl({"set", "NoSuch=1", "Gain=7", "SerialNumber=2"}).err),
                ElementsAre("qvctl: NoSuch=1 refused: The specified parameter doesn't exist",
                            "qvctl: SerialNumber=2 refused: Parameter is read-only; nothing was "
                            "sent"));
}

TEST_F(QvctlTest, RefusalsAsJsonNameParameterValueAndReason) {
    const Outcome outcome = Qvctl({"set", "Gain=61", "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    const json error = outcome.Json()["error"];
    EXPECT_EQ("refused", error["kind"]);
    EXPECT_EQ(1, error["exitCode"]);
    EXPECT_EQ(json::parse(R"([{"name": "Gain", "value": "61", "code": 18,
                               "reason": "Value does not fit in the range",
                               "hint": "allowed: 0 to 60 dB"}])"),
              error["refusals"]);
}

TEST_F(QvctlTest, ATextBeyondTheDriversLimitIsRefusedBeforeItIsSent) {
    const std::string label = "Label=" + std::string(65, 'l');

    EXPECT_EQ(
        "qvctl: " + label + " refused: The text has more than 64 characters; nothing was sent\n",
        Qvctl({"set", "Gain=7", label}).err);
    EXPECT_THAT(Qvctl({"show", "Label"}).out, HasSubstr("up to 64 characters"));
    EXPECT_EQ(64, Qvctl({"show", "Label", "--json"}).Json()["parameters"][0]["maximumLength"]);
}

// reset

TEST_F(QvctlTest, ResetOfNamedParametersLeavesTheOthers) {
    ASSERT_EQ(0u, Qvctl({"set", "Gain=7", "Label=new"}).exitCode);

    EXPECT_EQ(std::string("Label: new -> ") + kDefaultLabel + "\n", Qvctl({"reset", "Label"}).out);

    EXPECT_EQ("Gain=7\n", Get("Gain"));
}

TEST_F(QvctlTest, ResetWithoutNamesResetsHiddenAndAdvancedOnesToo) {
    ASSERT_EQ(0u, Qvctl({"set", "Gain=7", "SelfTestCount=9", "FilterOrder=8"}).exitCode);

    const Outcome outcome = Qvctl({"reset"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.out),
                ElementsAre("Gain: 7 dB -> 6 dB", "SelfTestCount: 9 -> 1", "FilterOrder: 8 -> 2"));
}

TEST_F(QvctlTest, ResetWithNothingToChangeSaysSo) {
    EXPECT_EQ("nothing to change\n", Qvctl({"reset"}).out);
}

TEST_F(QvctlTest, ResetOfAReadOnlyParameterIsRefused) {
    ASSERT_EQ(0u, Qvctl({"set", "Gain=7"}).exitCode);

    const Outcome outcome = Qvctl({"reset", "Gain", "SerialNumber"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: SerialNumber: Parameter is read-only; nothing was sent\n", outcome.err);
    EXPECT_EQ("Gain=7\n", Get("Gain"));
}

// The error log

TEST_F(QvctlTest, ErrorLogHoldsTheLibrarysRefusalsAndTheToolsOwn) {
    const QvTests::TemporaryDirectory directory;
    const std::string log = directory.File("errors.log");

    EXPECT_EQ(1u, Qvctl({"set", "Gain=61", "Marker=x", "--error-log", log}).exitCode);

    EXPECT_THAT(
        QvTests::ReadLines(log),
        ElementsAre(AllOf(HasSubstr("[0x12]"), HasSubstr(".\\Parameter("),
                          EndsWith("ERR  - Value does not fit in the range")),
                    AllOf(HasSubstr("[0x23]"), HasSubstr("qvctl("),
                          EndsWith("ERR  - Not a whole number, decimal or with 0x hexadecimal"))));
}

TEST_F(QvctlTest, ErrorLogThatCannotBeOpenedStopsBeforeAnythingIsDone) {
    const QvTests::TemporaryDirectory directory;
    const std::string log = directory.File("missing") + "\\errors.log";

    const Outcome outcome = Qvctl({"set", "Gain=7", "--error-log", log});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: cannot open the error log '" + log + "'\n", outcome.err);
    EXPECT_EQ("Gain=6\n", Get("Gain"));
}

TEST_F(QvctlTest, ErrorLogWhosePathTheCodePageLacksIsRefused) {
    const QvTests::TemporaryDirectory directory;
    const std::string log = directory.File(kJapanese);

    const Outcome outcome = Qvctl({"get", "Gain", "--error-log", log});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: cannot open the error log '" + log + "': "));
}

// Choosing the device

TEST_F(QvctlTest, DeviceNumberChoosesTheDevice) {
    EXPECT_EQ(0u, Qvctl({"set", "Gain=7", "--device", "1"}).exitCode);

    EXPECT_EQ("Gain=6\n", Get("Gain", "0"));
    EXPECT_EQ("Gain=7\n", Get("Gain", "1"));
}

TEST_F(QvctlTest, DevicePathChoosesTheDevice) {
    const std::string path = Qvctl({"list", "--json"}).Json()["devices"][1]["path"];

    const json device = Qvctl({"set", "Gain=7", "--device", path, "--json"}).Json()["device"];

    EXPECT_EQ(path, device["path"]);
    EXPECT_TRUE(device["index"].is_null());
    EXPECT_EQ("Gain=7\n", Get("Gain", "1"));
}

TEST_F(QvctlTest, InstanceIdChoosesTheDevice) {
    const json second = Qvctl({"list", "--json"}).Json()["devices"][1];
    const std::string id = second["instanceId"];

    EXPECT_EQ(second["path"],
              Qvctl({"get", "Gain", "--device", id, "--json"}).Json()["device"]["path"]);
    EXPECT_EQ(3u, Qvctl({"get", "Gain", "--device", id + "0"}).exitCode);
}

TEST_F(QvctlTest, AValueThatOnlyOneDeviceHasChoosesIt) {
    const std::string serial = Qvctl({"get", "--value", "SerialNumber", "--device", "1"}).out;
    const std::string choice = "SerialNumber=" + serial.substr(0, serial.size() - 1);

    EXPECT_EQ(1, Qvctl({"get", "Gain", "--device", choice, "--json"}).Json()["device"]["index"]);
    EXPECT_EQ("qvctl: several devices have 'Gain=6'\n",
              Qvctl({"get", "Gain", "--device", "Gain=6"}).err);
    EXPECT_EQ("qvctl: no device has 'Gain=60'\n",
              Qvctl({"get", "Gain", "--device", "Gain=60"}).err);
}

TEST_F(QvctlTest, NoSuchDeviceIsOneLineAndAnExitCodeOfItsOwn) {
    struct {
        std::vector<std::string> arguments;
        std::string message;
    } const cases[] = {
        {{"show", "--device", "2"}, "there is no device 2; those present are 0 to 1"},
        {{"get", "Gain", "--device", "99999999999999999999"},
         "there is no device 99999999999999999999; those present are 0 to 1"},
        {{"set", "Gain=7", "--device", "\\\\?\\root#nowhere#0"},
         "there is no device '\\\\?\\root#nowhere#0': " + QvKit::SystemErrorText(2)},
        {{"reset", "--interface", kUnknownInterface},
         std::string("no device with the interface ") + kUnknownInterface + " is present"},
        {{"list", "--interface", kUnknownInterface},
         std::string("no device with the interface ") + kUnknownInterface + " is present"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.message);
        const Outcome outcome = Qvctl(oneCase.arguments);

        EXPECT_EQ(3u, outcome.exitCode);
        EXPECT_EQ("qvctl: " + oneCase.message + "\n", outcome.err);
        EXPECT_THAT(outcome.out, IsEmpty());
    }
}

TEST_F(QvctlTest, NoSuchDeviceAsJson) {
    const json error = Qvctl({"list", "--json", "--interface", kUnknownInterface}).Json()["error"];

    EXPECT_EQ("no-device", error["kind"]);
    EXPECT_EQ(3, error["exitCode"]);
    EXPECT_TRUE(error["refusals"].empty());
}

TEST_F(QvctlTest, InterfaceIsTakenWithoutBracesAndInUpperCase) {
    EXPECT_EQ(0u, Qvctl({"list", "--interface", "6B1E2F5C-3A94-4D0B-9C57-2E8F41D6A073"}).exitCode);
}

TEST_F(QvctlTest, AnOpenedFileThatIsNoDeviceWithParametersIsAFailure) {
    const Outcome outcome = Qvctl({"show", "--device", "\\\\.\\NUL"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: cannot load the device's parameters: "
                                        "DeviceIoControl failed (error "));
}

// Wrong usage and help

TEST_F(QvctlTest, WrongUsageIsOneLineAndAnExitCodeOfItsOwn) {
    struct {
        std::vector<std::string> arguments;
        std::string message;
    } const cases[] = {
        {{}, "a verb is missing; see \"qvctl --help\""},
        {{"frobnicate"}, "there is no verb 'frobnicate'; see \"qvctl --help\""},
        {{"show", "--frobnicate"}, "there is no option '--frobnicate'; see \"qvctl show --help\""},
        {{"hsow"}, "there is no verb 'hsow' (did you mean show?); see \"qvctl --help\""},
        {{"list", "--jsno"},
         "there is no option '--jsno' (did you mean --json?); see \"qvctl list --help\""},
        {{"list", "all"}, "'all' is an argument too many; see \"qvctl list --help\""},
        {{"show", "--device"}, "--device: a value is missing; see \"qvctl show --help\""},
        {{"show", "--device", "0", "--device", "1"},
         "--device is given more than once; see \"qvctl show --help\""},
        {{"--json", "show"},
         "options follow the verb, but '--json' comes first; see \"qvctl show --help\""},
        {{"list", "--device", "7"}, "--device has no effect on list; see \"qvctl list --help\""},
        {{"doctor", "--device=9"}, "--device has no effect on doctor; see \"qvctl doctor --help\""},
        {{"version", "--interface", "x"},
         "--interface has no effect on version; see \"qvctl version --help\""},
        {{"manual", "--json"}, "--json has no effect on manual; see \"qvctl manual --help\""},
        {{"completion", "bash", "--json"},
         "--json has no effect on completion; see \"qvctl completion --help\""},
        {{"help", "hsow"}, "there is no verb 'hsow' (did you mean show?); see \"qvctl --help\""},
        {{"get"}, "NAME is required; see \"qvctl get --help\""},
        {{"get", "Gain", "--all"}, "--all takes no NAME"},
        {{"get", "--all", "--value"}, "--value takes one NAME and no --json"},
        {{"get", "Gain", "--value", "--json"}, "--value takes one NAME and no --json"},
        {{"get", ""}, "a parameter's name is empty"},
        {{"set", "Gain"}, "'Gain' is no NAME=VALUE"},
        {{"set", "=7"}, "a parameter's name is empty"},
        {{"set", "Gain=7", "Gain=8"}, "'Gain' is given more than once"},
        {{"reset", "Gain", "Gain"}, "'Gain' is given more than once"},
        {{"show", "--device", "first"},
         "--device: 'first' is neither a number, a path that begins with \\\\?\\ or \\\\.\\, "
         "an instance ID, nor NAME=VALUE"},
        {{"list", "--interface", "{6b1e2f5c}"},
         "--interface: '{6b1e2f5c}' is no GUID such as " QV_SAMPLE_INTERFACE_TEXT},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.message);
        const Outcome outcome = Qvctl(oneCase.arguments);

        EXPECT_EQ(2u, outcome.exitCode);
        EXPECT_THAT(outcome.out, testing::AnyOf(IsEmpty(), HasSubstr("\"usage\"")));
        EXPECT_EQ("qvctl: " + oneCase.message + "\n", outcome.err);
    }
}

TEST_F(QvctlTest, WrongUsageAsJson) {
    const Outcome outcome = Qvctl({"show", "--frobnicate", "--json"});

    EXPECT_EQ(2u, outcome.exitCode);
    EXPECT_EQ("usage", outcome.Json()["error"]["kind"]);
    EXPECT_EQ(2, outcome.Json()["error"]["exitCode"]);
}

TEST_F(QvctlTest, HelpListsTheVerbsAndTheExitCodes) {
    const Outcome outcome = Qvctl({"--help"});

    EXPECT_EQ(0u, outcome.exitCode);
    for (const char* verb : kVerbs) {
        EXPECT_THAT(outcome.out, HasSubstr(std::string("\n  ") + verb + " "));
    }
    EXPECT_THAT(outcome.out, HasSubstr("Exit codes:\n  0    done\n"
                                       "  1    refused, failed or, with --verify, lost\n"
                                       "  2    wrong usage\n  3    no such device\n"
                                       "  4    not in time\n"
                                       "  130  stopped by Ctrl-C\n"));
}

TEST_F(QvctlTest, HelpOfEachVerbShowsAnExampleAndTheSharedOptions) {
    for (const std::string verb : kVerbs) {
        if (verb == "list") continue;
        SCOPED_TRACE(verb);
        const Outcome outcome = Qvctl({verb, "--help"});

        EXPECT_EQ(0u, outcome.exitCode);
        EXPECT_THAT(outcome.out, HasSubstr("\n  qvctl " + verb));
        for (const char* option :
             {"--device DEVICE", "--interface GUID", "--json", "--verbose", "--error-log FILE"}) {
            EXPECT_THAT(outcome.out, HasSubstr(option));
        }
    }
}

TEST_F(QvctlTest, HelpIsAVerbToo) {
    EXPECT_EQ(Qvctl({"--help"}).out, Qvctl({"help"}).out);
    EXPECT_EQ(Qvctl({"set", "--help"}).out, Qvctl({"help", "set"}).out);
}

TEST_F(QvctlTest, HelpFitsEightyColumns) {
    for (const std::string verb : kVerbs) {
        for (const std::string& line : LinesOf(Qvctl({verb, "--help"}).out)) {
            EXPECT_LE(ColumnsOf(line), 80u) << line;
        }
    }
}

TEST_F(QvctlTest, VersionIsTheProjects) {
    EXPECT_EQ("qvctl " QVCTL_TEST_VERSION "\n", Qvctl({"--version"}).out);
}

TEST_F(QvctlTest, VerboseTellsOnStandardErrorWhatIsDone) {
    const Outcome outcome = Qvctl({"set", "Gain=7", "--verbose"});

    EXPECT_EQ("Gain: 6 dB -> 7 dB\n", outcome.out);
    EXPECT_THAT(
        LinesOf(outcome.err),
        ElementsAre(StartsWith("qvctl: opening \\\\?\\"),
                    "qvctl: " + std::to_string(QV_SAMPLE_PARAMETER_COUNT) + " parameters loaded",
                    "qvctl: parameters sent: 1"));
}

}  // namespace
