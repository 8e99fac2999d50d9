// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the tool tells of itself and of the machine that it runs on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "ProgramRun.h"
#include "TestSupport.h"
#include "commandline/CommandLine.h"
#include "doctor/Doctor.h"

namespace {

using nlohmann::json;
using Qvctl::Check;
using Qvctl::Findings;
using Qvctl::Verdict;
using QvTests::Outcome;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

Outcome RunQvctl(const std::vector<std::string>& aArguments) {
    return QvTests::RunProgram(L"qvctl.exe", aArguments);
}

// Where all is well.
Findings Healthy() {
    Findings findings = {};
    findings.toolVersion = "1.2.3";
    findings.libraries = {{"QvUserLib64.dll", "C:\\q\\QvUserLib64.dll", "1.2.3"},
                          {"QvBaseLib64.dll", "C:\\q\\QvBaseLib64.dll", "1.2.3"}};
    findings.interfaceClass = "{class}";
    findings.registered = 1;
    findings.devices = {{"\\\\?\\device", {}, "", ""}};
    findings.logDirectory = "C:\\q\\log4cxx\\x64\\Release";
    findings.hasLog4cxx = true;
    findings.logConfig = "C:\\q\\log4cxx\\default.logcfg";
    findings.hasLogConfig = true;
    return findings;
}

Check Find(const Findings& aFindings, const std::string& aName) {
    for (const Check& check : Judge(aFindings)) {
        if (check.name == aName) return check;
    }
    ADD_FAILURE() << "no check " << aName;
    return Check{};
}

TEST(JudgeTest, NothingIsWrongWhereAllIsWell) {
    for (const Check& check : Judge(Healthy())) {
        EXPECT_EQ(Verdict::Ok, check.verdict) << check.name;
        EXPECT_THAT(check.advice, IsEmpty()) << check.name;
    }
}

TEST(JudgeTest, DllOfAnotherReleaseIsAProblemAndItsPathIsTold) {
    Findings findings = Healthy();
    findings.libraries[1].version = "1.2.2";

    const Check check = Find(findings, "versions");

    EXPECT_EQ(Verdict::Problem, check.verdict);
    EXPECT_EQ("qvctl 1.2.3, QvUserLib64.dll 1.2.3, QvBaseLib64.dll 1.2.2 (C:\\q\\QvBaseLib64.dll)",
              check.found);
}

TEST(JudgeTest, DllWithoutVersionIsAProblem) {
    Findings findings = Healthy();
    findings.libraries[0].version.clear();

    const Check check = Find(findings, "versions");

    EXPECT_EQ(Verdict::Problem, check.verdict);
    EXPECT_THAT(check.found, HasSubstr("QvUserLib64.dll ? (C:\\q\\QvUserLib64.dll)"));
}

TEST(JudgeTest, WithoutTheSampleDriverItsSetupIsAdvised) {
    Findings findings = Healthy();
    findings.devices.clear();
    findings.registered = 0;
    findings.isSample = true;

    const Check check = Find(findings, "driver");

    EXPECT_EQ(Verdict::Problem, check.verdict);
    EXPECT_EQ("no device has had the interface {class}", check.found);
    EXPECT_THAT(check.advice, HasSubstr("qvctl driver install"));
}

TEST(JudgeTest, WithoutAnotherDriverTheSampleIsNotAdvised) {
    Findings findings = Healthy();
    findings.devices.clear();
    findings.registered = 0;

    EXPECT_THAT(Find(findings, "driver").advice, Not(HasSubstr("driver install")));
}

TEST(JudgeTest, KnownDeviceThatIsNotStartedIsAProblemOfTheDevices) {
    Findings findings = Healthy();
    findings.devices.clear();

    EXPECT_EQ(Verdict::Ok, Find(findings, "driver").verdict);
    EXPECT_EQ(Verdict::Problem, Find(findings, "devices").verdict);
    EXPECT_EQ("none is started", Find(findings, "devices").found);
}

TEST(JudgeTest, DeviceThatDeniesAccessAsksForAnAdministrator) {
    Findings findings = Healthy();
    findings.devices[0].openKind = QvKit::ErrorKind::AccessDenied;
    findings.devices[0].openReason = "error 5: Access denied";

    const Check check = Find(findings, "access");

    EXPECT_EQ(Verdict::Problem, check.verdict);
    EXPECT_EQ("cannot open \\\\?\\device: error 5: Access denied", check.found);
    EXPECT_THAT(check.advice, HasSubstr("as administrator"));
}

TEST(JudgeTest, DeviceThatSomeoneElseHasAsksToEndThatProgram) {
    Findings findings = Healthy();
    findings.devices[0].openKind = QvKit::ErrorKind::DeviceInUse;

    EXPECT_EQ("end the program that has the device for itself", Find(findings, "access").advice);
}

TEST(JudgeTest, ParametersThatDoNotLoadAreAProblemOfTheDriver) {
    Findings findings = Healthy();
    findings.devices[0].loadReason = "DeviceIoControl failed";

    const Check check = Find(findings, "parameters");

    EXPECT_EQ(Verdict::Problem, check.verdict);
    EXPECT_EQ("cannot load those of \\\\?\\device: DeviceIoControl failed", check.found);
}

TEST(JudgeTest, MissingLog4cxxIsAWarning) {
    Findings findings = Healthy();
    findings.hasLog4cxx = false;

    const Check check = Find(findings, "log4cxx");

    EXPECT_EQ(Verdict::Warning, check.verdict);
    EXPECT_THAT(check.found, HasSubstr("C:\\q\\log4cxx\\x64\\Release"));
}

TEST(JudgeTest, MissingLogConfigurationIsAWarning) {
    Findings findings = Healthy();
    findings.hasLogConfig = false;

    const Check check = Find(findings, "log4cxx");

    EXPECT_EQ(Verdict::Warning, check.verdict);
    EXPECT_THAT(check.found, HasSubstr("default.logcfg is missing"));
}

TEST(QvctlDoctorTest, SampleDevicesAreWell) {
    const Outcome outcome = RunQvctl({"doctor", "--json"});

    ASSERT_EQ(0u, outcome.exitCode) << outcome.out;
    const json checks = json::parse(outcome.out)["checks"];
    ASSERT_EQ(6u, checks.size());
    for (const json& check : checks) {
        // Logging is not part of every build.
        if (check["name"] == "log4cxx") continue;
        EXPECT_EQ("ok", check["verdict"]) << check;
    }
}

TEST(QvctlDoctorTest, ProblemMakesTheExitCodeOneAndAdviceFollowsIt) {
    const Outcome outcome =
        RunQvctl({"doctor", "--interface", "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.out,
                HasSubstr("problem  driver      no device has had the interface "
                          "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}\n"
                          "                     -> install the device's driver, or give another "
                          "class with --interface\n"));
    EXPECT_EQ("qvctl: problems found: 2\n", outcome.err);
}

TEST(QvctlDoctorTest, ProblemIsToldInTheReportAsJson) {
    const Outcome outcome =
        RunQvctl({"doctor", "--json", "--interface", "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}"});

    EXPECT_EQ("problems found: 2", json::parse(outcome.out)["error"]["message"]);
}

TEST(QvctlVersionTest, VersionNamesToolAndLibrariesWithTheirFiles) {
    const json version = json::parse(RunQvctl({"version", "--json"}).out);

    EXPECT_EQ(QVCTL_TEST_VERSION, version["qvctl"]);
    ASSERT_EQ(2u, version["libraries"].size());
    EXPECT_EQ("QvUserLib64.dll", version["libraries"][0]["name"]);
    EXPECT_EQ(QVCTL_TEST_VERSION, version["libraries"][0]["version"]);
    EXPECT_THAT(version["libraries"][0]["path"].get<std::string>(), EndsWith("\\QvUserLib64.dll"));
}

TEST(QvctlVersionTest, VersionWithoutJsonBeginsWithTheTool) {
    EXPECT_THAT(
        RunQvctl({"version"}).out,
        StartsWith("qvctl " QVCTL_TEST_VERSION "\nQvUserLib64.dll " QVCTL_TEST_VERSION "  "));
}

TEST(QvctlCompletionTest, UnknownShellIsWrongUsage) {
    const Outcome outcome = RunQvctl({"completion", "csh"});

    EXPECT_EQ(2u, outcome.exitCode);
    EXPECT_EQ("qvctl: SHELL: csh not in {bash,powershell}; see \"qvctl completion --help\"\n",
              outcome.err);
}

TEST(QvctlCompletionTest, PowerShellScriptKnowsEveryVerbAndOption) {
    const std::string script = RunQvctl({"completion", "powershell"}).out;

    for (const auto& verb : Qvctl::DescribeProgram(Qvctl::MakeAllVerbs()).verbs) {
        EXPECT_THAT(script, HasSubstr("    '" + verb.name + "' = @{\n")) << verb.name;
        for (const auto& option : verb.options) {
            EXPECT_THAT(script, HasSubstr("'" + option.name + "'")) << verb.name;
        }
    }
}

TEST(QvctlHelpTest, HelpOfEveryVerbFitsEightyColumnsAndHasAnExample) {
    for (const auto& verb : Qvctl::DescribeProgram(Qvctl::MakeAllVerbs()).verbs) {
        SCOPED_TRACE(verb.name);
        const std::string help = RunQvctl({verb.name, "--help"}).out;

        EXPECT_THAT(help, HasSubstr("\n  qvctl " + verb.name));
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
    }
}

TEST(DescribeProgramTest, OptionHasItsValueAndItsTextInOneLine) {
    const auto program = Qvctl::DescribeProgram(Qvctl::MakeAllVerbs());
    const auto& options = program.verbs.at(1).options;
    const auto device = std::find_if(options.begin(), options.end(), [](const auto& aOption) {
        return aOption.name == "--device";
    });

    ASSERT_NE(options.end(), device);
    EXPECT_EQ("DEVICE", device->value);
    EXPECT_EQ(
        "The device: its number in the list (by default 0), its path, its instance ID, or "
        "NAME=VALUE of a parameter that no other device has",
        device->summary);
    EXPECT_TRUE(program.IsShared(*device));
}

TEST(DescribeProgramTest, OnlyWordsInSmallLettersAreChoices) {
    Qvctl::OptionDescription option = {"SHELL", "bash|powershell", "", true};
    EXPECT_THAT(option.GetChoices(), testing::ElementsAre("bash", "powershell"));

    option.value = "N|PATH";
    EXPECT_THAT(option.GetChoices(), IsEmpty());
}

}  // namespace
