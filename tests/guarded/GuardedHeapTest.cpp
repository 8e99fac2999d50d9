// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The guarded heap notices what it is there for. Each misuse is a test of GuardedProbe, which runs
// as a process of its own.

#include <string>

#include "ProgramRun.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr unsigned long kAccessViolation = 0xC0000005;

Outcome RunProbe(const std::string& aTest) {
    return RunProgram(L"GuardedProbe.exe", {"--gtest_filter=GuardedProbe." + aTest});
}

/// The test fails with this text from the heap.
void ExpectReport(const std::string& aTest, const std::string& aText) {
    const Outcome outcome = RunProbe(aTest);
    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.out, HasSubstr("guarded heap: " + aText));
    EXPECT_THAT(outcome.out, HasSubstr("[  FAILED  ] GuardedProbe." + aTest));
}

/// The program ends where it touches what is not its own, and says in which test.
void ExpectCrash(const std::string& aTest, const std::string& aText) {
    const Outcome outcome = RunProbe(aTest);
    EXPECT_EQ(kAccessViolation, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("guarded heap: GuardedProbe." + aTest + ": " + aText));
}

TEST(GuardedHeapTest, WriteBehindALibraryBlockEndsTheProgram) {
    ExpectCrash("WritesBehindALibraryBlock",
                "write to byte 6 of a live block of 6 bytes, taken with new[]");
}

TEST(GuardedHeapTest, ReadBehindALibraryBlockEndsTheProgram) {
    ExpectCrash("ReadsBehindALibraryBlock",
                "read of byte 6 of a live block of 6 bytes, taken with new[]");
}

TEST(GuardedHeapTest, ReadOfAFreedBlockEndsTheProgram) {
    ExpectCrash("ReadsAFreedLibraryBlock",
                "read of byte 0 of a freed block of 6 bytes, taken with new[]");
}

TEST(GuardedHeapTest, WriteFarBehindABlockEndsTheProgram) {
    ExpectCrash("WritesFarBehindABlock", "write to byte 48 of a live block of 40 bytes");
}

TEST(GuardedHeapTest, WriteBetweenABlockAndItsPagesEndFailsTheTest) {
    ExpectReport("WritesOneByteBehindABlock", "write beside the block: block of 13 bytes");
}

TEST(GuardedHeapTest, WriteBeforeABlockFailsTheTest) {
    ExpectReport("WritesOneByteBeforeABlock", "write beside the block: block of 13 bytes");
}

TEST(GuardedHeapTest, LeakFailsTheTest) {
    ExpectReport("KeepsABlock", "GuardedProbe.KeepsABlock leaks: 4 bytes from new at");
}

TEST(GuardedHeapTest, LeakOfALibraryBlockFailsTheTest) {
    ExpectReport("KeepsALibraryBlock",
                 "GuardedProbe.KeepsALibraryBlock leaks: 6 bytes from new[] at");
}

TEST(GuardedHeapTest, ArrayReleasedAsAnObjectFailsTheTest) {
    ExpectReport("ReleasesAnArrayAsAnObject",
                 "mismatched release with delete: block of 13 bytes from new[]");
}

TEST(GuardedHeapTest, ObjectReleasedWithFreeFailsTheTest) {
    ExpectReport("ReleasesAnObjectWithFree",
                 "mismatched release with free: block of 4 bytes from new");
}

TEST(GuardedHeapTest, SecondReleaseFailsTheTest) {
    ExpectReport("ReleasesTwice", "second release, with delete: block of 4 bytes from new");
}

TEST(GuardedHeapTest, ReleaseOfAnInnerAddressFailsTheTest) {
    ExpectReport("ReleasesTheMiddleOfABlock", "delete[] inside a block: block of 13 bytes");
}

TEST(GuardedHeapTest, WhatIsMadeOnceAndKeptIsNoLeak) {
    const Outcome outcome = RunProbe("KeepsWhatIsMadeOnce");
    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.out, Not(HasSubstr("guarded heap")));
}

TEST(GuardedHeapTest, TestThatKeepsToItsMemoryPasses) {
    const Outcome outcome = RunProbe("KeepsToItsMemory");
    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.out, HasSubstr("[  PASSED  ] 1 test."));
}

}  // namespace
}  // namespace QvTests
