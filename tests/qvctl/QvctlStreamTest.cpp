// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verbs of the command-line tool that go on for a while, stream, write and watch, as processes
// on the devices of the sample driver.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "KernelObjects.h"
#include "QvKit/Clock.h"
#include "SampleDevice.h"
#include "SamplePackets.h"
#include "TestSupport.h"
#include "ThirdDevice.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::ExpectWrongUsage;
using QvTests::HeaderOf;
using QvTests::LinesOf;
using QvTests::MakePacket;
using Outcome = QvTests::ToolOutcome;
using QvTests::Qvctl;
using QvTests::ReadBytes;
using QvTests::TemporaryDirectory;
using QvTests::ToolProcess;
using QvTests::WriteBytes;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

// On standard error with --verbose, when Ctrl-C is being watched for and reads are about to be
// sent.
constexpr char kStreaming[] = " pending\n";
constexpr char kWatching[] = "qvctl: watching\n";

constexpr char kUtcTime[] = "\\d+-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\dZ";

constexpr std::size_t kPacketSize = 4096;

// The bytes are whole packets, each as the driver makes them and the one behind the one before.
void ExpectPacketsInARow(const std::string& aBytes, std::size_t aCount) {
    ASSERT_EQ(aCount * kPacketSize, aBytes.size());
    for (std::size_t number = 0; number < aCount; ++number) {
        const std::string packet = aBytes.substr(number * kPacketSize, kPacketSize);
        ASSERT_EQ(MakePacket(number, kPacketSize, 0, HeaderOf(packet).timestamp), packet) << number;
    }
}

bool CanBeMade(const std::string& aPath) {
    const QvTests::Handle file(::CreateFileA(aPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                             CREATE_ALWAYS, 0, nullptr));
    return file.IsValid();
}

using QvctlStreamTest = QvTests::SampleDeviceTest;

// stream

TEST_F(QvctlStreamTest, AStreamThatIsVerifiedLosesNothingAtFullSpeed) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);

    const Outcome outcome = Qvctl({"stream", "--packets", "1000", "--verify"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(
        LinesOf(outcome.out),
        ElementsAre("packets                1000", "bytes                  4096000",
                    MatchesRegex("time                   .* m?s"),
                    MatchesRegex("throughput             .* MB/s"), "packet format          sample",
                    "gaps in the sequence   0 (0 packets missing)", "dropped by the driver  0",
                    "verification failures  0",
                    MatchesRegex("between completions    min .* us, median .*s, "
                                 "p99 .*s, max .*s")));
}

TEST_F(QvctlStreamTest, EveryDepthWillDo) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    for (const char* depth : {"2", "8", "1024"}) {
        SCOPED_TRACE(depth);
        EXPECT_EQ(0u,
                  Qvctl({"stream", "--packets", "2000", "--verify", "--depth", depth}).exitCode);
    }
}

TEST_F(QvctlStreamTest, JsonTellsTheReportUnderNamesThatStay) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);

    json report = Qvctl({"stream", "--packets", "50", "--verify", "--json"}).Json();

    EXPECT_EQ(0, report["device"]["index"]);
    EXPECT_THAT(report["seconds"].get<double>(), Gt(0.0));
    EXPECT_THAT(report["bytesPerSecond"].get<double>(), Gt(0.0));
    for (const char* time : {"minimum", "median", "p99", "maximum"}) {
        EXPECT_THAT(report["completionIntervalsUs"][time].get<double>(), Gt(0.0)) << time;
    }
    for (const char* moment : {"began", "ended"}) {
        EXPECT_THAT(report[moment].get<std::string>(), MatchesRegex(kUtcTime)) << moment;
    }
    for (const char* measured :
         {"device", "seconds", "bytesPerSecond", "began", "ended", "completionIntervalsUs"}) {
        report.erase(measured);
    }
    EXPECT_EQ(json::parse(R"({"packets": 50, "bytes": 204800, "format": "sample", "gaps": 0,
                              "packetsMissing": 0, "packetsDropped": 0, "packetsUnnumbered": 0,
                              "verified": true, "verificationFailures": 0,
                              "firstVerificationFailure": null, "out": null, "error": null})"),
              report);
}

