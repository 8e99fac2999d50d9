// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The parts of the command-line tool that move data, without a process and on pipes in the place of
// devices.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "AllocationCounter.h"
#include "CtrlC.h"
#include "DeviceUse.h"
#include "FileSender.h"
#include "ImportPatch.h"
#include "IntervalStatistics.h"
#include "PacketCheck.h"
#include "PacketFile.h"
#include "ParameterWatch.h"
#include "PipeServer.h"
#include "ProgressLine.h"
#include "Quantity.h"
#include "SamplePackets.h"
#include "StreamReader.h"
#include "TestSupport.h"
#include "TransferReport.h"

namespace {

using QvTests::AllocationCounter;
using QvTests::HasCode;
using QvTests::ImportPatch;
using QvTests::MakePacket;
using QvTests::PipeServer;
using QvTests::ReadBytes;
using QvTests::TemporaryDirectory;
using QvTests::WriteBytes;
using QvUserLib::Code;
using QvUserLib::DeviceConnection;
using QvUserLib::Parameter;
using QvUserLib::Result;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The message of the failure that a call throws; empty when it throws none.
std::string FailureOf(const std::function<void()>& aCall) {
    try {
        aCall();
    } catch (const Qvctl::Failure& failure) {
        return failure.what();
    }
    return std::string();
}

const unsigned char* BytesOf(const std::string& aText) {
    return reinterpret_cast<const unsigned char*>(aText.data());
}

bool Take(Qvctl::PacketCheck& aCheck, const std::string& aPacket) {
    return aCheck.Take(BytesOf(aPacket), aPacket.size());
}

// Times between completions

TEST(QvctlIntervalTest, ShortestAndLongestAreExact) {
    Qvctl::IntervalStatistics statistics;
    for (const std::uint64_t time : {123457u, 98765u, 1234567891u}) statistics.Add(time);

    EXPECT_EQ(98765u, statistics.GetMinimum());
    EXPECT_EQ(1234567891u, statistics.GetMaximum());
    EXPECT_EQ(1234567891u, statistics.GetPercentile(100));
}

TEST(QvctlIntervalTest, PercentilesAreAtMostOne32ndTooHigh) {
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    Qvctl::IntervalStatistics statistics;
    std::vector<std::uint64_t> times(1000);
    for (std::uint64_t& time : times) {
        time = random() >> (random() % 60);
        statistics.Add(time);
    }
    std::sort(times.begin(), times.end());

    for (const unsigned int percent : {1u, 50u, 99u, 100u}) {
        SCOPED_TRACE(percent);
        const std::uint64_t exact = times[percent * 10 - 1];
        EXPECT_GE(statistics.GetPercentile(percent), exact);
        EXPECT_LE(statistics.GetPercentile(percent) - exact, exact / 32);
    }
}

TEST(QvctlIntervalTest, OfFewTimesThePercentileIsTheNextOne) {
    Qvctl::IntervalStatistics statistics;
    for (const std::uint64_t time : {10u, 20u, 30u}) statistics.Add(time);

    EXPECT_EQ(20u, statistics.GetPercentile(50));
    EXPECT_EQ(30u, statistics.GetPercentile(99));
}

TEST(QvctlIntervalTest, TheGreatestTimeHasItsPlace) {
    constexpr std::uint64_t kGreatest = std::numeric_limits<std::uint64_t>::max();
    Qvctl::IntervalStatistics statistics;
    statistics.Add(kGreatest);

    EXPECT_EQ(kGreatest, statistics.GetPercentile(50));
}

TEST(QvctlIntervalTest, WithoutTimesThereIsNothingToTell) {
    const Qvctl::IntervalStatistics statistics;

    EXPECT_EQ(0u, statistics.GetPercentile(50));
    EXPECT_EQ("too few", statistics.ToText());
    EXPECT_TRUE(statistics.ToJson().is_null());
}

TEST(QvctlIntervalTest, TextAndJsonTellTheFour) {
    Qvctl::IntervalStatistics statistics;
    for (const std::uint64_t time : {31u, 31u, 2000000u}) statistics.Add(time);

    EXPECT_EQ("min 0.03 us, median 0.03 us, p99 2.00 ms, max 2.00 ms", statistics.ToText());
    EXPECT_EQ(nlohmann::json::parse(
                  R"({"minimum": 0.031, "median": 0.031, "p99": 2000.0, "maximum": 2000.0})"),
              nlohmann::json(statistics.ToJson()));
}

// Quantities

TEST(QvctlQuantityTest, TimesAndRatesHaveTheUnitThatSuits) {
    EXPECT_EQ("1.00 us", Qvctl::DurationText(1000));
    EXPECT_EQ("45.6 ms", Qvctl::DurationText(45600000));
    EXPECT_EQ("3600.0 s", Qvctl::DurationText(3600000000000));
    EXPECT_EQ("16.4 MB/s", Qvctl::RateText(16.4e6));
    EXPECT_EQ("0 s", Qvctl::TimeLeftText(0));
    EXPECT_EQ("1 s", Qvctl::TimeLeftText(0.2));
    EXPECT_EQ("3 min 05 s", Qvctl::TimeLeftText(185));
    EXPECT_EQ("2 h 03 min", Qvctl::TimeLeftText(2 * 3600 + 3 * 60));
}

TEST(QvctlQuantityTest, NoTimeGivesNoRate) { EXPECT_EQ(0.0, Qvctl::PerSecond(5, 0.0)); }

// The account of packets

TEST(QvctlPacketCheckTest, PacketsInOrderAreClean) {
    Qvctl::PacketCheck check(/*aWithPayload=*/true);

    for (std::uint64_t sequence = 0; sequence < 300; ++sequence) {
        EXPECT_TRUE(Take(check, MakePacket(sequence, 1000)));
    }

    EXPECT_TRUE(check.IsClean());
    EXPECT_EQ(300u, check.GetPackets());
    EXPECT_EQ(300000u, check.GetBytes());
    EXPECT_THAT(check.GetFirstFailure(), IsEmpty());
}

TEST(QvctlPacketCheckTest, AGapIsCountedOnceWithAllThatAreMissing) {
    Qvctl::PacketCheck check(true);

    for (const std::uint64_t sequence : {2u, 3u, 7u}) Take(check, MakePacket(sequence));

    EXPECT_EQ(2u, check.GetGaps());
    EXPECT_EQ(5u, check.GetMissing());
    EXPECT_EQ(0u, check.GetFailures());
    EXPECT_FALSE(check.IsClean());
}

TEST(QvctlPacketCheckTest, TheDriversCountOfDropsIsTaken) {
    Qvctl::PacketCheck check(true);

    Take(check, MakePacket(0, 64, /*aDropped=*/0));
    Take(check, MakePacket(4, 64, /*aDropped=*/3));

    EXPECT_EQ(3u, check.GetDropped());
    EXPECT_FALSE(check.IsClean());
}

TEST(QvctlPacketCheckTest, AWrongByteOfThePayloadIsFoundOnRequest) {
    std::string packet = MakePacket(0, 1000);
    packet[32 + 500] = static_cast<char>(packet[32 + 500] + 1);
    Qvctl::PacketCheck thorough(true);
    Qvctl::PacketCheck quick(false);

    EXPECT_TRUE(Take(thorough, packet));
    EXPECT_TRUE(Take(quick, packet));

    EXPECT_EQ(1u, thorough.GetFailures());
    EXPECT_EQ("packet 0: 0xae instead of 0xad at byte 500 of the payload",
              thorough.GetFirstFailure());
    EXPECT_EQ(0u, quick.GetFailures());
}

TEST(QvctlPacketCheckTest, WhatIsNoWholePacketIsAFailure) {
    const std::string packet = MakePacket(0);
    struct {
        std::string bytes;
        const char* failure;
    } const cases[] = {
        {"", "packet 0: 0 bytes, fewer than the 32 of a header"},
        {packet.substr(0, 31), "packet 0: 31 bytes, fewer than the 32 of a header"},
        {packet.substr(0, 63), "packet 0: 31 bytes of payload instead of 32"},
        {packet + "x", "packet 0: 33 bytes of payload instead of 32"},
        {std::string(64, 'x'), "packet 0: begins with 0x78787878 instead of 0x4b505651"},
    };
    for (const auto& oneCase : cases) {
        SCOPED_TRACE(oneCase.failure);
        Qvctl::PacketCheck check(false);

        EXPECT_FALSE(Take(check, oneCase.bytes));

        EXPECT_EQ(1u, check.GetFailures());
        EXPECT_EQ(oneCase.failure, check.GetFirstFailure());
    }
}

TEST(QvctlPacketCheckTest, AShortPacketIsNotMissingAsWell) {
    Qvctl::PacketCheck check(true);

    for (std::uint64_t sequence = 0; sequence < 3; ++sequence) {
        const std::string packet = MakePacket(sequence);
        Take(check, sequence == 1 ? packet.substr(0, 40) : packet);
    }

    EXPECT_EQ(1u, check.GetFailures());
    EXPECT_EQ(0u, check.GetMissing());
}

TEST(QvctlPacketCheckTest, APacketThatComesAgainIsAFailure) {
    Qvctl::PacketCheck check(true);
    Take(check, MakePacket(0));
    Take(check, MakePacket(1));

    EXPECT_TRUE(Take(check, MakePacket(0)));
    EXPECT_TRUE(Take(check, MakePacket(2)));

    EXPECT_EQ(1u, check.GetFailures());
    EXPECT_EQ(0u, check.GetMissing());
    EXPECT_EQ("packet 0: sequence number 0 comes again; 2 is due", check.GetFirstFailure());
}

// The file of packets

TEST(QvctlPacketFileTest, HoldsWhatWasAppendedAtOnce) {
    const TemporaryDirectory directory;
    Qvctl::PacketFile file(directory.File("packets"));

    file.Append(BytesOf("abc"), 3);
    file.Append(BytesOf("de"), 2);

    EXPECT_EQ("abcde", ReadBytes(directory.File("packets")));
    EXPECT_EQ(2u, file.GetPackets());
    EXPECT_EQ(5u, file.GetBytes());
}

// Once a disk is full, it takes a part of the next write.
class FullDisk {
public:
    FullDisk() { original_ = patch_.Original<decltype(::WriteFile)>(); }

