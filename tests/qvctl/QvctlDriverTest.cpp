// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verb that installs drivers, as a process. What it does to devices is tested with the kit.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "SampleSetup.h"
#include "ThirdDevice.h"
#include "ToolProcess.h"

namespace {

using QvTests::ExpectWrongUsage;
using QvTests::Qvctl;
using QvTests::ThirdDevice;
using Outcome = QvTests::ToolOutcome;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr char kId[] = "ROOT\\QVSAMPLE";

const std::string& Inf() {
    static const std::string path = QvTests::OwnDirectory() + "\\QvSampleDriver.inf";
    return path;
}

TEST(QvctlDriverTest, StatusListsNumberInstanceStateAndInterface) {
    const Outcome outcome = Qvctl({"driver", "status", "--id", kId});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    // GoogleTest's expressions have no braces.
    EXPECT_THAT(
        QvTests::LinesOf(outcome.out),
        testing::Each(MatchesRegex(R"(\d  ROOT.QVSAMPLE.\d+  started  ....root#qvsample.*)")));
    EXPECT_THAT(QvTests::LinesOf(outcome.out), SizeIs(2));
    EXPECT_EQ(outcome.out, Qvctl({"driver", "status", Inf()}).out);
    EXPECT_THAT(Qvctl({"driver", "status"}).out, HasSubstr("ROOT\\QVSAMPLE\\0000  started"));
}

TEST(QvctlDriverTest, InstallingWhatIsThereListsIt) {
    const Outcome outcome = Qvctl({"driver", "install", Inf(), "--devices", "2"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_EQ(Qvctl({"driver", "status", "--id", kId}).out, outcome.out);
}

TEST(QvctlDriverTest, ADeviceIsRemovedByItsNumberOrItsInstanceId) {
    ThirdDevice device;
    device.Add();
    const Outcome byNumber = Qvctl({"driver", "remove", Inf(), "--device", "2", "--json"});
    EXPECT_EQ(0u, byNumber.exitCode) << byNumber.err;
    ASSERT_THAT(byNumber.Json()["removed"], SizeIs(1));

    device.Add();
    const nlohmann::json third =
        Qvctl({"driver", "status", "--id", kId, "--json"}).Json()["devices"].at(2);
    const std::string id = third["instanceId"];
    const Outcome byId = Qvctl({"driver", "remove", "--device", id});
    EXPECT_EQ(0u, byId.exitCode) << byId.err;
    EXPECT_EQ("Removed " + id + ".\n", byId.out);

    device.Add();
}

TEST(QvctlDriverTest, WithoutDevicesThereIsNothingToList) {
    const Outcome outcome = Qvctl({"driver", "remove", "--id", "ROOT\\NOWHERE"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ("No root-enumerated device with the hardware id ROOT\\NOWHERE is installed.\n",
              outcome.out);
}

TEST(QvctlDriverTest, AnUnknownDeviceIsNoSuchDevice) {
    const Outcome outcome = Qvctl({"driver", "remove", "--id", kId, "--device", "9"});

    EXPECT_EQ(3u, outcome.exitCode);
    EXPECT_EQ("qvctl: there is no device '9'; \"qvctl driver status\" lists those that are there\n",
              outcome.err);
}

TEST(QvctlDriverTest, WrongArgumentsAreRefused) {
    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } kCases[] = {
        {{}, "ACTION is required"},
        {{"begin"}, "'begin' is none of install, status and remove"},
        {{"install"}, "driver install: the driver's INF is missing"},
        {{"install", ""}, "a file name cannot be empty"},
        {{"install", Inf(), "--devices", "0"}, "'0' is no whole number from 1 to 64"},
        {{"install", Inf(), "--id", "ROOT\\OTHER"}, "does not name the hardware id 'ROOT\\OTHER'"},
        {{"install", QvTests::OwnDirectory() + "\\qvctl.exe"}, "is not an INF"},
        {{"install", Inf(), "--device", "1"}, "--device is for remove only"},
        {{"status", "--devices", "1"}, "--devices is for install only"},
        {{"remove"}, "an INF, --id or --device has to say what to remove"},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.message);
        std::vector<std::string> arguments = {"driver"};
        arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
        ExpectWrongUsage(arguments, HasSubstr(one.message));
    }
}

}  // namespace
