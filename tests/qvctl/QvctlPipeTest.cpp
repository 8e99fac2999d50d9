// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The verbs stream and write on pipes: devices whose drivers know no parameters, and packets of no
// known format.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PipeServer.h"
#include "QvSample/QvSampleDevice.h"
#include "SamplePackets.h"
#include "TestSupport.h"
#include "ToolProcess.h"

namespace {

using nlohmann::json;
using QvTests::FileExists;
using QvTests::LinesOf;
using QvTests::MakePacket;
using QvTests::PipeServer;
using QvTests::Qvctl;
using QvTests::ReadBytes;
using QvTests::TemporaryDirectory;
using QvTests::ToolOutcome;
using QvTests::ToolProcess;
using QvTests::WriteBytes;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

// On standard error with --verbose, when reads are about to be sent.
constexpr char kStreaming[] = " pending\n";

// Every byte there is, twice, with line ends and an end of text in the middle.
std::string EveryByte() {
    std::string bytes;
    for (int byte = 0; byte < 512; ++byte) bytes += static_cast<char>(byte);
    return bytes + "\r\n\x1A\n";
}

class QvctlPipeTest : public testing::Test {
protected:
    std::string Out() const { return directory_.File("out"); }

    // Streams until the server, which sends these, closes the pipe.
    ToolOutcome Stream(std::vector<std::string> aArguments,
                       const std::vector<std::string>& aMessages) {
        aArguments.insert(aArguments.begin(), {"stream", "--device", server_.Name(), "--verbose"});
        ToolProcess stream(aArguments);
        stream.AwaitError(kStreaming);
        for (const std::string& message : aMessages) server_.Write(message);
        server_.Close();
        return stream.Wait();
    }

    const TemporaryDirectory directory_;
    PipeServer server_;
};

TEST_F(QvctlPipeTest, EveryByteOfADeviceOfAnotherKindIsWritten) {
    const ToolOutcome outcome =
        Stream({"--out", Out(), "--json"}, {"odd", EveryByte(), std::string(4096, 'x'), "."});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_THAT(outcome.err, HasSubstr("qvctl: reading from the device failed: error 109"));
    EXPECT_EQ("odd" + EveryByte() + std::string(4096, 'x') + ".", ReadBytes(Out()));
    const json report = outcome.Json();
    EXPECT_EQ("raw", report["format"]);
    EXPECT_EQ(ReadBytes(Out()).size(), report["bytes"]);
    EXPECT_EQ(report["bytes"], report["out"]["bytes"]);
    for (const char* unknown : {"gaps", "packetsMissing", "packetsDropped", "packetsUnnumbered",
                                "verificationFailures"}) {
        EXPECT_TRUE(report[unknown].is_null()) << unknown;
    }
}

TEST_F(QvctlPipeTest, SmallReadsLoseNothing) {
    EXPECT_EQ(1u, Stream({"--out", Out(), "--size", "3"}, {EveryByte(), "end"}).exitCode);

    EXPECT_EQ(EveryByte() + "end", ReadBytes(Out()));
}

TEST_F(QvctlPipeTest, TheReportNamesTheFormatAndNoSequence) {
    const ToolOutcome outcome = Stream({}, {"bytes"});

    EXPECT_THAT(LinesOf(outcome.out), Contains("packet format        raw"));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("gaps")));
}

TEST_F(QvctlPipeTest, StandardOutputGetsTheBytesAndStandardErrorTheReport) {
    const ToolOutcome outcome = Stream({"--out", "-"}, {EveryByte(), "end"});

    EXPECT_EQ(EveryByte() + "end", outcome.out);
    EXPECT_THAT(LinesOf(outcome.err), Contains("bytes                519"));
    EXPECT_THAT(outcome.err, HasSubstr(", 519 bytes, to standard output\n"));
}

TEST_F(QvctlPipeTest, WithTheBytesOnStandardOutputJsonIsTheEndOfStandardError) {
    const ToolOutcome outcome = Stream({"--out", "-", "--json"}, {EveryByte()});

    EXPECT_EQ(EveryByte(), outcome.out);
    const json report = json::parse(outcome.err.substr(outcome.err.find("\n{\n")));
    EXPECT_EQ("-", report["out"]["file"]);
    EXPECT_EQ(109, report["error"]["code"]);
}

TEST_F(QvctlPipeTest, FewerPacketsThanAskedForMakeTheExitCodeOne) {
    const ToolOutcome outcome = Qvctl(
        {"stream", "--device", server_.Name(), "--packets", "2", "--timeout", "100ms", "--json"});

    EXPECT_EQ(1u, outcome.exitCode);
    EXPECT_EQ("qvctl: only 0 of 2 packets have come before the time was over\n", outcome.err);
    EXPECT_EQ("failed", outcome.Json()["error"]["kind"]);
}

