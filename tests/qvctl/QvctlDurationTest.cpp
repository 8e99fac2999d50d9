// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Lengths of time on the command line.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "commandline/CommandLine.h"
#include "commandline/Duration.h"
#include "kit/KitTestSupport.h"

namespace {

using QvTests::ErrorOf;
using QvTests::MessageOf;
using std::chrono::milliseconds;

TEST(QvctlDurationTest, UnitsAreReadAndANumberAloneIsInMilliseconds) {
    EXPECT_EQ(milliseconds(500), Qvctl::ParseDuration("500ms"));
    EXPECT_EQ(milliseconds(30000), Qvctl::ParseDuration("30s"));
    EXPECT_EQ(milliseconds(120000), Qvctl::ParseDuration("2min"));
    EXPECT_EQ(milliseconds(250), Qvctl::ParseDuration("250"));
    EXPECT_EQ(milliseconds(0), Qvctl::ParseDuration("0"));
    EXPECT_EQ(milliseconds(1000000000), Qvctl::ParseDuration("1000000s"));
}

TEST(QvctlDurationTest, OtherTextsAreRefused) {
    for (const std::string text :
         {"", "s", "ms", "1h", "1 s", " 1s", "1.5s", "1S", "0x10", "+1s", "1s2", "ten"}) {
        SCOPED_TRACE(text);
        const auto error = ErrorOf([&] { (void)Qvctl::ParseDuration(text); });

        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(QvKit::ErrorKind::WrongUse, error->GetKind());
        EXPECT_EQ("'" + text + "' is no duration such as 500ms, 30s or 2min",
                  std::string(error->what()));
    }
}

TEST(QvctlDurationTest, ANegativeOneIsRefused) {
    EXPECT_EQ("'-5s' is negative; a duration is 0 or more",
              MessageOf([] { (void)Qvctl::ParseDuration("-5s"); }));
}

TEST(QvctlDurationTest, OneThatIsTooLongIsRefused) {
    for (const std::string text : {"1000000001", "1000001s", "16667min", "9223372036854775807min",
                                   "9223372036854775808", "99999999999999999999s"}) {
        EXPECT_EQ("'" + text + "' is too long; the longest duration is 1000000s",
                  MessageOf([&] { (void)Qvctl::ParseDuration(text); }));
    }
}

TEST(QvctlDurationTest, AMistakeNamesTheOption) {
    const Qvctl::Verbs verbs = Qvctl::MakeAllVerbs();
    const auto parse = [&](const std::string& aText) {
        return MessageOf([&] {
            (void)Qvctl::ParseCommandLine({"wait", "--for", "arrival", "--timeout", aText}, verbs);
        });
    };

    EXPECT_EQ(
        "--timeout: '1h' is no duration such as 500ms, 30s or 2min; see \"qvctl wait --help\"",
        parse("1h"));
    EXPECT_EQ("--timeout: '-5s' is negative; a duration is 0 or more; see \"qvctl wait --help\"",
              parse("-5s"));
}

}  // namespace
