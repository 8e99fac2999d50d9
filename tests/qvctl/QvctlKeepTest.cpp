// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verb that keeps a profile on devices that come and go, on devices of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "PluggedDevices.h"
#include "SampleDevice.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::LinesOf;
using QvTests::PluggedDevices;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using QvTests::ToolProcess;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

constexpr char kKeeping[] = "qvctl: keeping\n";

// Every test finds both devices with their defaults, and leaves them so.
class QvctlKeepTest : public QvTests::SampleDeviceTest {
protected:
    void TearDown() override {
        EXPECT_EQ(0u, Qvctl({"reset", "--device", "1"}).exitCode);
        SampleDeviceTest::TearDown();
    }

    // A profile with this parameter.
    std::string Write(const std::string& aParameter) const {
        const std::string path = directory_.File("written.json");
        QvTests::WriteBytes(
            path, "{ \"format\": \"QvUserLib settings\", \"version\": 1, \"parameters\": [\n" +
                      aParameter + "] }\n");
        return path;
    }
    std::string WriteGain() const {
        return Write(R"({ "name": "Gain", "type": "integer", "value": 12 })");
    }

    static std::string PathOf(std::size_t aIndex) {
        return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(aIndex).path;
    }

    // What follows the time in a line.
    static std::vector<std::string> WithoutTimes(const std::string& aText) {
        std::vector<std::string> lines = LinesOf(aText);
        for (std::string& line : lines) line.erase(0, sizeof "12:00:00.000  " - 1);
        return lines;
    }

    const QvTests::TemporaryDirectory directory_;
};

TEST_F(QvctlKeepTest, EachDeviceIsALineWithWhatWasChanged) {
    ASSERT_EQ(0u, Qvctl({"set", "Gain=12", "--device", "1"}).exitCode);

    const Outcome outcome = Qvctl({"keep", WriteGain(), "--count", "2"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(WithoutTimes(outcome.out), ElementsAre(PathOf(0) + ": Gain: 6 dB -> 12 dB",
                                                       PathOf(1) + ": nothing to change"));
    EXPECT_EQ("Gain=12\n", Qvctl({"get", "Gain"}).out);
}

TEST_F(QvctlKeepTest, AsJsonEachDeviceIsAnObject) {
    const Outcome outcome = Qvctl({"keep", WriteGain(), "--count", "2", "--json"});

    ASSERT_THAT(LinesOf(outcome.out), SizeIs(2));
    const json first = json::parse(LinesOf(outcome.out)[0]);
    EXPECT_EQ(PathOf(0), first["path"]);
    EXPECT_EQ("taken", first["parameters"][0]["verdict"]);
    EXPECT_EQ(12, first["parameters"][0]["held"]);
    EXPECT_TRUE(first["error"].is_null());
}

TEST_F(QvctlKeepTest, ADeviceThatRefusesIsALineAndNotTheEnd) {
    const std::string path = Write(R"({ "name": "Volume", "type": "integer", "value": 1 })");

    const Outcome outcome = Qvctl({"keep", path, "--count", "2"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(WithoutTimes(outcome.out),
                testing::Each(HasSubstr(": Volume=1 refused: The specified parameter doesn't "
                                        "exist (line 2); nothing was sent")));
    EXPECT_THAT(LinesOf(outcome.out), SizeIs(2));
}

TEST_F(QvctlKeepTest, ItEndsWhenTheTimeIsOver) {
    const Outcome outcome = Qvctl({"keep", WriteGain(), "--seconds", "0.01", "--interface",
                                   "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(QvctlKeepTest, AFileThatIsNoProfileEndsItAtOnce) {
    const Outcome outcome = Qvctl({"keep", Write("7")});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("a parameter has to be an object"));
}

// The whole way of somebody who wants a device to be as it was.
TEST_F(QvctlKeepTest, SettingsAreSavedChangedComparedLoadedAndKept) {
    auto plugged = std::make_unique<PluggedDevices>(1);
    const std::string device = plugged->GetPaths().at(0);
    const std::string file = directory_.File("bench.json");
    const auto on = [&](std::vector<std::string> aArguments) {
        aArguments.insert(aArguments.end(), {"--device", device});
        return Qvctl(aArguments).out;
    };
    on({"set", "Gain=12", "OperatingMode=Triggered"});

    EXPECT_EQ(file + ": saved 9, left out 12\n", on({"save", file}));
    EXPECT_EQ("Gain: 12 dB -> 20 dB\n", on({"set", "Gain=20"}));
    EXPECT_THAT(LinesOf(on({"diff", file})),
                ElementsAre(StartsWith("NAME"), MatchesRegex("Gain +12 dB +20 dB")));
    EXPECT_EQ("Gain: 20 dB -> 12 dB\nchanged 1, unchanged 8\n", on({"load", file}));
    EXPECT_EQ("no differences\n", on({"diff", file}));

    on({"set", "Gain=30"});
    ToolProcess keep(
        {"keep", file, "--count", "4", "--verbose", "--only", "Gain", "OperatingMode"});
    keep.AwaitError(kKeeping);
    while (on({"get", "Gain"}) != "Gain=12\n") continue;
    // Changes take turns, so the other one has been compared behind this.
    on({"set", "FilterOrder=2"});
    plugged.reset();
    plugged = std::make_unique<PluggedDevices>(1);

    const Outcome kept = keep.Wait();
    EXPECT_EQ(0u, kept.exitCode) << kept.err;
    const std::string restored = ": Gain: 6 dB -> 12 dB, OperatingMode: Continuous -> Triggered";
    EXPECT_THAT(WithoutTimes(kept.out), ElementsAre(PathOf(0) + restored, PathOf(1) + restored,
                                                    device + ": Gain: 30 dB -> 12 dB",
                                                    plugged->GetPaths().at(0) + restored));
}

}  // namespace