TEST_F(QvctlStreamTest, OutHoldsEveryPacketByteForByte) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("packets");
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);

    const json out = Qvctl({"stream", "--packets", "300", "--out", file, "--json"}).Json()["out"];

    EXPECT_EQ(json({{"file", file}, {"packets", 300}, {"bytes", 300 * kPacketSize}}), out);
    ExpectPacketsInARow(ReadBytes(file), 300);
}

TEST_F(QvctlStreamTest, OutThatCannotBeMadeStopsBeforeAnythingIsRead) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("missing") + "\\packets";

    const Outcome outcome = Qvctl({"stream", "--packets", "1", "--out", file});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: cannot create '" + file + "': error 3"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(QvctlStreamTest, AFullDiskIsAnErrorWithAReport) {
    const std::string full = "Z:\\dev\\full";
    if (!CanBeMade(full)) GTEST_SKIP() << "only Wine has a file that is always full";
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);

    const Outcome outcome = Qvctl({"stream", "--packets", "500", "--out", full, "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: cannot write 'Z:\\dev\\full': error 112"));
    EXPECT_EQ(0, outcome.Json()["out"]["packets"]);
    EXPECT_EQ(112, outcome.Json()["error"]["code"]);
}

TEST_F(QvctlStreamTest, ProgressIsALineEachSecondWhereThereIsNoTerminal) {
    const Outcome outcome = Qvctl({"stream", "--seconds", "1.5"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(
        LinesOf(outcome.err),
        ElementsAre(MatchesRegex("\\d+ packets?  .* MB/s  \\d+ dropped  \\d+%  \\d+ s left")));
}

TEST_F(QvctlStreamTest, QuietShowsTheReportOnly) {
    const Outcome outcome = Qvctl({"stream", "--seconds", "1.1", "--quiet"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(outcome.out, StartsWith("packets "));
}

TEST_F(QvctlStreamTest, AFailingReadEndsWithAReportAndAFileOfWhatWasReceived) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("packets");
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    ToolProcess stream({"stream", "--verify", "--json", "--out", file, "--verbose"});
    stream.AwaitError(kStreaming);

    Set(QV_SAMPLE_ID_FAULT_FAIL_READS, 1);
    const Outcome outcome = stream.Wait();

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("qvctl: reading from the device failed: error "));
    const json report = outcome.Json();
    EXPECT_EQ("failed", report["error"]["kind"]);
    EXPECT_EQ(0, report["packetsMissing"]);
    EXPECT_EQ(0, report["verificationFailures"]);
    ExpectPacketsInARow(ReadBytes(file), report["packets"]);
}

TEST_F(QvctlStreamTest, ShortReadsAreFailuresAndTheirBytesAreInTheFile) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("packets");
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    Set(QV_SAMPLE_ID_FAULT_SHORT_READS, 3);

    const Outcome outcome =
        Qvctl({"stream", "--packets", "10", "--verify", "--json", "--out", file});

    EXPECT_EQ(1u, outcome.exitCode);
    const json report = outcome.Json();
    EXPECT_EQ(10, report["packets"]);
    EXPECT_EQ(3, report["verificationFailures"]);
    EXPECT_EQ("packet 0: 2016 bytes of payload instead of 4064",
              report["firstVerificationFailure"]);
    EXPECT_EQ(0, report["packetsMissing"]);
    EXPECT_EQ(3 * kPacketSize / 2 + 7 * kPacketSize, ReadBytes(file).size());
    EXPECT_EQ(report["bytes"], ReadBytes(file).size());
}

TEST_F(QvctlStreamTest, PacketsThatTheDriverDropsAreALossWithVerifyOnly) {
    // More than any program can take.
    Set(QV_SAMPLE_ID_PACKET_RATE, 100000);
    for (const bool verify : {false, true}) {
        SCOPED_TRACE(verify);
        std::vector<std::string> arguments = {"stream",  "--packets", "500",
                                              "--depth", "2",         "--json"};
        if (verify) arguments.emplace_back("--verify");

        const Outcome outcome = Qvctl(arguments);

        EXPECT_EQ(verify ? 1u : 0u, outcome.exitCode);
        const json report = outcome.Json();
        EXPECT_THAT(report["packetsDropped"].get<int>(), Gt(0));
        EXPECT_EQ(report["packetsDropped"], report["packetsMissing"]);
        EXPECT_THAT(report["gaps"].get<int>(), Gt(0));
    }
}

TEST_F(QvctlStreamTest, PacketsMayGrowWhileTheyAreStreamed) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    ToolProcess stream({"stream", "--packets", "20", "--verify", "--json", "--verbose"});
    stream.AwaitError(kStreaming);

    Set(QV_SAMPLE_ID_PACKET_SIZE, 65536);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 0);

    const Outcome outcome = stream.Wait();
    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_EQ(20 * 65536, outcome.Json()["bytes"]);
}