    bool IsActive() const { return patch_.IsActive(); }

private:
    static BOOL WINAPI WriteOneByte(HANDLE aFile, LPCVOID aBytes, DWORD aSize, LPDWORD aWritten,
                                    LPOVERLAPPED aOverlapped) {
        const bool isOnDisk = ::GetFileType(aFile) == FILE_TYPE_DISK;
        return original_(aFile, aBytes, isOnDisk ? 1 : aSize, aWritten, aOverlapped);
    }

    inline static decltype(&::WriteFile) original_ = nullptr;
    // Of this program, which the tool's parts are linked into.
    ImportPatch patch_{"WriteFile", &WriteOneByte, nullptr};
};

TEST(QvctlPacketFileTest, AFullDiskLeavesWholePackets) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("packets");
    Qvctl::PacketFile file(path);
    file.Append(BytesOf("abc"), 3);
    std::string failure;
    {
        const FullDisk disk;
        ASSERT_TRUE(disk.IsActive());
        failure = FailureOf([&] { file.Append(BytesOf("de"), 2); });
    }

    EXPECT_THAT(failure, StartsWith("cannot write '" + path + "': error 112"));
    EXPECT_EQ("abc", ReadBytes(path));
    EXPECT_EQ(1u, file.GetPackets());
}

TEST(QvctlPacketFileTest, AFileThatCannotBeMadeIsAFailure) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("missing") + "\\packets";

    EXPECT_THAT(FailureOf([&] { const Qvctl::PacketFile file(path); }),
                StartsWith("cannot create '" + path + "': error 3"));
}

