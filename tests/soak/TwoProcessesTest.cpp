// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Two processes on one device: what one does to the other, also by its sudden end.

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "KernelObjects.h"
#include "ProgramRun.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "SampleDevice.h"
#include "SamplePackets.h"
#include "ThirdDevice.h"
#include "ToolProcess.h"

namespace QvTests {
namespace {

constexpr wchar_t kProbe[] = L"DeviceProbe.exe";
constexpr unsigned int kPacketSize = 65536;
// How often a wait looks whether the other program still runs.
constexpr DWORD kLookMs = 100;

std::string LinkOf(unsigned int aDevice) {
    DeviceEnumerator enumerator;
    String link;
    EXPECT_THAT(enumerator.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE), IsBareCode(Code::Success));
    EXPECT_THAT(enumerator.GetSymLink(aDevice, &link), IsBareCode(Code::Success));
    return reinterpret_cast<const char*>(link.GetUnicode());
}

// A process with reads pending that it will never collect.
class HoldingProgram {
public:
    HoldingProgram(unsigned int aDevice, unsigned int aReads)
        : readyName_("QvDeviceProbe" + std::to_string(::GetCurrentProcessId())),
          ready_(::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                                readyName_.c_str())),
          program_(kProbe, {LinkOf(aDevice), "hold", std::to_string(aReads), readyName_}) {
        while (::WaitForSingleObject(ready_.Get(), kLookMs) == WAIT_TIMEOUT) {
            if (program_.IsRunning()) continue;
            ADD_FAILURE() << "the program holds nothing: " << program_.WaitForExitCode();
            return;
        }
    }

    void Kill() { program_.Kill(); }

private:
    std::string readyName_;
    Handle ready_;
    StartedProgram program_;
};

QV_SAMPLE_PACKET_HEADER ReadPacket(DeviceConnection& aConnection) {
    std::vector<unsigned char> packet(kPacketSize);
    unsigned long size = 0;
    EXPECT_THAT(aConnection.Read(packet.data(), kPacketSize, &size, nullptr),
                IsBareCode(Code::Success));
    return HeaderOf(packet.data());
}

class TwoProcessesTest : public SampleDeviceTest {};

// Each sends two values that belong together: they never mix, in whatever order they arrive.
TEST_F(TwoProcessesTest, BothApplyToOneDevice) {
    constexpr int kCount = 500;
    StartedProgram other(kProbe, {LinkOf(0), "apply", std::to_string(kCount)});
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection_), IsBareCode(Code::Success));
    int number = 0;
    for (bool isLast = false; !isLast; ++number) {
        isLast = !other.IsRunning();
        ASSERT_THAT(parameters.GetByID(QV_SAMPLE_ID_MARKER)->ChangeInt(1000 + number % kCount),
                    IsBareCode(Code::Success));
        const std::string note = "note " + std::to_string(1000 + number % kCount);
        ASSERT_THAT(parameters.GetByID(QV_SAMPLE_ID_NOTES)->SetString(note.c_str()),
                    IsBareCode(Code::Success));
        ASSERT_THAT(parameters.Apply(), IsBareCode(Code::Success));
        ASSERT_THAT(parameters.Refresh(), IsBareCode(Code::Success));
        EXPECT_EQ("note " + std::to_string(parameters.GetByID(QV_SAMPLE_ID_MARKER)->GetInt()),
                  parameters.GetByID(QV_SAMPLE_ID_NOTES)->GetString().GetAscii());
    }

    EXPECT_EQ(0u, other.WaitForExitCode());
}

// They share the stream, so that the numbers of this process have gaps, but it goes on.
TEST_F(TwoProcessesTest, OneClosesWhileTheOtherStreams) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    std::uint64_t previous = ReadPacket(connection_).sequence;
    for (int round = 0; round < 3; ++round) {
        StartedProgram other(kProbe, {LinkOf(0), "read", "50"});
        while (other.IsRunning()) {
            const std::uint64_t sequence = ReadPacket(connection_).sequence;
            ASSERT_LT(previous, sequence);
            previous = sequence;
        }
        EXPECT_EQ(0u, other.WaitForExitCode());
    }

    previous = ReadPacket(connection_).sequence;
    EXPECT_EQ(previous + 1, ReadPacket(connection_).sequence);
}

// What a run of the tool did to the marker.
struct MarkerRun {
    explicit MarkerRun(const ToolOutcome& aOutcome)
        : report(aOutcome.Json()),
          edit(report["parameters"][0]),
          isRefused(aOutcome.exitCode == 1 && report["error"]["kind"] == "refused"),
          isTaken(aOutcome.exitCode == 0 && edit["verdict"] == "taken") {}

    nlohmann::json report;
    nlohmann::json edit;
    bool isRefused;
    bool isTaken;
};