TEST_F(QvctlStreamTest, ADeviceThatIsSilentDoesNotHoldUpTheEnd) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    const Outcome outcome = Qvctl({"stream", "--seconds", "0.2", "--json"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_EQ(0, outcome.Json()["packets"]);
    EXPECT_TRUE(outcome.Json()["completionIntervalsUs"].is_null());
}

TEST_F(QvctlStreamTest, PacketsThatAreNotKnownCannotBeVerified) {
    const Outcome outcome = Qvctl({"stream", "--verify", "--packets", "1", "--interface",
                                   "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}"});

    EXPECT_EQ(2u, outcome.exitCode);
    EXPECT_EQ(
        "qvctl: --verify: the packets of devices with the interface "
        "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30} are not known\n",
        outcome.err);
}

TEST_F(QvctlStreamTest, RawBytesAreWhatTheDriverReturnsInReadsOfTheSizeAskedFor) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("packets");
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);

    const json report =
        Qvctl({"stream", "--packets", "5", "--raw", "--size", "4096", "--out", file, "--json"})
            .Json();

    EXPECT_EQ("raw", report["format"]);
    EXPECT_TRUE(report["gaps"].is_null());
    ExpectPacketsInARow(ReadBytes(file), 5);
}

TEST_F(QvctlStreamTest, WhicheverEndComesFirstIsTheEnd) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    const Outcome fewer =
        Qvctl({"stream", "--packets", "7", "--seconds", "1000", "--timeout", "100ms"});
    EXPECT_EQ(1u, fewer.exitCode);
    EXPECT_EQ("qvctl: only 0 of 7 packets have come before the time was over\n", fewer.err);
    EXPECT_THAT(fewer.out, StartsWith("packets                0\n"));
    EXPECT_EQ(0u, Qvctl({"stream", "--timeout", "1000s", "--seconds", "0.1"}).exitCode);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 0);
    EXPECT_EQ(0u, Qvctl({"stream", "--packets", "1", "--timeout", "1000s"}).exitCode);
}

TEST_F(QvctlStreamTest, OfPacketsThatAreNotKnownOnlyTheNumberIsTold) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    const std::string path = Qvctl({"list", "--json"}).Json()["devices"][0]["path"];

    const json report = Qvctl({"stream", "--packets", "20", "--json", "--device", path,
                               "--interface", "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}"})
                            .Json();

    EXPECT_EQ(20, report["packets"]);
    EXPECT_EQ("raw", report["format"]);
    for (const char* unknown :
         {"gaps", "packetsMissing", "packetsDropped", "verificationFailures"}) {
        EXPECT_TRUE(report[unknown].is_null()) << unknown;
    }
}

TEST_F(QvctlStreamTest, ASecondStreamIsToldThatTheDeviceIsInUse) {
    const TemporaryDirectory directory;
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    ToolProcess first({"stream", "--packets", "1", "--verbose"});
    first.AwaitError(kStreaming);

    const Outcome second = Qvctl({"stream", "--packets", "1", "--out", directory.File("packets")});

    EXPECT_EQ(1u, second.exitCode);
    EXPECT_THAT(second.err,
                StartsWith("qvctl: the device is in use: another qvctl is streaming from \\\\?\\"));
    EXPECT_FALSE(QvTests::FileExists(directory.File("packets")));
    EXPECT_EQ(0u, Qvctl({"stream", "--packets", "1", "--device", "1"}).exitCode);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 0);
    EXPECT_EQ(0u, first.Wait().exitCode);
}