// Progress

Qvctl::ProgressFigures FiguresAtHalf() {
    Qvctl::ProgressFigures figures = {};
    figures.noun = "packet";
    figures.items = 500;
    figures.bytes = 8200000;
    figures.dropped = 3;
    figures.seconds = 2;
    figures.done = 0.5;
    return figures;
}

TEST(QvctlProgressTest, PlainLineTellsAllThereIs) {
    EXPECT_EQ("500 packets  4.10 MB/s  3 dropped  50%  2 s left",
              Qvctl::PlainProgressLine(FiguresAtHalf()));
}

TEST(QvctlProgressTest, WithoutAnEndTheTimeThatHasPassedIsTold) {
    Qvctl::ProgressFigures figures = FiguresAtHalf();
    figures.done.reset();
    figures.dropped.reset();
    figures.status = "stopping";

    EXPECT_EQ("500 packets  4.10 MB/s  2 s  stopping", Qvctl::PlainProgressLine(figures));
    EXPECT_EQ(Qvctl::PlainProgressLine(figures), Qvctl::ProgressBarLine(figures, 79));
}

TEST(QvctlProgressTest, BarIsFilledAsFarAsTheTransferHasCome) {
    EXPECT_EQ("[############------------]  500 packets  4.10 MB/s  3 dropped  50%  2 s left",
              Qvctl::ProgressBarLine(FiguresAtHalf(), 79));
}

