// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the command-line tool logs. The verb for it needs no device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ActivityLog.h"
#include "ProgramRun.h"
#include "RequireLog4cxx.h"
#include "TestSupport.h"

namespace {

using QvTests::Outcome;
using QvTests::OwnDirectory;
using QvTests::ReadLines;
using QvTests::RunProgram;
using QvTests::TemporaryDirectory;
using QvTests::WriteBytes;
using QvUserLib::PriorityLevel;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class QvctlLogTest : public testing::Test {
protected:
    QvctlLogTest() {
        std::string path = log_;
        for (char& character : path) {
            if (character == '\\') character = '/';
        }
        WriteBytes(config_,
                   "log4j.rootLogger=ALL, F\n"
                   "log4j.appender.F=org.apache.log4j.FileAppender\n"
                   "log4j.appender.F.File=" +
                       path +
                       "\n"
                       "log4j.appender.F.layout=org.apache.log4j.PatternLayout\n"
                       "log4j.appender.F.layout.ConversionPattern=%p|%c|%m%n\n");
        WriteBytes(file_, "abc");
    }

    static Outcome Md5(std::vector<std::string> aArguments) {
        aArguments.insert(aArguments.begin(), "md5");
        return RunProgram(OwnDirectory() + "\\qvctl.exe", aArguments);
    }

    const TemporaryDirectory directory_;
    const std::string config_ = directory_.File("tool.logcfg");
    const std::string log_ = directory_.File("tool.log");
    const std::string file_ = directory_.File("abc.bin");
    const std::string missing_ = directory_.File("missing.bin");
};

TEST_F(QvctlLogTest, BeginAndEndAreLogged) {
    REQUIRE_LOG4CXX();
    EXPECT_EQ(0u, Md5({file_, "--log-config", config_}).exitCode);

    EXPECT_THAT(ReadLines(log_), ElementsAre("INFO|qvctl|md5 begins", "INFO|qvctl|md5 is done"));
}

TEST_F(QvctlLogTest, FailureIsLoggedAsItIsTold) {
    REQUIRE_LOG4CXX();
    const Outcome outcome = Md5({missing_, "--log-config", config_, "--log-level", "error"});

    EXPECT_EQ(1u, outcome.exitCode);
    const std::vector<std::string> lines = ReadLines(log_);
    ASSERT_EQ(1u, lines.size());
    EXPECT_THAT(lines[0], HasSubstr("ERROR|qvctl|md5 " + missing_ + ": cannot be read"));
    EXPECT_THAT(outcome.err, HasSubstr(missing_ + ": cannot be read"));
}

TEST_F(QvctlLogTest, LowerLevelLogsTheStepsToo) {
    REQUIRE_LOG4CXX();
    EXPECT_EQ(0u, Md5({file_, "--log-config", config_, "--log-level", "Debug"}).exitCode);

    EXPECT_THAT(ReadLines(log_),
                ElementsAre("INFO|qvctl|md5 begins", "DEBUG|qvctl|md5 reading " + file_,
                            "INFO|qvctl|md5 is done"));
}

TEST_F(QvctlLogTest, WorkingLogSaysNothingOfItself) {
    REQUIRE_LOG4CXX();
    EXPECT_THAT(Md5({file_, "--log-config", config_, "--verbose"}).err,
                Not(HasSubstr("logging is off")));
}

TEST_F(QvctlLogTest, LogThatIsOffIsToldOnceToThoseWhoAsk) {
    // Where there is no log4cxx.
    QvTests::CopyProgramTo("qvctl.exe", directory_.Path());
    const std::string tool = directory_.File("qvctl.exe");

    const std::string quiet = RunProgram(tool, {"md5", file_, "--log-config", config_}).err;
    const std::string told =
        RunProgram(tool, {"md5", file_, "--log-config", config_, "--verbose"}).err;

    EXPECT_THAT(quiet, Not(HasSubstr("logging")));
    const std::size_t place = told.find("qvctl: logging is off");
    ASSERT_NE(std::string::npos, place) << told;
    EXPECT_EQ(std::string::npos, told.find("logging is off", place + 10));
}

TEST_F(QvctlLogTest, WithoutTheOptionsNothingIsLogged) {
    ASSERT_TRUE(::SetEnvironmentVariableA("QV_LOG_CONFIG", config_.c_str()));
    EXPECT_EQ(0u, Md5({file_}).exitCode);
    ::SetEnvironmentVariableA("QV_LOG_CONFIG", nullptr);

    EXPECT_FALSE(QvTests::FileExists(log_));
}

TEST_F(QvctlLogTest, MissingConfigurationIsRefused) {
    const Outcome outcome = Md5({file_, "--log-config", missing_});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: there is no log configuration '" + missing_ + "'\n", outcome.err);
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(QvctlLogTest, UnknownLevelIsWrongUsage) {
    const Outcome outcome = Md5({file_, "--log-level", "loud"});

    EXPECT_EQ(2u, outcome.exitCode);
    EXPECT_EQ(
        "qvctl: 'loud' is no log level; there are off, fatal, error, warn, info, debug, trace, "
        "all\n",
        outcome.err);
}

TEST(LogLevelTest, NamesAreTakenInAnyCase) {
    EXPECT_EQ(PriorityLevel::Warn, Qvctl::ParseLogLevel("warn"));
    EXPECT_EQ(PriorityLevel::Off, Qvctl::ParseLogLevel("OFF"));
    EXPECT_EQ(PriorityLevel::All, Qvctl::ParseLogLevel("All"));
}

}  // namespace
