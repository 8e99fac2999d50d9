// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the tool shows of devices of any driver, on those of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "QvKit/DeviceList.h"
#include "QvKit/FileVersion.h"
#include "QvSample/QvSampleDevice.h"
#include "TestSupport.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::LinesOf;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string PathOf(std::size_t aIndex) {
    return QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(aIndex).path;
}

std::string DriverVersion() {
    return QvKit::ReadFileVersion(QvTests::OwnDirectory() + "\\QvSampleDriver.sys").version;
}

// info

TEST(QvctlInfoTest, EachFactIsALine) {
    const Outcome outcome = Qvctl({"info", "--device", "1"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.err, IsEmpty());
    const std::vector<std::string> lines = LinesOf(outcome.out);
    EXPECT_THAT(lines, Contains("instance ID      ROOT\\QVSAMPLE\\0001"));
    EXPECT_THAT(lines, Contains("description      QvUserLib sample device"));
    EXPECT_THAT(lines, Contains("hardware IDs     ROOT\\QVSAMPLE"));
    EXPECT_THAT(lines, Contains("present          yes"));
    EXPECT_THAT(lines, Contains("service          QvSampleDriver"));
    EXPECT_THAT(lines, Contains("driver version   " + DriverVersion()));
    EXPECT_THAT(lines, Contains("interfaces       " + PathOf(1)));
}

TEST(QvctlInfoTest, ADeviceIsNamedByNumberPathAndInstanceId) {
    const std::string expected = Qvctl({"info", "--device", "1"}).out;

    EXPECT_EQ(expected, Qvctl({"info", "--device", PathOf(1)}).out);
    EXPECT_EQ(expected, Qvctl({"info", "--device", "root\\qvsample\\0001"}).out);
}

TEST(QvctlInfoTest, JsonHasWhatIsKnown) {
    const json info = Qvctl({"info", "--json"}).Json();

    EXPECT_EQ("ROOT\\QVSAMPLE\\0000", info["instanceId"]);
    EXPECT_EQ(true, info["present"]);
    EXPECT_EQ(DriverVersion(), info["driver"]["version"]);
    EXPECT_THAT(info["driver"]["file"].get<std::string>(), EndsWith("QvSampleDriver.sys"));
    EXPECT_EQ(PathOf(0), info["interfaces"][0]["path"]);
    EXPECT_EQ(true, info["interfaces"][0]["active"]);
    EXPECT_FALSE(info.contains("problem"));
}

TEST(QvctlInfoTest, WhatIsNotThereIsNoDevice) {
    for (const char* name : {"99", "ROOT\\NOWHERE\\0000", "ROOT\\QVSAMPLE\\0000\\Device Parameters",
                             "\\\\.\\NOWHERE", "\\\\?\\root#qvsample#0000#", "SerialNumber=none"}) {
        SCOPED_TRACE(name);
        const Outcome outcome = Qvctl({"info", "--device", name});

        EXPECT_EQ(3u, outcome.exitCode);
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_THAT(outcome.err, HasSubstr("qvctl: "));
    }
}

TEST(QvctlInfoTest, ADeviceThatDoesNotComeIsATimeout) {
    for (const char* const verb : {"info", "restart"}) {
        SCOPED_TRACE(verb);
        const Outcome outcome = Qvctl({verb, "--device", "99", "--wait", "10ms"});

        EXPECT_EQ(4u, outcome.exitCode);
        EXPECT_THAT(outcome.err, HasSubstr("it has not come within 10 ms"));
    }
    EXPECT_EQ(Qvctl({"info", "--device", "1"}).out,
              Qvctl({"info", "--device", "ROOT\\QVSAMPLE\\0001", "--wait", "10s"}).out);
}

TEST(QvctlInfoTest, WrongArgumentsAreRefused) {
    EXPECT_EQ(2u, Qvctl({"info", "Gain"}).exitCode);
    EXPECT_EQ(2u, Qvctl({"info", "--device", ""}).exitCode);
    EXPECT_EQ(2u, Qvctl({"info", "--device", "COM1"}).exitCode);
    EXPECT_EQ(2u, Qvctl({"info", "--all"}).exitCode);
}

// list --all

TEST(QvctlInfoTest, ListAllHasTheDevicesOfEachClass) {
    const Outcome outcome = Qvctl({"list", "--all"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.out, HasSubstr(QV_SAMPLE_INTERFACE_TEXT "\n  0  " + PathOf(0) +
                                       "  QvUserLib sample device\n  1  " + PathOf(1) +
                                       "  QvUserLib sample device\n"));
}

TEST(QvctlInfoTest, ListAllAsJsonHasInstanceIds) {
    const json classes = Qvctl({"list", "--all", "--present=yes", "--json"}).Json()["classes"];

    for (const json& one : classes) {
        if (one["interface"] != QV_SAMPLE_INTERFACE_TEXT) continue;
        ASSERT_THAT(one["devices"], SizeIs(2));
        EXPECT_EQ((json{{"index", 1},
                        {"path", PathOf(1)},
                        {"instanceId", "ROOT\\QVSAMPLE\\0001"},
                        {"name", "QvUserLib sample device"}}),
                  one["devices"][1]);
        return;
    }
    FAIL() << "the class of the sample devices is missing";
}

TEST(QvctlInfoTest, PresentDevicesAreNotAmongThoseThatWereThereOnce) {
    const Outcome outcome = Qvctl({"list", "--all", "--present=no", "--json"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_TRUE(outcome.Json()["absent"].is_array());
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("ROOT\\\\QVSAMPLE\\\\0000")));
}

TEST(QvctlInfoTest, WrongListsAreRefused) {
    EXPECT_EQ("qvctl: --present is for --all only\n", Qvctl({"list", "--present=no"}).err);
    const Outcome outcome = Qvctl({"list", "--all", "--present", "maybe"});
    EXPECT_EQ("qvctl: --present: 'maybe' is neither yes nor no\n", outcome.err);
    EXPECT_EQ(2u, outcome.exitCode);
}

// restart

TEST(QvctlInfoTest, ARestartThatTheSystemLacksIsAFailure) {
    if (::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr)
        GTEST_SKIP() << "Windows restarts the device";

    const Outcome outcome = Qvctl({"restart", "--device", "1", "--timeout", "30s"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: cannot restart 'ROOT\\QVSAMPLE\\0001': this system cannot restart devices\n",
              outcome.err);
}

TEST(QvctlInfoTest, WhatIsNotThereIsNotRestarted) {
    const Outcome outcome = Qvctl({"restart", "--device", "ROOT\\NOWHERE\\0000"});

    EXPECT_EQ(3u, outcome.exitCode);
    EXPECT_EQ("qvctl: there is no device 'ROOT\\NOWHERE\\0000'\n", outcome.err);
}

// save

TEST(QvctlInfoTest, ASavedProfileNamesTheVersionOfTheDriver) {
    const QvTests::TemporaryDirectory directory;
    const std::string path = directory.File("a.json");

    EXPECT_EQ(0u, Qvctl({"save", path}).exitCode);

    EXPECT_EQ(DriverVersion(), json::parse(QvTests::ReadBytes(path))["device"]["driverVersion"]);
}

}  // namespace