TEST_F(QvctlPipeTest, WhatCannotBeVerifiedIsRefusedBeforeTheDeviceIsOpened) {
    const ToolOutcome outcome =
        Qvctl({"stream", "--device", server_.Name(), "--verify", "--out", Out()});

    EXPECT_EQ(2u, outcome.exitCode);
    EXPECT_EQ(
        "qvctl: --verify: the packets of '" + std::string(server_.Name()) + "' are not known\n",
        outcome.err);
    EXPECT_FALSE(FileExists(Out()));
    // The server admits one client only, and none has been there.
    const QvTests::Handle client(
        ::CreateFileA(server_.Name(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(client.IsValid());
}

TEST_F(QvctlPipeTest, AFileStaysAsItIsWhenThereIsNoDevice) {
    WriteBytes(Out(), "earlier");
    server_.Close();

    const ToolOutcome outcome =
        Qvctl({"stream", "--device", server_.Name(), "--packets", "1", "--out", Out()});

    EXPECT_EQ(3u, outcome.exitCode);
    EXPECT_EQ("earlier", ReadBytes(Out()));
}

TEST_F(QvctlPipeTest, AWriteNeedsNoParameters) {
    WriteBytes(Out(), EveryByte());
    ToolProcess write({"write", Out(), "--device", server_.Name(), "--size", "500"});
    server_.AwaitClient();

    EXPECT_EQ(EveryByte().substr(0, 500), server_.Read());
    EXPECT_EQ(EveryByte().substr(500), server_.Read());

    const ToolOutcome outcome = write.Wait();
    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("requests             2\n"));
}

// A device that is the sample driver's by its path, but knows no parameters.
class QvctlKnownPipeTest : public testing::Test {
protected:
    // Streams a packet from one server or the other. The tool may open the device twice.
    ToolOutcome Stream(const std::vector<std::string>& aArguments) {
        std::vector<std::string> arguments = {"stream",    "--device", first_.Name(), "--packets",
                                              "1",         "--verify", "--json",      "--verbose",
                                              "--timeout", "20s"};
        arguments.insert(arguments.end(), aArguments.begin(), aArguments.end());
        ToolProcess stream(arguments);
        stream.AwaitError(kStreaming);
        const PipeServer& server =
            first_.HasClient() ? first_ : (second_.HasClient() ? second_ : third_);
        // Only one: a pipe may return several together.
        server.Write(MakePacket(0));
        return stream.Wait();
    }

    static constexpr char kSuffix[] = "#" QV_SAMPLE_INTERFACE_TEXT;
    const std::string name_ = PipeServer::NewName();
    // One for the parameters, one for a look at what does not know them, one for the stream.
    const PipeServer first_{kSuffix, 65536, name_, 3};
    const PipeServer second_{kSuffix, 65536, name_, 3};
    const PipeServer third_{kSuffix, 65536, name_, 3};
};

TEST_F(QvctlKnownPipeTest, PacketsAreVerifiedInReadsOfAGivenSize) {
    const ToolOutcome outcome = Stream({"--size", "4096"});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("reads of 4096 bytes"));
    EXPECT_EQ("sample", outcome.Json()["format"]);
    EXPECT_EQ(0, outcome.Json()["gaps"]);
}

TEST_F(QvctlKnownPipeTest, WithoutParametersReadsAreLargeEnoughForAnyPacket) {
    const ToolOutcome outcome = Stream({});

    EXPECT_EQ(0u, outcome.exitCode) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("cannot load the device's parameters"));
    EXPECT_THAT(outcome.err, HasSubstr("reads of 65536 bytes"));
    EXPECT_EQ(0, outcome.Json()["gaps"]);
}

TEST_F(QvctlPipeTest, AWriteThatTheDeviceDoesNotTakeTimesOut) {
    WriteBytes(Out(), std::string(10000, 'x'));

    const ToolOutcome outcome = Qvctl({"write", Out(), "--device", server_.Name(), "--size",
                                       "10000", "--timeout", "50ms", "--json"});

    EXPECT_EQ(4u, outcome.exitCode);
    EXPECT_EQ(
        "qvctl: Write of 10000 bytes timed out after 50 ms; try a longer --timeout, or \"qvctl "
        "doctor\"\n",
        outcome.err);
    EXPECT_EQ(0, outcome.Json()["bytes"]);
    EXPECT_EQ("timed-out", outcome.Json()["error"]["kind"]);
}

}  // namespace
