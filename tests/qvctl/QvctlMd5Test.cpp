// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The command-line tool's digests of files. No device is needed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ProgramRun.h"
#include "TestSupport.h"
#include "digest/FileDigest.h"

namespace {

using nlohmann::json;
using Qvctl::DigestLine;
using Qvctl::FormatDigestLine;
using Qvctl::ParseDigestLine;
using QvTests::Outcome;
using QvTests::OwnDirectory;
using QvTests::RunProgram;
using QvTests::TemporaryDirectory;
using QvTests::WriteBytes;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kDigestOfAbc[] = "900150983cd24fb0d6963f7d28e17f72";
constexpr char kDigestOfNothing[] = "d41d8cd98f00b204e9800998ecf8427e";

// Backslashes doubled, as in the lists.
std::string Escaped(const std::string& aPath) {
    std::string escaped;
    for (const char character : aPath) escaped += std::string(character == '\\' ? 2 : 1, character);
    return escaped;
}

class QvctlMd5Test : public testing::Test {
protected:
    QvctlMd5Test() {
        WriteBytes(abc_, "abc");
        WriteBytes(empty_, "");
    }

    static Outcome Md5(std::vector<std::string> aArguments) {
        aArguments.insert(aArguments.begin(), "md5");
        return RunProgram(OwnDirectory() + "\\qvctl.exe", aArguments);
    }

    Outcome Check(const std::string& aList, std::vector<std::string> aMore = {}) const {
        const std::string list = directory_.File("list.md5");
        WriteBytes(list, aList);
        aMore.insert(aMore.begin(), {"--check", list});
        return Md5(aMore);
    }

    const TemporaryDirectory directory_;
    const std::string abc_ = directory_.File("abc.bin");
    const std::string empty_ = directory_.File("empty.bin");
    const std::string missing_ = directory_.File("missing.bin");
};

TEST_F(QvctlMd5Test, PrintsALineForEachFile) {
    const Outcome outcome = Md5({abc_, empty_});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ("\\" + std::string(kDigestOfAbc) + "  " + Escaped(abc_) + "\n\\" + kDigestOfNothing +
                  "  " + Escaped(empty_) + "\n",
              outcome.out);
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(QvctlMd5Test, FileThatCannotBeReadDoesNotHinderTheOthers) {
    const Outcome outcome = Md5({missing_, abc_});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.out, HasSubstr(kDigestOfAbc));
    EXPECT_THAT(outcome.err, HasSubstr("qvctl: " + missing_ + ": cannot be read (error 2"));
}

TEST_F(QvctlMd5Test, JsonHasNameAndDigest) {
    const json files = json::parse(Md5({abc_, "--json"}).out)["files"];

    ASSERT_EQ(1u, files.size());
    EXPECT_EQ(abc_, files[0]["file"]);
    EXPECT_EQ(kDigestOfAbc, files[0]["md5"]);
}

TEST_F(QvctlMd5Test, PrintedListIsVerified) {
    const Outcome outcome = Check(Md5({abc_, empty_}).out);

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ(abc_ + ": OK\n" + empty_ + ": OK\n", outcome.out);
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(QvctlMd5Test, ListMayBeWrittenOtherwise) {
    const std::string upper = "900150983CD24FB0D6963F7D28E17F72";

    EXPECT_EQ(abc_ + ": OK\n", Check(upper + " *" + abc_ + "\r\n").out);
}

TEST_F(QvctlMd5Test, ChangedFileIsFound) {
    const Outcome outcome = Check(std::string(kDigestOfNothing) + "  " + abc_ + "\n" +
                                  kDigestOfNothing + "  " + empty_ + "\n");

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ(abc_ + ": FAILED\n" + empty_ + ": OK\n", outcome.out);
    EXPECT_EQ("qvctl: " + abc_ + ": has another digest\n", outcome.err);
}

TEST_F(QvctlMd5Test, MissingFileIsFound) {
    const Outcome outcome = Check(std::string(kDigestOfAbc) + "  " + missing_ + "\n");

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ(missing_ + ": FAILED open or read\n", outcome.out);
}

TEST_F(QvctlMd5Test, FailedCheckAsJsonNamesTheFiles) {
    const Outcome outcome = Check(std::string(kDigestOfNothing) + "  " + abc_ + "\n", {"--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    const json error = json::parse(outcome.out)["error"];
    EXPECT_EQ(abc_, error["refusals"][0]["name"]);
    EXPECT_EQ("has another digest", error["refusals"][0]["reason"]);
}

TEST_F(QvctlMd5Test, LinesOfOtherKindsArePassedOver) {
    const Outcome outcome = Check("# a remark\n" + std::string(kDigestOfAbc) + "  " + abc_ + "\n");

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_EQ(abc_ + ": OK\n", outcome.out);
    EXPECT_THAT(outcome.err, HasSubstr("1 line(s) of"));
}

TEST_F(QvctlMd5Test, ListWithoutDigestsIsRefused) {
    const Outcome outcome = Check("nothing of the kind\n");

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("has no line with a digest and a name"));
}

TEST_F(QvctlMd5Test, ListThatIsMissingIsRefused) {
    const Outcome outcome = Md5({"--check", missing_});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: cannot read the list '" + missing_ + "'\n", outcome.err);
}

TEST_F(QvctlMd5Test, EitherFilesOrAListAreNeeded) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, std::vector<std::string>{abc_, "--check", abc_}}) {
        const Outcome outcome = Md5(arguments);
        EXPECT_EQ(2u, outcome.exitCode);
        EXPECT_THAT(outcome.err, HasSubstr("either files or --check LIST are needed"));
    }
}

TEST_F(QvctlMd5Test, LargeFileTellsItsProgressOnly) {
    WriteBytes(empty_, std::string(20 << 20, 'x'));

    const Outcome outcome = Md5({empty_, abc_, "--verbose"});

    EXPECT_THAT(outcome.err, HasSubstr("qvctl: 50 % "));
    EXPECT_THAT(outcome.err, HasSubstr("qvctl: 100 % "));
    EXPECT_THAT(outcome.err, Not(HasSubstr("% " + abc_)));
    EXPECT_THAT(Md5({empty_}).err, IsEmpty());
}

TEST(DigestLineTest, AnyNameComesBackFromItsLine) {
    for (const char* const name : {"plain", "two  blanks", "C:\\folder\\file", "end\nof\rline",
                                   "\\", " *star", "\xC3\xBC"}) {
        SCOPED_TRACE(name);
        const auto line = ParseDigestLine(FormatDigestLine(DigestLine{kDigestOfAbc, name}));
        ASSERT_TRUE(line.has_value());
        EXPECT_EQ(kDigestOfAbc, line->digest);
        EXPECT_EQ(name, line->path);
    }
}

TEST(DigestLineTest, NameWithoutMarkIsTakenAsItIs) {
    const auto line = ParseDigestLine(std::string(kDigestOfAbc) + "  C:\\new\\file");
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ("C:\\new\\file", line->path);
}

TEST(DigestLineTest, OtherTextsAreNoLines) {
    const std::string digest = kDigestOfAbc;
    for (const std::string& text :
         {std::string(), digest, digest + "  ", digest + " name", digest + "-  name",
          digest.substr(1) + "  name", "g" + digest.substr(1) + "  name", "\\" + digest + "  a\\b",
          "\\" + digest + "  a\\", std::string("\\")}) {
        EXPECT_FALSE(ParseDigestLine(text).has_value()) << text;
    }
}

}  // namespace