TEST(QvctlProgressTest, LineFitsWhateverTheFigures) {
    Qvctl::ProgressFigures figures = FiguresAtHalf();
    figures.items = figures.bytes = std::numeric_limits<std::uint64_t>::max();
    figures.dropped = figures.items;
    figures.done = 1e-9;
    figures.status = "stopping";

    for (const std::size_t width : {39u, 79u, 200u}) {
        EXPECT_LE(Qvctl::ProgressBarLine(figures, width).size(), width);
    }
}

TEST(QvctlProgressTest, BeforeTheFirstStepNoTimeLeftIsGuessed) {
    Qvctl::ProgressFigures figures = {};
    figures.noun = "request";
    figures.done = 0.0;

    EXPECT_EQ("0 requests  0.00 MB/s  0%", Qvctl::PlainProgressLine(figures));
}

TEST(QvctlProgressTest, FiguresComeFromTheTransfersProgress) {
    Qvctl::TransferProgress progress;
    progress.SetStepTotal(8);
    progress.SetStepCompleted(2);
    progress.SetCounts(2, 100, 1);
    progress.SetStatus("stopping");

    const Qvctl::ProgressFigures figures = Qvctl::FiguresOf(progress, "packet", true, 4.0);

    EXPECT_EQ(2u, figures.items);
    EXPECT_EQ(100u, figures.bytes);
    EXPECT_EQ(1u, figures.dropped);
    EXPECT_EQ(0.25, figures.done);
    EXPECT_EQ("stopping", figures.status);
}

// Who uses a device, and the wish to stop

TEST(QvctlDeviceUseTest, AllSpellingsOfAPathAreOneDevice) {
    const auto name = [](const char* aLink) {
        return Qvctl::DeviceUse::NameFor(Qvctl::Device{std::nullopt, aLink, aLink});
    };

    EXPECT_EQ(name("\\\\?\\root#dev#0"), name("\\\\.\\ROOT#Dev#0"));
    EXPECT_NE(name("\\\\?\\root#dev#0"), name("\\\\?\\root#dev#1"));
}

