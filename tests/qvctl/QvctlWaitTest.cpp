// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verbs that follow devices as they come and go, on devices of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "QvKit/DeviceList.h"
#include "QvSample/QvSampleDevice.h"
#include "ThirdDevice.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::ExpectWrongUsage;
using QvTests::LinesOf;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using QvTests::ThirdDevice;
using QvTests::ToolProcess;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

constexpr char kWaiting[] = "qvctl: waiting\n";
constexpr char kWatching[] = "qvctl: watching\n";

std::string PathOf(std::size_t aIndex) {
    return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(aIndex).path;
}

// What follows the time in a line.
std::vector<std::string> WithoutTimes(const std::string& aText) {
    constexpr std::size_t kTime = sizeof "12:00:00.000  " - 1;
    std::vector<std::string> lines = LinesOf(aText);
    for (std::string& line : lines) {
        EXPECT_THAT(line.substr(0, kTime), MatchesRegex("..:..:..\\....  "));
        line.erase(0, kTime);
    }
    return lines;
}

// wait

TEST(QvctlWaitTest, WhatIsThereHasArrived) {
    const Outcome outcome = Qvctl({"wait", "--for", "arrival"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ(PathOf(0) + "\n", outcome.out);
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST(QvctlWaitTest, WhatIsNotThereHasGone) {
    const Outcome outcome = Qvctl({"wait", "--for", "removal", "--device", "99"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(QvctlWaitTest, APathIsFoundInAnySpelling) {
    std::string path = PathOf(1);
    path[2] = '.';
    for (char& character : path) {
        if (character == 'q') character = 'Q';
    }

    const Outcome arrived = Qvctl({"wait", "--for", "arrival", "--device", path});

    EXPECT_EQ(0u, arrived.exitCode);
    EXPECT_EQ(path + "\n", arrived.out);
}

TEST(QvctlWaitTest, AnArrivalEndsTheWait) {
    ToolProcess wait({"wait", "--for", "arrival", "--device", "2", "--verbose", "--json"});
    wait.AwaitError(kWaiting);
    ThirdDevice device;

    device.Add();

    const Outcome outcome = wait.Wait();
    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ((json{{"event", "arrival"}, {"device", {{"index", 2}, {"path", PathOf(2)}}}}),
              outcome.Json());
}

TEST(QvctlWaitTest, ARemovalEndsTheWait) {
    ThirdDevice device;
    device.Add();
    const std::string path = PathOf(2);
    ToolProcess wait({"wait", "--for", "removal", "--device", path, "--verbose"});
    wait.AwaitError(kWaiting);

    device.Remove();

    const Outcome outcome = wait.Wait();
    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ(path + "\n", outcome.out);
}

TEST(QvctlWaitTest, WithoutAnArrivalInTimeTheExitCodeIs4) {
    const Outcome outcome =
        Qvctl({"wait", "--for", "arrival", "--device", "99", "--timeout", "20"});

    EXPECT_EQ(4u, outcome.exitCode);
    EXPECT_EQ("qvctl: no device has come within 20 ms\n", outcome.err);
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(QvctlWaitTest, WithoutARemovalInTimeTheErrorIsOfItsOwnKind) {
    const json error =
        Qvctl({"wait", "--for", "removal", "--timeout", "20ms", "--json"}).Json()["error"];

    EXPECT_EQ("timed-out", error["kind"]);
    EXPECT_EQ(4, error["exitCode"]);
    EXPECT_EQ("'" + PathOf(0) + "' has not gone within 20 ms", error["message"]);
}

TEST(QvctlWaitTest, OtherEventsAreWrongUsage) {
    ExpectWrongUsage(
        {"wait", "--for", "rain"},
        "qvctl: --for: 'rain' is neither arrival nor removal; see \"qvctl wait --help\"\n");
}

// --wait of other verbs

TEST(QvctlWaitOptionTest, ADeviceThatIsThereIsNotWaitedFor) {
    const Outcome outcome = Qvctl({"get", "Gain", "--wait", "100s", "--verbose"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.err), Not(Contains("qvctl: waiting")));
}

TEST(QvctlWaitOptionTest, ADeviceThatComesIsUsed) {
    ToolProcess get({"get", "Gain", "--device", "2", "--wait", "100s", "--verbose"});
    get.AwaitError(kWaiting);
    ThirdDevice device;

    device.Add();

    const Outcome outcome = get.Wait();
    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_EQ("Gain=6\n", outcome.out);
}

TEST(QvctlWaitOptionTest, ADeviceThatIsThereIsFoundByEachOfItsNames) {
    const std::string serial = Qvctl({"get", "SerialNumber", "--value", "--device", "1"}).out;
    for (const std::string& device :
         {PathOf(1), std::string("root\\qvsample\\0001"),
          "SerialNumber=" + serial.substr(0, serial.find_first_of("\r\n"))}) {
        SCOPED_TRACE(device);
        const Outcome outcome = Qvctl({"get", "Gain", "--device", device, "--wait", "100s"});

        EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    }
}

TEST(QvctlWaitOptionTest, OneThatDoesNotComeInTimeIsAnErrorOfItsOwnKind) {
    struct {
        std::string device;
        std::string message;
    } const cases[] = {
        {"99", "there is no device 99; those present are 0 to 1"},
        {"\\\\.\\nowhere", "there is no device '\\\\.\\nowhere'"},
        {"ROOT\\QVSAMPLE\\9999", "there is no device 'ROOT\\QVSAMPLE\\9999'"},
        {"SerialNumber=none", "no device has 'SerialNumber=none'"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.device);
        const Outcome outcome = Qvctl({"show", "--device", oneCase.device, "--wait", "20"});

        EXPECT_EQ(4u, outcome.exitCode);
        EXPECT_EQ("qvctl: " + oneCase.message + "; it has not come within 20 ms\n", outcome.err);
        EXPECT_THAT(outcome.out, IsEmpty());
    }
}

// watch --devices

TEST(QvctlWatchDevicesTest, ArrivalsAndRemovalsAreALineEach) {
    ToolProcess watch(
        {"watch", "--devices", QV_SAMPLE_INTERFACE_TEXT, "--count", "2", "--verbose"});
    watch.AwaitError(kWatching);
    ThirdDevice device;

    device.Add();
    const std::string path = PathOf(2);
    device.Remove();

    const Outcome outcome = watch.Wait();
    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(WithoutTimes(outcome.out), ElementsAre("arrival  " + path, "removal  " + path));
}

TEST(QvctlWatchDevicesTest, OfAnyClassEachIsAnObjectWithItsClass) {
    ToolProcess watch({"watch", "--devices", "--json", "--count", "1", "--verbose"});
    watch.AwaitError(kWatching);
    ThirdDevice device;

    device.Add();

    const Outcome outcome = watch.Wait();
    ASSERT_THAT(LinesOf(outcome.out), SizeIs(1));
    json event = outcome.Json();
    event.erase("time");
    EXPECT_EQ(
        (json{{"event", "arrival"}, {"interface", QV_SAMPLE_INTERFACE_TEXT}, {"path", PathOf(2)}}),
        event);
}

TEST(QvctlWatchDevicesTest, WhatIsPresentComesFirstIfItIsWanted) {
    const std::vector<std::string> arguments = {"watch", "--devices", QV_SAMPLE_INTERFACE_TEXT,
                                                "--seconds", "0.2"};
    std::vector<std::string> initial = arguments;
    initial.push_back("--initial");

    EXPECT_THAT(Qvctl(arguments).out, IsEmpty());
    EXPECT_THAT(WithoutTimes(Qvctl(initial).out),
                ElementsAre("present  " + PathOf(0), "present  " + PathOf(1)));
}

TEST(QvctlWatchDevicesTest, WrongArgumentsAreWrongUsage) {
    ExpectWrongUsage({"watch", "--devices", "qv"},
                     "qvctl: --devices: 'qv' is no GUID such as " QV_SAMPLE_INTERFACE_TEXT "\n");
    ExpectWrongUsage({"watch", "Gain", "--devices"},
                     "qvctl: NAME excludes --devices; see \"qvctl watch --help\"\n");
    ExpectWrongUsage({"watch", "--devices", "--every", "10"},
                     "qvctl: --every excludes --devices; see \"qvctl watch --help\"\n");
}

}  // namespace