TEST_F(QvctlStreamTest, ADeviceThatIsRemovedEndsAllThatGoesOn) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("packets");
    QvTests::ThirdDevice device;
    device.Add();
    ToolProcess stream({"stream", "--device", "2", "--out", file, "--json", "--verbose"});
    ToolProcess watch({"watch", "Gain", "--device", "2", "--every", "20", "--verbose"});
    stream.AwaitError(kStreaming);
    watch.AwaitError(kWatching);

    device.Remove();

    const Outcome streamed = stream.Wait();
    EXPECT_EQ(1u, streamed.exitCode);
    EXPECT_THAT(streamed.err, HasSubstr("reading from the device failed: error "));
    EXPECT_EQ("failed", streamed.Json()["error"]["kind"]);
    EXPECT_EQ(streamed.Json()["bytes"], ReadBytes(file).size());
    const Outcome watched = watch.Wait();
    EXPECT_EQ(1u, watched.exitCode);
    EXPECT_THAT(watched.err, HasSubstr("qvctl: the device has been removed: cannot read "));
}

// Ctrl-C

class QvctlCtrlCTest : public QvctlStreamTest {
protected:
    // Ctrl-C reaches the programs of one console.
    static void SetUpTestSuite() {
        ::FreeConsole();
        hasConsole_ = ::AllocConsole() != FALSE;
    }
    static void TearDownTestSuite() { ::FreeConsole(); }

    void SetUp() override {
        if (!hasConsole_) GTEST_SKIP() << "there is no console to press Ctrl-C on";
        QvctlStreamTest::SetUp();
    }

    // Starts the tool and presses Ctrl-C as soon as it has printed the text.
    static Outcome Interrupt(const std::vector<std::string>& aArguments, const char* aText) {
        ToolProcess tool(aArguments, CREATE_NEW_PROCESS_GROUP);
        tool.AwaitError(aText);
        EXPECT_TRUE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, tool.Id())) << ::GetLastError();
        return tool.Wait();
    }

private:
    inline static bool hasConsole_ = false;
};

TEST_F(QvctlCtrlCTest, StopsAStreamWithAReport) {
    const Outcome outcome = Interrupt({"stream", "--json", "--verbose"}, kStreaming);

    EXPECT_EQ(130u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.err), Contains("qvctl: interrupted"));
    EXPECT_EQ("interrupted", outcome.Json()["error"]["kind"]);
    EXPECT_EQ(outcome.Json()["packets"].get<int>() * 4096, outcome.Json()["bytes"]);
}

TEST_F(QvctlCtrlCTest, StopsAStreamOfADeviceThatIsSilent) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    EXPECT_EQ(130u, Interrupt({"stream", "--depth", "64", "--verbose"}, kStreaming).exitCode);
}

TEST_F(QvctlCtrlCTest, StopsARequestThatHangs) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);

    const Outcome outcome = Interrupt({"read", "--verbose", "--json"}, "sending");

    EXPECT_EQ(130u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.err),
                Contains("qvctl: interrupted: Read of 4096 bytes was cancelled"));
    EXPECT_EQ("interrupted", outcome.Json()["error"]["kind"]);
}

TEST_F(QvctlCtrlCTest, DoesNotWaitForADriverThatIgnoresCancelling) {
    constexpr unsigned int kLatenessMs = 10000;
    Set(QV_SAMPLE_ID_FAULT_IGNORE_CANCEL, kLatenessMs);
    const QvKit::Stopwatch stopwatch;

    EXPECT_EQ(130u, Interrupt({"read", "--verbose"}, "sending").exitCode);

    EXPECT_LT(stopwatch.GetTime(), std::chrono::milliseconds(kLatenessMs));
}

TEST_F(QvctlCtrlCTest, StopsAKeptProfile) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("empty.json");
    WriteBytes(path, R"({ "format": "QvUserLib settings", "version": 1, "parameters": [] })");

    const Outcome outcome = Interrupt({"keep", path, "--verbose"}, "qvctl: keeping\n");

    EXPECT_EQ(130u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.err), Contains("qvctl: interrupted"));
}

TEST_F(QvctlCtrlCTest, StopsTheWaitForADevice) {
    const Outcome outcome =
        Interrupt({"show", "--device", "99", "--wait", "1000s", "--verbose"}, "waiting");

    EXPECT_EQ(130u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.err), Contains("qvctl: interrupted"));
}

TEST_F(QvctlCtrlCTest, StopsAWatchWithAnObjectOnALine) {
    const Outcome outcome = Interrupt({"watch", "Gain", "--json", "--verbose"}, kWatching);

    EXPECT_EQ(130u, outcome.exitCode);
    ASSERT_THAT(LinesOf(outcome.out), SizeIs(1));
    EXPECT_EQ("interrupted", outcome.Json()["error"]["kind"]);
}

