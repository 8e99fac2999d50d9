// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verbs that send one request of any kind: control, read, and write with --in.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PipeServer.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "SampleDevice.h"
#include "TestSupport.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::ExpectWrongUsage;
using QvTests::LinesOf;
using QvTests::PipeServer;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using QvTests::ReadBytes;
using QvTests::TemporaryDirectory;
using QvTests::ToolProcess;
using QvTests::WriteBytes;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::size_t kBlockSize = QV_SAMPLE_PARAMETER_COUNT * QV_PARAMETER_RECORD_SIZE;

std::string ToHex(const std::string& aBytes) {
    std::string hex;
    for (const char byte : aBytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
        hex += digits;
    }
    return hex;
}

using QvctlRawTest = QvTests::SampleDeviceTest;
using QvctlRawLoopBackTest = QvTests::SampleLoopBackTest;

// control

TEST_F(QvctlRawTest, AControlRequestIsReportedWithADump) {
    const Outcome outcome = Qvctl({"control", "0x222000", "--out", "65536"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    const std::vector<std::string> lines = LinesOf(outcome.out);
    ASSERT_THAT(lines, SizeIs(3 + (kBlockSize + 15) / 16));
    EXPECT_EQ("code   0x00222000: device 0x22, function 0x800, buffered, any access", lines[0]);
    EXPECT_EQ("bytes  " + std::to_string(kBlockSize), lines[1]);
    EXPECT_THAT(lines[2], MatchesRegex("time   .*s"));
    EXPECT_EQ("00000000  08 00 00 00 00 00 00 00  01 00 00 00 53 00 61 00  |............S.a.|",
              lines[3]);
    EXPECT_THAT(lines[4], StartsWith("00000010  "));
}

TEST_F(QvctlRawTest, ACodeMayBeWrittenInAnyForm) {
    for (const char* code : {"0x222000", "2236416", "0x22:0x800:buffered:any", "34:2048:0:0"}) {
        SCOPED_TRACE(code);
        const json report = Qvctl({"control", code, "--out", "65536", "--json"}).Json();

        EXPECT_EQ(kBlockSize, report["bytes"]);
        EXPECT_EQ(2 * kBlockSize, report["data"].get<std::string>().size());
        EXPECT_EQ(json::parse(R"({"number": 2236416, "hex": "0x00222000", "deviceType": 34,
                                  "function": 2048, "method": "buffered", "access": "any"})"),
                  report["code"]);
        EXPECT_TRUE(report["error"].is_null());
    }
}

TEST_F(QvctlRawTest, ACountWithoutRoomIsReportedAsOne) {
    const Outcome outcome = Qvctl({"control", "0x222004"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.out, HasSubstr("bytes  " + std::to_string(kBlockSize) +
                                       " counted by the device, 0 returned\n"));
}

TEST_F(QvctlRawTest, InputIsSentFromDigitsAndFromAFile) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("record");
    EXPECT_EQ(0u, Qvctl({"control", "0x222000", "--out", "65536", "--out-file", file}).exitCode);
    std::string record = ReadBytes(file).substr(QV_PARAMETER_RECORD_SIZE, QV_PARAMETER_RECORD_SIZE);
    const auto setGain = [&](unsigned char aValue) {
        reinterpret_cast<QV_PARAMETER_RECORD*>(&record[0])->value = aValue;
    };

    setGain(17);
    EXPECT_EQ(0u, Qvctl({"control", "0x222008", "--in", ToHex(record)}).exitCode);
    EXPECT_EQ("17\n", Qvctl({"get", "--value", "Gain"}).out);
    setGain(18);
    WriteBytes(file, record);
    EXPECT_EQ(0u, Qvctl({"control", "0x222008", "--in", "@" + file}).exitCode);
    EXPECT_EQ("18\n", Qvctl({"get", "--value", "Gain"}).out);
}

TEST_F(QvctlRawTest, OutputGoesToAFileOrToStandardOutputAsItIs) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("block");

    const Outcome toFile = Qvctl({"control", "0x222000", "--out", "65536", "--out-file", file});
    const Outcome toOutput = Qvctl({"control", "0x222000", "--out", "65536", "--out-file", "-"});

    EXPECT_THAT(LinesOf(toFile.out), SizeIs(4));
    EXPECT_THAT(toFile.out, EndsWith("file   " + file + "\n"));
    EXPECT_EQ(kBlockSize, ReadBytes(file).size());
    EXPECT_EQ(kBlockSize, toOutput.out.size());
    EXPECT_THAT(toOutput.err, StartsWith("code   0x00222000: "));
}

TEST_F(QvctlRawTest, WhatTheDriverRefusesIsAFailureWithTheSystemsWords) {
    const Outcome small = Qvctl({"control", "0x222000", "--out", "10"});
    const Outcome unknown = Qvctl({"control", "0xFFFFFFFF", "--json"});

    EXPECT_EQ(1u, small.exitCode);
    EXPECT_THAT(small.err, StartsWith("qvctl: the I/O-control request failed: error 122"));
    EXPECT_THAT(small.out, IsEmpty());
    EXPECT_EQ(1u, unknown.exitCode);
    EXPECT_EQ("failed", unknown.Json()["error"]["kind"]);
}

// Peeks at a pipe, which returns 16 bytes and the beginning of the message that waits there.
Outcome PeekAt(const PipeServer& aServer) {
    ToolProcess control(
        {"control", "0x11400c", "--out", "17", "--device", aServer.Name(), "--json"});
    aServer.AwaitClient();
    aServer.TryWrite("more than fits");
    return control.Wait();
}