TEST(QvctlDeviceUseTest, ADeviceIsFreeWhenItsUserIsGone) {
    const std::string link = "\\\\?\\" + PipeServer::NewName();
    const Qvctl::Device device{std::nullopt, link, link};
    {
        const Qvctl::DeviceUse use(device);
        EXPECT_EQ("the device is in use: another qvctl is streaming from " + link,
                  FailureOf([&] { const Qvctl::DeviceUse second(device); }));
    }
    EXPECT_THAT(FailureOf([&] { const Qvctl::DeviceUse later(device); }), IsEmpty());
}

TEST(QvctlCtrlCTest, OnlyTheFirstPressIsAWishToStop) {
    const Qvctl::CtrlC ctrlC;
    EXPECT_FALSE(ctrlC.IsPressed());

    EXPECT_TRUE(ctrlC.Press());

    EXPECT_TRUE(ctrlC.IsPressed());
    EXPECT_FALSE(ctrlC.Press());
}

// Reading a stream, from a pipe whose server plays the driver

class QvctlStreamReaderTest : public testing::Test {
protected:
    static constexpr std::size_t kPacketSize = 64;

    void SetUp() override { ASSERT_THAT(connection_.Connect(server_.Name()), HasCode(0)); }

    static Qvctl::StreamSettings Settings() {
        return Qvctl::StreamSettings{std::nullopt, std::nullopt, 4, kPacketSize, /*verify=*/true};
    }

    void Deliver(std::uint64_t aFirst, std::uint64_t aCount) const {
        for (std::uint64_t number = aFirst; number < aFirst + aCount; ++number) {
            server_.Write(MakePacket(number, kPacketSize));
        }
    }

    static void AwaitEnd(const Qvctl::TransferThread& aThread) {
        ::WaitForSingleObject(aThread.GetHandle(), INFINITE);
    }

    // Watches the progress until so many packets are counted.
    static void AwaitPackets(Qvctl::TransferThread& aThread, std::uint64_t aCount) {
        while (aThread.GetProgress().GetItems() < aCount) ::SwitchToThread();
    }

    PipeServer server_;
    DeviceConnection connection_;
};

TEST_F(QvctlStreamReaderTest, EndsWithTheLastPacketThatWasAskedFor) {
    Qvctl::StreamSettings settings = Settings();
    settings.packets = 10;
    Qvctl::StreamReader reader(connection_, settings, nullptr);
    reader.Start();

    Deliver(0, 10);
    AwaitEnd(reader);

    EXPECT_FALSE(reader.GetFailure().has_value());
    EXPECT_EQ(10u, reader.GetCheck().GetPackets());
    EXPECT_TRUE(reader.GetCheck().IsClean());
    EXPECT_EQ(9u, reader.GetIntervals().GetCount());
    EXPECT_EQ(100u, reader.GetProgress().GetPercentage());
    // No read was left over that would take what comes next.
    EXPECT_TRUE(connection_.IsConnected());
}

TEST_F(QvctlStreamReaderTest, StopsWhileADeviceIsSilent) {
    Qvctl::StreamReader reader(connection_, Settings(), nullptr);
    reader.Start();
    Deliver(0, 3);
    AwaitPackets(reader, 3);

    reader.RequestStop();
    AwaitEnd(reader);

    EXPECT_FALSE(reader.GetFailure().has_value());
    EXPECT_EQ(3u, reader.GetCheck().GetPackets());
}

TEST_F(QvctlStreamReaderTest, DestructionStopsIt) {
    auto reader = std::make_unique<Qvctl::StreamReader>(connection_, Settings(), nullptr);
    reader->Start();
    Deliver(0, 1);
    AwaitPackets(*reader, 1);

    reader.reset();
}

TEST_F(QvctlStreamReaderTest, EndsWhenItsTimeIsOver) {
    Qvctl::StreamSettings settings = Settings();
    settings.seconds = 0.05;
    Qvctl::StreamReader reader(connection_, settings, nullptr);

    reader.Start();
    AwaitEnd(reader);

    EXPECT_FALSE(reader.GetFailure().has_value());
    EXPECT_GE(reader.GetSeconds(), 0.05);
}