TEST_F(QvctlCtrlCTest, StopsAWriteToADeviceThatIsBusy) {
    BeginLoopBack();
    const TemporaryDirectory directory;
    WriteBytes(directory.File("data"), std::string(200000, 'x'));

    const Outcome outcome =
        Interrupt({"write", directory.File("data"), "--wait", "3600000"}, "16 requests");

    EXPECT_EQ(130u, outcome.exitCode);
    EXPECT_THAT(LinesOf(outcome.out), Contains("bytes                65536"));
}

// write

class QvctlWriteTest : public QvctlStreamTest {
protected:
    void SetUp() override {
        QvctlStreamTest::SetUp();
        if (HasFatalFailure()) return;
        BeginLoopBack();
        for (std::size_t number = 0; number < kPackets; ++number) {
            packets_ += MakePacket(number, kPacketSize);
        }
        WriteBytes(Source(), packets_);
    }

    std::string Source() const { return directory_.File("sent"); }
    std::string Target() const { return directory_.File("received"); }

    static constexpr std::size_t kPackets = 40;  // More than the loop-back buffer holds.
    const TemporaryDirectory directory_;
    std::string packets_;
};

TEST_F(QvctlWriteTest, WhatIsWrittenComesBackThroughTheStream) {
    const std::string some = packets_.substr(0, 10 * kPacketSize);
    WriteBytes(Source(), some);

    const Outcome written = Qvctl({"write", Source(), "--size", "4096"});
    const Outcome read = Qvctl({"stream", "--packets", "10", "--verify", "--out", Target()});

    EXPECT_EQ(0u, written.exitCode) << written.err;
    EXPECT_THAT(LinesOf(written.out),
                ElementsAre("requests             10", "bytes                40960",
                            StartsWith("time "), StartsWith("throughput "),
                            "sent again           0 times, as the device was busy",
                            StartsWith("between completions  min ")));
    EXPECT_EQ(0u, read.exitCode) << read.err;
    EXPECT_EQ(some, ReadBytes(Target()));
}

TEST_F(QvctlWriteTest, BytesThatAreNoPacketsComeBackWholeInAnyPieces) {
    std::string bytes;
    for (int number = 0; number < 9001; ++number) {
        bytes += static_cast<char>(number * 7 + number / 256);
    }
    WriteBytes(Source(), bytes);
    for (const std::size_t size : {kPacketSize, std::size_t{1}, std::size_t{1000}}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(0u, Qvctl({"write", Source(), "--size", "777"}).exitCode);
        const std::size_t reads = (bytes.size() + size - 1) / size;
        std::vector<std::string> arguments = {"stream", "--json",    "--out",
                                              Target(), "--packets", std::to_string(reads)};
        // The size of the device's packets is the default.
        if (size != kPacketSize)
            arguments.insert(arguments.end(), {"--size", std::to_string(size)});

        const Outcome read = Qvctl(arguments);

        EXPECT_EQ(0u, read.exitCode) << read.err;
        EXPECT_TRUE(bytes == ReadBytes(Target()));
        const json report = read.Json();
        EXPECT_EQ("sample", report["format"]);
        EXPECT_EQ(bytes.size(), report["out"]["bytes"]);
        EXPECT_TRUE(report["gaps"].is_null());
        EXPECT_TRUE(report["packetsMissing"].is_null());
        EXPECT_EQ(reads, report["packetsUnnumbered"]);
        EXPECT_EQ(reads, report["verificationFailures"]);
    }
}

TEST_F(QvctlWriteTest, OfBytesThatAreNoPacketsNoSequenceIsReported) {
    WriteBytes(Source(), "text");
    EXPECT_EQ(0u, Qvctl({"write", Source()}).exitCode);

    const Outcome read = Qvctl({"stream", "--packets", "1"});

    EXPECT_THAT(LinesOf(read.out),
                AllOf(Contains("gaps in the sequence   unknown: no packet with a number has come"),
                      Contains("dropped by the driver  unknown")));
}

TEST_F(QvctlWriteTest, WhatIsNoPacketFailsToVerify) {
    WriteBytes(Source(), "text");
    EXPECT_EQ(0u, Qvctl({"write", Source()}).exitCode);

    EXPECT_EQ(1u, Qvctl({"stream", "--packets", "1", "--verify"}).exitCode);
}