TEST_F(QvctlRawTest, AnOutputThatDoesNotFitIsShownWithItsError) {
    Outcome outcome = PeekAt(PipeServer());
    // The tool may have asked, and even ended, before the message came.
    while (outcome.Json()["bytes"] == 16) outcome = PeekAt(PipeServer());

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ(17, outcome.Json()["bytes"]);
    EXPECT_THAT(outcome.Json()["data"].get<std::string>(), EndsWith("6d"));
    EXPECT_EQ(ERROR_MORE_DATA, outcome.Json()["error"]["code"]);
}

// read and write --in

TEST_F(QvctlRawLoopBackTest, WhatIsWrittenIsReadAgain) {
    const Outcome written = Qvctl({"write", "--in", "68 656C6c 6f00"});
    const Outcome read = Qvctl({"read", "--size", "100"});

    EXPECT_EQ(0u, written.exitCode) << written.err;
    EXPECT_THAT(LinesOf(written.out), ElementsAre("bytes  6", StartsWith("time   ")));
    EXPECT_EQ(0u, read.exitCode) << read.err;
    EXPECT_THAT(
        LinesOf(read.out),
        ElementsAre("bytes  6", StartsWith("time   "),
                    "00000000  68 65 6c 6c 6f 00                                 |hello.|"));
}

TEST_F(QvctlRawLoopBackTest, JsonHoldsTheBytesInHexadecimal) {
    const json written = Qvctl({"write", "--in", "ff00", "--json"}).Json();
    const json read = Qvctl({"read", "--json"}).Json();

    EXPECT_EQ(2, written["bytes"]);
    EXPECT_TRUE(written["error"].is_null());
    EXPECT_EQ("ff00", read["data"]);
    EXPECT_TRUE(read["outFile"].is_null());
}

TEST_F(QvctlRawLoopBackTest, AWriteThatTheDeviceRefusesIsAFailure) {
    const TemporaryDirectory directory;
    WriteBytes(directory.File("data"), std::string(100000, 'x'));

    const Outcome outcome = Qvctl({"write", "--in", "@" + directory.File("data")});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: writing to the device failed: error 1784"));
}

// Time

TEST_F(QvctlRawTest, AReadWithoutAnAnswerTimesOut) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    const Outcome outcome = Qvctl({"read", "--timeout", "50ms", "--json"});

    EXPECT_EQ(4u, outcome.exitCode);
    EXPECT_EQ(
        "qvctl: Read of 4096 bytes timed out after 50 ms; try a longer --timeout, or \"qvctl "
        "doctor\"\n",
        outcome.err);
    EXPECT_EQ("timed-out", outcome.Json()["error"]["kind"]);
}

TEST_F(QvctlRawTest, ADelayedReadIsWaitedFor) {
    Set(QV_SAMPLE_ID_FAULT_DELAY, 100);

    EXPECT_EQ(0u, Qvctl({"read"}).exitCode);
}

TEST_F(QvctlRawTest, ADriverThatIgnoresCancellingIsGivenUp) {
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, 2000);

    const Outcome outcome = Qvctl({"read", "--timeout", "10ms"});

    EXPECT_EQ(4u, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("; the driver ignores that it was cancelled; try "));
}

// Wrong usage

TEST_F(QvctlRawTest, WrongUsageIsFoundBeforeAnythingIsSent) {
    const TemporaryDirectory directory;
    const std::string large = directory.File("large");
    std::string bytes;
    bytes.resize(16777217);
    WriteBytes(large, bytes);
    struct {
        std::vector<std::string> arguments;
        std::string message;
    } const cases[] = {
        {{"control"}, "CODE is required"},
        {{"control", "0x100000000"}, "'0x100000000' is no control code"},
        {{"control", ""}, "'' is no control code"},
        {{"control", "1:2:3"}, "'1:2:3' is no control code"},
        {{"control", "1:2:3:0:0"}, "'1:2:3:0:0' is no control code"},
        {{"control", "0x10000:0:0:0"}, "'0x10000' is no device type, a number from 0 to 0xffff"},
        {{"control", "1:4096:0:0"}, "'4096' is no function, a number from 0 to 0xfff"},
        {{"control", "1:1:direct:0"},
         "'direct' is no method: buffered, in-direct, out-direct or neither"},
        {{"control", "1:1:0:4"}, "'4' is no access: any, read, write or read-write"},
        {{"control", "1", "--in", "abc"}, "--in: 'abc' is not made of pairs of hexadecimal digits"},
        {{"control", "1", "--in", "0x10"},
         "--in: '0x10' is not made of pairs of hexadecimal digits"},
        {{"control", "1", "--in", "@" + large}, "--in: '" + large + "' has more than 16777216"},
        {{"control", "1", "--out", "16777217"}, "--out: '16777217' is no whole number"},
        {{"control", "1", "--out-file", ""}, "--out-file: a file name cannot be empty"},
        {{"read", "--size", "0"}, "--size: '0' is no whole number from 1 to 16777216"},
        {{"read", "extra"}, "'extra' is an argument too many"},
        {{"write", "--in", ""}, "--in: there is nothing to write"},
        {{"write", "file", "--in", "00"}, "FILE excludes --in"},
        {{"write", "--in", "00", "--size", "1"}, "--size excludes --in"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.message);
        ExpectWrongUsage(oneCase.arguments, StartsWith("qvctl: " + oneCase.message));
    }
}

TEST_F(QvctlRawTest, AFileOfInputThatIsMissingIsAFailure) {
    const Outcome outcome = Qvctl({"control", "1", "--in", "@C:\\missing\\file"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: cannot open 'C:\\missing\\file': error "));
}

}  // namespace
