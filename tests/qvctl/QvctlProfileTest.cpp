// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verbs that save, load and compare parameters, on a device of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "SampleDevice.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::LinesOf;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using QvTests::ReadBytes;
using QvTests::WriteBytes;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class QvctlProfileTest : public QvTests::SampleDeviceTest {
protected:
    // A profile with these parameters.
    std::string Write(const std::string& aParameters) const {
        const std::string path = directory_.File("written.json");
        WriteBytes(path,
                   "{ \"format\": \"QvUserLib settings\", \"version\": 1, \"parameters\": [\n" +
                       aParameters + "] }\n");
        return path;
    }

    std::string Save() const {
        const std::string path = directory_.File("saved.json");
        EXPECT_EQ(0u, Qvctl({"save", path}).exitCode);
        return path;
    }

    static std::string Get(const std::string& aName) { return Qvctl({"get", aName}).out; }

    const QvTests::TemporaryDirectory directory_;
};

// save

TEST_F(QvctlProfileTest, SaveWritesAParameterInEachLineAndCountsWhatItLeavesOut) {
    const std::string path = directory_.File("a.json");

    const Outcome outcome = Qvctl({"save", path});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_EQ(path + ": saved 9, left out 12\n", outcome.out);
    const std::string text = ReadBytes(path);
    EXPECT_THAT(text, HasSubstr("\n    { \"name\": \"Gain\", \"id\": 2, \"type\": \"integer\", "
                                "\"value\": 6, \"unit\": \"dB\" },\n"));
    EXPECT_THAT(text, HasSubstr("\"type\": \"enumeration\", \"value\": \"Continuous\" }"));
    EXPECT_THAT(text, HasSubstr("S\xC3\xBC"
                                "d \xE2\x80\x93 Kanal 1"));
    EXPECT_THAT(text, Not(HasSubstr("Temperature")));
    const json device = json::parse(text)["device"];
    EXPECT_EQ(QV_SAMPLE_INTERFACE_TEXT, device["class"]);
    EXPECT_THAT(device["serialNumber"].get<std::string>(), StartsWith("QV-"));
}

TEST_F(QvctlProfileTest, SaveNamesWhatItLeavesOutOnRequest) {
    const std::string path = directory_.File("a.json");

    EXPECT_THAT(Qvctl({"save", path, "--verbose"}).err,
                AllOf(HasSubstr("left out Temperature: it is read-only"),
                      HasSubstr("left out Marker: the driver does not keep it")));
    const json left = Qvctl({"save", path, "--json"}).Json()["leftOut"];
    EXPECT_EQ(12u, left.size());
    EXPECT_EQ((json{{"name", "Temperature"}, {"reason", "it is read-only"}}), left[0]);
}

TEST_F(QvctlProfileTest, SaveTakesNames) {
    const std::string path = directory_.File("a.json");

    EXPECT_EQ(0u, Qvctl({"save", path, "Label", "Gain"}).exitCode);

    const json parameters = json::parse(ReadBytes(path))["parameters"];
    ASSERT_EQ(2u, parameters.size());
    EXPECT_EQ("Gain", parameters[0]["name"]);
}

TEST_F(QvctlProfileTest, SaveWithoutTheDeviceLeavesTheOldFile) {
    const std::string path = directory_.File("a.json");
    WriteBytes(path, "old");

    EXPECT_EQ(3u, Qvctl({"save", path, "--device", "99"}).exitCode);
    EXPECT_EQ("old", ReadBytes(path));
}

// load

TEST_F(QvctlProfileTest, LoadBringsBackWhatWasSaved) {
    const std::string path = Save();
    ASSERT_EQ(0u, Qvctl({"set", "Gain=12", "OperatingMode=Triggered", "BufferSize=128"}).exitCode);

    const Outcome outcome = Qvctl({"load", path});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(LinesOf(outcome.out),
                ElementsAre("BufferSize: 128 KiB -> 64 KiB", "Gain: 12 dB -> 6 dB",
                            "OperatingMode: Triggered -> Continuous", "changed 3, unchanged 6",
                            "take effect when the device starts again: 1 (BufferSize)"));
    EXPECT_EQ("Gain=6\n", Get("Gain"));
    EXPECT_EQ("changed 0, unchanged 9\n", Qvctl({"load", path}).out);
}

TEST_F(QvctlProfileTest, ADryRunSendsNothing) {
    const std::string path = Save();
    ASSERT_EQ(0u, Qvctl({"set", "Gain=12"}).exitCode);

    EXPECT_THAT(LinesOf(Qvctl({"load", path, "--dry-run"}).out),
                ElementsAre("Gain: 12 dB -> 6 dB", "changed 1, unchanged 8",
                            "a dry run: nothing was sent"));
    EXPECT_EQ("Gain=12\n", Get("Gain"));
}