TEST_F(QvctlStreamReaderTest, ADeviceThatGoesAwayIsAFailureThatKeepsWhatWasReceived) {
    const TemporaryDirectory directory;
    Qvctl::PacketFile file(directory.File("packets"));
    Qvctl::StreamReader reader(connection_, Settings(), &file);
    reader.Start();
    Deliver(0, 5);
    AwaitPackets(reader, 5);

    server_.Close();
    AwaitEnd(reader);

    ASSERT_TRUE(reader.GetFailure().has_value());
    EXPECT_THAT(reader.GetFailure()->what(),
                StartsWith("reading from the device failed: error 109"));
    EXPECT_EQ(5u, reader.GetCheck().GetPackets());
    EXPECT_EQ(5 * kPacketSize, ReadBytes(file.GetPath()).size());
}

TEST_F(QvctlStreamReaderTest, AFullDiskEndsTheStreamWithAFileOfWholePackets) {
    const TemporaryDirectory directory;
    Qvctl::PacketFile file(directory.File("packets"));
    Qvctl::StreamReader reader(connection_, Settings(), &file);
    reader.Start();
    Deliver(0, 1);
    AwaitPackets(reader, 1);
    {
        const FullDisk disk;
        Deliver(1, 1);
        AwaitEnd(reader);
    }

    ASSERT_TRUE(reader.GetFailure().has_value());
    EXPECT_THAT(reader.GetFailure()->what(), HasSubstr("error 112"));
    EXPECT_EQ(2u, reader.GetCheck().GetPackets());
    EXPECT_EQ(MakePacket(0, kPacketSize), ReadBytes(file.GetPath()));
}

TEST_F(QvctlStreamReaderTest, NothingIsAllocatedForAPacket) {
    constexpr std::uint64_t kPackets = 500;
    std::vector<std::string> packets;
    for (std::uint64_t number = 0; number < kPackets; ++number) {
        packets.push_back(MakePacket(number, kPacketSize));
    }
    Qvctl::StreamSettings settings = Settings();
    settings.packets = kPackets;
    Qvctl::StreamReader reader(connection_, settings, nullptr);
    reader.Start();
    server_.Write(packets[0]);
    AwaitPackets(reader, 1);

    const AllocationCounter counter;
    for (std::uint64_t number = 1; number < kPackets; ++number) server_.Write(packets[number]);
    AwaitPackets(reader, kPackets);
    EXPECT_EQ(0, counter.Count());
    AwaitEnd(reader);
}

// Why a stream is no success

TEST_F(QvctlStreamReaderTest, ALossIsAFailureOnlyWhenItHadToBeVerified) {
    for (const bool verify : {false, true}) {
        SCOPED_TRACE(verify);
        PipeServer server;
        DeviceConnection connection;
        ASSERT_THAT(connection.Connect(server.Name()), HasCode(0));
        Qvctl::StreamSettings settings = Settings();
        settings.packets = 1;
        settings.verify = verify;
        Qvctl::StreamReader reader(connection, settings, nullptr);
        reader.Start();
        server.Write(MakePacket(3, kPacketSize, /*aDropped=*/2));
        AwaitEnd(reader);

        const auto failure = Qvctl::StreamFailure(reader, /*aIsInterrupted=*/true);

        ASSERT_TRUE(failure.has_value());
        EXPECT_EQ(verify ? Qvctl::ExitCode::Failed : Qvctl::ExitCode::Interrupted,
                  failure->GetExitCode());
        EXPECT_STREQ(verify ? "not every packet has arrived whole: 3 missing, 2 dropped by the "
                              "driver, 0 verification failures"
                            : "interrupted",
                     failure->what());
    }
}

// Sending a file

class QvctlFileSenderTest : public QvctlStreamReaderTest {
protected:
    static Qvctl::FileSender::Settings SenderSettings(const std::string& aPath,
                                                      std::size_t aRequestSize) {
        return Qvctl::FileSender::Settings{aPath, aRequestSize, /*busyMs=*/10};
    }
};