TEST_F(QvctlWriteTest, ABusyDeviceIsWaitedFor) {
    ToolProcess write({"write", Source(), "--wait", "30000", "--json"});
    const Outcome read = Qvctl({"stream", "--packets", std::to_string(kPackets), "--depth", "2",
                                "--verify", "--out", Target()});
    const Outcome written = write.Wait();

    EXPECT_EQ(0u, written.exitCode) << written.err;
    EXPECT_EQ(kPackets * kPacketSize, written.Json()["bytes"]);
    EXPECT_EQ(0u, read.exitCode) << read.err;
    EXPECT_EQ(packets_, ReadBytes(Target()));
}

TEST_F(QvctlWriteTest, ADeviceThatStaysBusyIsAFailureWithAReport) {
    const Outcome outcome = Qvctl({"write", Source(), "--wait", "20", "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err,
                StartsWith("qvctl: the device has taken nothing for 20 ms: error 170"));
    const json report = outcome.Json();
    EXPECT_EQ(16, report["requests"]);
    EXPECT_EQ(65536, report["bytes"]);
    EXPECT_THAT(report["busyRetries"].get<int>(), Gt(0));
    EXPECT_EQ(170, report["error"]["code"]);
}

TEST_F(QvctlWriteTest, ARequestThatTheDeviceRefusesIsAFailure) {
    const Outcome outcome = Qvctl({"write", Source(), "--size", "100000"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, StartsWith("qvctl: writing to the device failed: error 1784"));
    EXPECT_THAT(LinesOf(outcome.out), Contains("bytes                0"));
}

TEST_F(QvctlWriteTest, AnEmptyFileTakesNoRequest) {
    WriteBytes(Source(), "");

    const Outcome outcome = Qvctl({"write", Source(), "--json"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_EQ(0, outcome.Json()["requests"]);
}

TEST_F(QvctlWriteTest, AFileThatIsMissingIsAFailure) {
    const Outcome outcome = Qvctl({"write", directory_.File("missing")});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err,
                StartsWith("qvctl: cannot open '" + directory_.File("missing") + "': error 2"));
}

// watch

TEST_F(QvctlStreamTest, WatchPrintsAChangeThatSomeoneMakes) {
    ToolProcess watch({"watch", "Label", "Gain", "--every", "10", "--count", "1", "--verbose"});
    watch.AwaitError(kWatching);

    Set(QV_SAMPLE_ID_GAIN, 12);

    const Outcome outcome = watch.Wait();
    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(outcome.out,
                MatchesRegex(".*\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d  Gain: 6 dB -> 12 dB\n"));
}

TEST_F(QvctlStreamTest, WatchPrintsTheValuesAtTheBeginningOnRequest) {
    const Outcome outcome =
        Qvctl({"watch", "Gain", "OperatingMode", "--initial", "--seconds", "0.1"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(LinesOf(outcome.out),
                ElementsAre(EndsWith("  Gain: 6 dB"), EndsWith("  OperatingMode: Continuous")));
}

TEST_F(QvctlStreamTest, ValuesAtTheBeginningHaveNothingBeforeInJson) {
    json first = Qvctl({"watch", "Gain", "--initial", "--seconds", "0.1", "--json"}).Json();

    EXPECT_THAT(first["time"].get<std::string>(), MatchesRegex(kUtcTime));
    first.erase("time");
    EXPECT_EQ(json({{"name", "Gain"}, {"what", "present"}, {"before", nullptr}, {"after", 6}}),
              first);
}

TEST_F(QvctlStreamTest, WatchReadsVolatileParametersFromTheDriver) {
    const std::vector<std::string> lines =
        LinesOf(Qvctl({"watch", "--every", "1", "--count", "3"}).out);

    ASSERT_THAT(lines, SizeIs(3));
    for (const std::string& line : lines) EXPECT_THAT(line, HasSubstr("  Temperature: "));
}

TEST_F(QvctlStreamTest, WatchAsJsonIsAnObjectALine) {
    ToolProcess watch(
        {"watch", "OperatingMode", "Gain", "--every", "10", "--count", "2", "--json", "--verbose"});
    watch.AwaitError(kWatching);

    Set(QV_SAMPLE_ID_OPERATING_MODE, 1);
    Set(QV_SAMPLE_ID_GAIN, 7);

    const std::vector<std::string> lines = LinesOf(watch.Wait().out);
    ASSERT_THAT(lines, SizeIs(2));
    json first = json::parse(lines[0]);
    EXPECT_THAT(first["time"].get<std::string>(), MatchesRegex(kUtcTime));
    first.erase("time");
    EXPECT_EQ(json({{"name", "OperatingMode"},
                    {"what", "value"},
                    {"before", "Continuous"},
                    {"after", "Triggered"}}),
              first);
    EXPECT_EQ(7, json::parse(lines[1])["after"]);
}

TEST_F(QvctlStreamTest, WatchEndsWhenItsTimeIsOver) {
    const Outcome outcome = Qvctl({"watch", "Gain", "--seconds", "0.1", "--every", "30"});

    EXPECT_EQ(0u, outcome.exitCode);
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(QvctlStreamTest, WatchOfAnUnknownNameIsRefused) {
    const Outcome outcome = Qvctl({"watch", "gain", "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: gain: The specified parameter doesn't exist (did you mean Gain?)\n",
              outcome.err);
    EXPECT_THAT(LinesOf(outcome.out), SizeIs(1));
    EXPECT_EQ("refused", outcome.Json()["error"]["kind"]);
}

// Wrong usage

TEST_F(QvctlStreamTest, WrongUsageIsOneLineAndAnExitCodeOfItsOwn) {
    struct {
        std::vector<std::string> arguments;
        std::string message;
    } const cases[] = {
        {{"stream", "--packets", "0"}, "--packets: '0' is no whole number from 1 to 4294967295"},
        {{"stream", "--packets", "4294967296"},
         "--packets: '4294967296' is no whole number from 1 to 4294967295"},
        {{"stream", "--packets", "-1"}, "--packets: '-1' is no whole number from 1 to 4294967295"},
        {{"stream", "--depth", "1"}, "--depth: '1' is no whole number from 2 to 1024"},
        {{"stream", "--depth", "1025"}, "--depth: '1025' is no whole number from 2 to 1024"},
        {{"stream", "--depth", "8x"}, "--depth: '8x' is no whole number from 2 to 1024"},
        {{"stream", "--seconds", "0"},
         "--seconds: '0' is no time in seconds, above 0 and up to 1000000"},
        {{"stream", "--seconds", "nan"},
         "--seconds: 'nan' is no time in seconds, above 0 and up to 1000000"},
        {{"stream", "--timeout", "0.1"},
         "--timeout: '0.1' is no duration such as 500ms, 30s or 2min"},
        {{"restart", "--timeout", "soon"},
         "--timeout: 'soon' is no duration such as 500ms, 30s or 2min"},
        {{"show", "--timeout", "-1"}, "--timeout: '-1' is negative; a duration is 0 or more"},
        {{"set", "Gain=1", "--wait", ""}, "--wait: '' is no duration such as 500ms, 30s or 2min"},
        {{"write", "file", "--wait", "1h"},
         "--wait: '1h' is no duration such as 500ms, 30s or 2min"},
        {{"stream", "--wait", "2000000s"},
         "--wait: '2000000s' is too long; the longest duration is 1000000s"},
        {{"list", "--timeout", "1s"}, "--timeout has no effect on list"},
        {{"doctor", "--wait", "1s"}, "--wait has no effect on doctor"},
        {{"get", "Gain", "--timeout", "1s", "--timeout", "2s"},
         "--timeout is given more than once"},
        {{"stream", "--size", "0"}, "--size: '0' is no whole number from 1 to 16777216"},
        {{"stream", "--raw", "--verify"}, "--verify excludes --raw"},
        {{"stream", "--out", ""}, "--out: a file name cannot be empty"},
        {{"stream", "extra"}, "'extra' is an argument too many"},
        {{"write"}, "FILE or --in is required"},
        {{"write", "file", "--size", "0"}, "--size: '0' is no whole number from 1 to 16777216"},
        {{"watch", "--every", "0"}, "--every: '0' is no whole number from 1 to 86400000"},
        {{"watch", "--count", "1", "--seconds", "1"}, "--count excludes --seconds"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.message);
        ExpectWrongUsage(oneCase.arguments, "qvctl: " + oneCase.message + "; see \"qvctl " +
                                                oneCase.arguments[0] + " --help\"\n");
    }
}

}  // namespace