TEST_F(QvctlProfileTest, LoadTakesOnlyWhatIsNamed) {
    const std::string path = Save();
    ASSERT_EQ(0u, Qvctl({"set", "Gain=12", "FilterOrder=4"}).exitCode);

    EXPECT_EQ(0u, Qvctl({"load", path, "--only", "Gain", "Label"}).exitCode);

    EXPECT_EQ("Gain=6\n", Get("Gain"));
    EXPECT_EQ("FilterOrder=4\n", Get("FilterOrder"));
}

TEST_F(QvctlProfileTest, NothingIsSentWhenOneValueDoesNotFit) {
    const std::string path = Write(R"({ "name": "FilterOrder", "type": "integer", "value": 4 },
{ "name": "Gain", "type": "integer", "value": 61 },
{ "name": "OperatingMode", "type": "enumeration", "value": "Fast" }
)");

    const Outcome outcome = Qvctl({"load", path});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(
        LinesOf(outcome.err),
        ElementsAre("qvctl: Gain=61 refused: Value does not fit in the range "
                    "(allowed: 0 to 60 dB; line 3)",
                    "qvctl: OperatingMode=Fast refused: No entry has exactly this name (allowed: "
                    "Continuous, Triggered, Standby; line 4); nothing was sent"));
    EXPECT_EQ("FilterOrder=2\n", Get("FilterOrder"));
}

TEST_F(QvctlProfileTest, ReadOnlyIsPassedOverAndMissingOnRequest) {
    const std::string path = Write(R"({ "name": "Gain", "type": "integer", "value": 12 },
{ "name": "SerialNumber", "type": "string", "value": "x" },
{ "name": "Volume", "type": "integer", "value": 1 }
)");

    EXPECT_THAT(Qvctl({"load", path}).err,
                HasSubstr("Volume=1 refused: The specified parameter doesn't exist (line 4)"));
    EXPECT_THAT(LinesOf(Qvctl({"load", path, "--ignore-missing"}).out),
                ElementsAre("Gain: 6 dB -> 12 dB", "changed 1, unchanged 0",
                            "passed over because they are read-only: 1 (SerialNumber)",
                            "passed over because the device lacks them: 1 (Volume)"));
}

TEST_F(QvctlProfileTest, AFileThatIsNoProfileIsOneErrorWithItsPlace) {
    const std::string path = directory_.File("a.json");
    WriteBytes(path, "{\n  \"format\": 7\n}");

    const Outcome outcome = Qvctl({"load", path, "--device", "99"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("', line 2, column 13: it is no profile"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

// diff

TEST_F(QvctlProfileTest, DiffComparesTheDeviceWithAFile) {
    const std::string path = Save();
    const Outcome same = Qvctl({"diff", path});
    EXPECT_EQ(0u, same.exitCode) << same.err;
    EXPECT_EQ("no differences\n", same.out);

    ASSERT_EQ(0u, Qvctl({"set", "Gain=12"}).exitCode);
    const Outcome outcome = Qvctl({"diff", path, "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    const json difference = outcome.Json();
    EXPECT_EQ(path, difference["first"]["file"]);
    EXPECT_EQ("device", difference["second"]["source"]);
    ASSERT_EQ(1u, difference["differences"].size());
    EXPECT_EQ("Gain", difference["differences"][0]["name"]);
    EXPECT_EQ(6, difference["differences"][0]["first"]["value"]);
    EXPECT_EQ(12, difference["differences"][0]["second"]["value"]);
    EXPECT_EQ("differences found: 1", difference["error"]["message"]);
}

TEST_F(QvctlProfileTest, DiffComparesTwoFilesWithoutADevice) {
    const std::string saved = Save();
    const std::string written = Write(R"({ "name": "Gain", "type": "string", "value": "6" })");

    const Outcome outcome = Qvctl({"diff", written, saved, "--device", "99"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("6 (string)"), HasSubstr("6 dB (integer)"),
                                   HasSubstr("(not there)")));
    EXPECT_THAT(outcome.err, HasSubstr("differences found: 9"));
}

TEST_F(QvctlProfileTest, DiffComparesWithTheDefaults) {
    const std::string written = Write(R"({ "name": "Gain", "type": "integer", "value": 7 })");
    ASSERT_EQ(0u, Qvctl({"set", "Marker=5"}).exitCode);

    const json ofFile = Qvctl({"diff", written, "--defaults", "--json"}).Json();
    ASSERT_EQ(1u, ofFile["differences"].size());
    EXPECT_EQ(7, ofFile["differences"][0]["first"]["value"]);
    EXPECT_EQ(6, ofFile["differences"][0]["second"]["value"]);

    const json ofDevice = Qvctl({"diff", "--defaults", "--json"}).Json();
    ASSERT_EQ(1u, ofDevice["differences"].size());
    EXPECT_EQ("Marker", ofDevice["differences"][0]["name"]);
}

TEST_F(QvctlProfileTest, DiffNeedsSomethingToCompare) {
    EXPECT_EQ(2u, Qvctl({"diff"}).exitCode);
    EXPECT_EQ(2u, Qvctl({"diff", "a.json", "b.json", "--defaults"}).exitCode);
}

}  // namespace