TEST_F(QvctlFileSenderTest, SendsRequestsOfTheSizeAndTheRest) {
    const TemporaryDirectory directory;
    WriteBytes(directory.File("data"), "abcdefgh");
    Qvctl::FileSender sender(connection_, SenderSettings(directory.File("data"), 3));
    sender.Start();

    EXPECT_EQ("abc", server_.Read());
    EXPECT_EQ("def", server_.Read());
    EXPECT_EQ("gh", server_.Read());
    AwaitEnd(sender);

    EXPECT_FALSE(sender.GetFailure().has_value());
    EXPECT_EQ(3u, sender.GetRequests());
    EXPECT_EQ(8u, sender.GetBytes());
    EXPECT_EQ(3u, sender.GetProgress().GetStepTotal());
}

TEST_F(QvctlFileSenderTest, ADeviceThatGoesAwayIsAFailure) {
    const TemporaryDirectory directory;
    WriteBytes(directory.File("data"), std::string(1000000, 'x'));
    Qvctl::FileSender sender(connection_, SenderSettings(directory.File("data"), 1000));
    sender.Start();
    (void)server_.Read();

    server_.Close();
    AwaitEnd(sender);

    ASSERT_TRUE(sender.GetFailure().has_value());
    EXPECT_THAT(sender.GetFailure()->what(), StartsWith("writing to the device failed: error "));
    EXPECT_LT(sender.GetBytes(), 1000000u);
}

TEST_F(QvctlFileSenderTest, StopsWhileADeviceTakesNothing) {
    const TemporaryDirectory directory;
    WriteBytes(directory.File("data"), std::string(1000000, 'x'));
    Qvctl::FileSender sender(connection_, SenderSettings(directory.File("data"), 1000));
    sender.Start();
    AwaitPackets(sender, 1);

    sender.RequestStop();
    AwaitEnd(sender);

    EXPECT_FALSE(sender.GetFailure().has_value());
    EXPECT_LT(sender.GetBytes(), 1000000u);
}

// Watching parameters

// A device with one parameter, whose number the test says.
class FakeDevice : public QvUserLib::DeviceParameterRepository {
public:
    FakeDevice() { Load(); }
    Result Refresh() override {
        (void)RemoveByIndex(0);  // It may be gone already.
        if (isThere) Load();
        return result;
    }

    bool isThere = true;
    long long value = 1;
    Result result = Result(Code::Success);

private:
    void Load() {
        auto* const parameter = new Parameter("Level", 7);
        parameter->InitInteger(value, 0, 100);
        (void)Add(parameter);
    }
};

TEST(QvctlParameterWatchTest, TellsOnlyWhatDiffersFromTheLastLook) {
    FakeDevice device;
    Qvctl::ParameterWatch watch(device, {});
    EXPECT_THAT(watch.Look(), IsEmpty());

    device.value = 5;
    const std::vector<Qvctl::ParameterWatch::Change> changes = watch.Look();

    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ("Level", changes[0].name);
    EXPECT_EQ(Qvctl::Value(1LL), changes[0].before);
    EXPECT_EQ(Qvctl::Value(5LL), changes[0].after);
    EXPECT_THAT(watch.Look(), IsEmpty());
}

TEST(QvctlParameterWatchTest, AParameterThatIsGoneIsAFailure) {
    FakeDevice device;
    Qvctl::ParameterWatch watch(device, {"Level"});
    device.isThere = false;

    EXPECT_EQ("Level: the device has it no longer", FailureOf([&] { watch.Look(); }));
}

TEST(QvctlParameterWatchTest, ADeviceThatDoesNotAnswerIsAFailure) {
    FakeDevice device;
    Qvctl::ParameterWatch watch(device, {});
    device.result = Result(Code::NotAllowed);

    EXPECT_THAT(FailureOf([&] { watch.Look(); }),
                StartsWith("cannot read the device's parameters: "));
}

}  // namespace