// Two runs of the tool at the same time, which set the marker to other values; first the one that
// was sent first.
std::pair<MarkerRun, MarkerRun> SetMarkerTwice(int aValue, const std::string& aOption,
                                               const nlohmann::json& aBefore) {
    const std::string assignment = "Marker=" + std::to_string(aValue);
    ToolProcess one({"set", assignment + "1", "--json", aOption});
    ToolProcess other({"set", assignment + "2", "--json", aOption});
    MarkerRun first(one.Wait());
    MarkerRun second(other.Wait());
    const bool isInOrder = first.isTaken && first.edit["before"] == aBefore;
    return isInOrder ? std::pair(first, second) : std::pair(second, first);
}

// Every run sees what it overwrites, and the value that it sent before the next one overwrites it.
TEST_F(TwoProcessesTest, NothingThatTheToolSendsIsLostUnnoticed) {
    nlohmann::json before = 0;
    for (int round = 1; round <= 10; ++round) {
        const auto [first, second] = SetMarkerTwice(round, "--all-or-nothing", before);

        ASSERT_TRUE(first.isTaken && second.isTaken) << first.report << second.report;
        EXPECT_EQ(before, first.edit["before"]);
        EXPECT_EQ(first.edit["after"], second.edit["before"]);
        before = second.edit["after"];
    }
}

// The one that read the marker before the other one changed it is refused.
TEST_F(TwoProcessesTest, TheToolOverwritesOnlyWhatItHasRead) {
    nlohmann::json before = 0;
    for (int round = 1; round <= 10; ++round) {
        const auto [first, second] = SetMarkerTwice(round, "--if-unchanged", before);

        ASSERT_TRUE(first.isTaken && (second.isTaken || second.isRefused))
            << first.report << second.report;
        EXPECT_TRUE(second.edit["readBefore"].is_null() || second.isRefused);
        before = (second.isTaken ? second : first).edit["after"];
    }
}

class TwoProcessesLoopBackTest : public SampleLoopBackTest {};

// The reads of the ended process take no packets from the others.
TEST_F(TwoProcessesLoopBackTest, OneIsKilledWithRequestsPending) {
    char received[16] = {};
    unsigned long size = 0;
    OVERLAPPED pending = {};
    const Event event;
    pending.hEvent = event.Get();
    HoldingProgram other(/*aDevice=*/0, /*aReads=*/8);
    ASSERT_THAT(connection_.Read(received, sizeof received, &size, &pending),
                IsBareCode(Code::Pending));

    other.Kill();

    unsigned long written = 0;
    EXPECT_THAT(connection_.Write("for the survivor", 16, &written, nullptr),
                IsBareCode(Code::Success));
    EXPECT_THAT(connection_.GetOverlappedResult(&pending, &size, /*aWait=*/true),
                IsBareCode(Code::Success));
    EXPECT_EQ("for the survivor", std::string(received, size));
    EXPECT_EQ(QV_SAMPLE_MODE_LOOP_BACK, [this] {
        DeviceParameterRepository parameters;
        EXPECT_THAT(parameters.Connect(&connection_), IsBareCode(Code::Success));
        return parameters.GetByID(QV_SAMPLE_ID_STREAM_MODE)->GetInt();
    }());
}

class KilledProcessTest : public testing::Test {
protected:
    void SetUp() override {
        device_.Add();
        Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    }

    static void Connect(DeviceConnection& aConnection) {
        ASSERT_THAT(aConnection.Connect(LinkOf(2).c_str()), HasCode(Code::Success));
    }

    static void Set(unsigned long aID, long long aValue) {
        DeviceConnection connection;
        DeviceParameterRepository parameters;
        ASSERT_NO_FATAL_FAILURE(Connect(connection));
        ASSERT_THAT(parameters.Connect(&connection), HasCode(Code::Success));
        ASSERT_THAT(parameters.GetByID(aID)->SetInt(aValue), HasCode(Code::Success));
        ASSERT_THAT(parameters.Apply(), HasCode(Code::Success));
    }

    ThirdDevice device_;
};

// The stream, and with it the numbers of its packets, begins anew only when no handle is left that
// has read. The driver may hear of the end of a process some time after it.
TEST_F(KilledProcessTest, DriverFreesWhatItHeld) {
    constexpr ULONGLONG kPatienceMs = 10000;
    Set(QV_SAMPLE_ID_FAULT_DELAY, 10000);
    HoldingProgram(/*aDevice=*/2, /*aReads=*/8).Kill();
    Set(QV_SAMPLE_ID_FAULT_DELAY, 0);

    const ULONGLONG end = ::GetTickCount64() + kPatienceMs;
    std::uint64_t first = 1;
    while (first != 0 && ::GetTickCount64() < end && !HasFailure()) {
        DeviceConnection connection;
        ASSERT_NO_FATAL_FAILURE(Connect(connection));
        first = ReadPacket(connection).sequence;
    }

    EXPECT_EQ(0u, first);
}

}  // namespace
}  // namespace QvTests
