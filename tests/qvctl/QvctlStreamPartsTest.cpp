// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The parts of the command-line tool about moving data, without a process and on pipes in the place
// of devices.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "CtrlC.h"
#include "DeviceUse.h"
#include "InterfaceId.h"
#include "PipeServer.h"
#include "QvKit/PacketAccount.h"
#include "QvUserLib/Parameter.h"
#include "QvUserLib/ParameterRepository.h"
#include "SamplePackets.h"
#include "TestSupport.h"
#include "kit/KitTestSupport.h"
#include "output/ErrorReport.h"
#include "output/Moment.h"
#include "output/ProgressLine.h"
#include "output/Quantity.h"
#include "sample/SamplePacketFormat.h"
#include "verbs/TransferReport.h"

namespace {

using QvKit::IntervalStatistics;
using QvKit::PacketAccount;
using QvTests::AddressOf;
using QvTests::MakePacket;
using QvTests::MessageOf;
using QvTests::PipeServer;
using testing::IsEmpty;

const Qvctl::SamplePacketFormat kFormat;

bool Take(PacketAccount& aAccount, const std::string& aPacket) {
    return aAccount.Take(reinterpret_cast<const unsigned char*>(aPacket.data()), aPacket.size());
}

// Times between completions

TEST(QvctlIntervalTest, WithoutTimesThereIsNothingToTell) {
    EXPECT_EQ("too few", Qvctl::IntervalsText(IntervalStatistics()));
    EXPECT_TRUE(Qvctl::IntervalsJson(IntervalStatistics()).is_null());
}

TEST(QvctlIntervalTest, TextAndJsonTellTheFour) {
    IntervalStatistics statistics;
    for (const std::uint64_t time : {31u, 31u, 2000000u}) statistics.Add(time);

    EXPECT_EQ("min 0.03 us, median 0.03 us, p99 2.00 ms, max 2.00 ms",
              Qvctl::IntervalsText(statistics));
    EXPECT_EQ(nlohmann::json::parse(
                  R"({"minimum": 0.031, "median": 0.031, "p99": 2000.0, "maximum": 2000.0})"),
              nlohmann::json(Qvctl::IntervalsJson(statistics)));
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

// The packets of the sample driver

TEST(QvctlSamplePacketTest, PacketsInOrderAreClean) {
    PacketAccount check(kFormat, /*aWithPayload=*/true);

    for (std::uint64_t sequence = 0; sequence < 300; ++sequence) {
        EXPECT_TRUE(Take(check, MakePacket(sequence, 1000)));
    }

    EXPECT_TRUE(check.IsClean());
    EXPECT_EQ(300u, check.GetPackets());
    EXPECT_EQ(300000u, check.GetBytes());
    EXPECT_THAT(check.GetFirstFailure(), IsEmpty());
}

TEST(QvctlSamplePacketTest, TheDriversCountOfDropsIsTaken) {
    PacketAccount check(kFormat, true);

    Take(check, MakePacket(0, 64, /*aDropped=*/0));
    Take(check, MakePacket(4, 64, /*aDropped=*/3));

    EXPECT_EQ(3u, check.GetDropped());
    EXPECT_FALSE(check.IsClean());
}

TEST(QvctlSamplePacketTest, AWrongByteOfThePayloadIsFoundOnRequest) {
    std::string packet = MakePacket(0, 1000);
    packet[32 + 500] = static_cast<char>(packet[32 + 500] + 1);
    PacketAccount thorough(kFormat, true);
    PacketAccount quick(kFormat, false);

    EXPECT_TRUE(Take(thorough, packet));
    EXPECT_TRUE(Take(quick, packet));

    EXPECT_EQ(1u, thorough.GetFailures());
    EXPECT_EQ("packet 0: 0xae instead of 0xad at byte 500 of the payload",
              thorough.GetFirstFailure());
    EXPECT_EQ(0u, quick.GetFailures());
}

TEST(QvctlSamplePacketTest, WhatIsNoWholePacketIsAFailure) {
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
        PacketAccount check(kFormat, false);

        EXPECT_FALSE(Take(check, oneCase.bytes));

        EXPECT_EQ(1u, check.GetFailures());
        EXPECT_EQ(oneCase.failure, check.GetFirstFailure());
    }
}

TEST(QvctlSamplePacketTest, AShortPacketIsNotMissingAsWell) {
    PacketAccount check(kFormat, true);

    for (std::uint64_t sequence = 0; sequence < 3; ++sequence) {
        const std::string packet = MakePacket(sequence);
        Take(check, sequence == 1 ? packet.substr(0, 40) : packet);
    }

    EXPECT_EQ(1u, check.GetFailures());
    EXPECT_EQ(0u, check.GetMissing());
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
    QvKit::TransferProgress progress;
    progress.SetDone(0.25);
    progress.SetCounts(2, 100, 1);
    progress.SetStopping();

    const Qvctl::ProgressFigures figures = Qvctl::FiguresOf(progress, "packet", true, 4.0);

    EXPECT_EQ(2u, figures.items);
    EXPECT_EQ(100u, figures.bytes);
    EXPECT_EQ(1u, figures.dropped);
    EXPECT_EQ(0.25, figures.done);
    EXPECT_EQ("stopping", figures.status);
}

// Who uses a device, and Ctrl-C

TEST(QvctlDeviceUseTest, AllSpellingsOfAPathAreOneDevice) {
    const auto name = [](const char* aLink) { return Qvctl::DeviceUse::NameFor(AddressOf(aLink)); };

    EXPECT_EQ(name("\\\\?\\root#dev#0"), name("\\\\.\\ROOT#Dev#0"));
    EXPECT_NE(name("\\\\?\\root#dev#0"), name("\\\\?\\root#dev#1"));
}

TEST(QvctlDeviceUseTest, ADeviceIsFreeWhenItsUserIsGone) {
    const std::string link = "\\\\?\\" + PipeServer::NewName();
    const QvKit::DeviceAddress device = AddressOf(link);
    {
        const Qvctl::DeviceUse use(device);
        EXPECT_EQ("the device is in use: another qvctl is streaming from " + link,
                  MessageOf([&] { const Qvctl::DeviceUse second(device); }));
    }
    EXPECT_THAT(MessageOf([&] { const Qvctl::DeviceUse later(device); }), IsEmpty());
}

TEST(QvctlCtrlCTest, OnlyTheFirstPressIsAWishToStop) {
    const Qvctl::CtrlC ctrlC;
    EXPECT_FALSE(ctrlC.IsPressed());

    EXPECT_TRUE(ctrlC.Press());

    EXPECT_TRUE(ctrlC.IsPressed());
    EXPECT_FALSE(ctrlC.Press());
}

// The formats of packets

TEST(QvctlPacketFormatTest, IsChosenByTheInterfaceClassAndNoneForOneThatIsNotKnown) {
    const Qvctl::DeviceChoice first{Qvctl::DeviceChoice::Index, "0"};

    const QvKit::PacketFormat* const format =
        Qvctl::FindPacketFormat(Qvctl::SampleInterface(), first);
    ASSERT_NE(nullptr, format);
    EXPECT_STREQ("sample", format->GetName());
    EXPECT_EQ(nullptr, Qvctl::FindPacketFormat(GUID(), first));
}

TEST(QvctlPacketFormatTest, APathIsOfTheClassThatItHasInIt) {
    const std::string path = "\\\\?\\ROOT#X#0#{6B1E2F5C-3A94-4D0B-9C57-2E8F41D6A073}";
    const auto find = [](const std::string& aPath, const GUID& aInterface) {
        return Qvctl::FindPacketFormat(aInterface,
                                       Qvctl::DeviceChoice{Qvctl::DeviceChoice::Path, aPath});
    };

    EXPECT_NE(nullptr, find(path, Qvctl::SampleInterface()));
    EXPECT_NE(nullptr, find(path + "\\reference", Qvctl::SampleInterface()));
    EXPECT_EQ(nullptr, find("\\\\.\\COM3", Qvctl::SampleInterface()));
    EXPECT_EQ(nullptr, find(path, GUID()));
}

// The settings of a device that has these two parameters.
QvKit::Snapshot SettingsWith(long long aSize, bool aIsLoopBack) {
    QvUserLib::ParameterRepository parameters("Test", 0);
    auto* const size = new QvUserLib::Parameter("PacketSize", 1);
    size->InitInteger(aSize, 1, 100000000);
    EXPECT_THAT(parameters.Add(size), QvTests::HasCode(0));
    auto* const mode = new QvUserLib::Parameter("StreamMode", 2);
    mode->InitEnum();
    EXPECT_THAT(mode->AddEnumValue(aIsLoopBack ? "LoopBack" : "Generate"), QvTests::HasCode(0));
    EXPECT_THAT(parameters.Add(mode), QvTests::HasCode(0));
    return QvKit::Snapshot(parameters);
}

TEST(QvctlPacketFormatTest, AReadGetsTheLargestPacketOrTheOneThatWasWritten) {
    constexpr std::size_t kLargest = 16 * 1024 * 1024;

    EXPECT_EQ(65536u, kFormat.GetReadSize(QvKit::Snapshot()));
    EXPECT_EQ(kLargest, kFormat.GetReadSize(SettingsWith(4096, /*aIsLoopBack=*/false)));
    EXPECT_EQ(4096u, kFormat.GetReadSize(SettingsWith(4096, /*aIsLoopBack=*/true)));
}

// Moments

constexpr SYSTEMTIME kLate = {2026, 12, 4, 31, 23, 59, 59, 7};
constexpr SYSTEMTIME kEarly = {2027, 1, 5, 1, 0, 0, 0, 250};

TEST(QvctlMomentTest, InJsonItHasItsDateAndIsInUtc) {
    EXPECT_EQ("2026-12-31T23:59:59.007Z", Qvctl::UtcText(Qvctl::Moment{kLate, kEarly}));
}

TEST(QvctlMomentTest, InTextItHasADateOnAnotherDayThanTheFirst) {
    const Qvctl::Moment begin{kEarly, kLate};

    EXPECT_EQ("23:59:59.007", Qvctl::LocalText(begin, begin));
    EXPECT_EQ("2027-01-01 00:00:00.250", Qvctl::LocalText(Qvctl::Moment{kLate, kEarly}, begin));
}

// Why a stream is no success

class QvctlStreamErrorTest : public testing::Test {
protected:
    // A stream of one packet, behind a gap.
    std::optional<QvKit::Error> ErrorAfterALoss(bool aVerify) {
        QvKit::StreamSettings settings;
        settings.packets = 1;
        settings.verify = aVerify;
        QvKit::StreamReader reader(*channel_, kFormat, settings, stop_);
        reader.Start();
        server_.Write(MakePacket(3, 64, /*aDropped=*/2));
        EXPECT_TRUE(reader.WaitFor(QvKit::kNoLimit));
        return Qvctl::StreamError(reader, /*aIsInterrupted=*/true);
    }

    PipeServer server_;
    std::unique_ptr<QvKit::Channel> channel_ = QvKit::OpenChannel(AddressOf(server_.Name()));
    QvKit::StopSignal stop_;
};

TEST_F(QvctlStreamErrorTest, ALossIsAnErrorWhenItHadToBeVerified) {
    const auto error = ErrorAfterALoss(/*aVerify=*/true);

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(Qvctl::ExitCode::Failed, Qvctl::ExitCodeOf(error->GetKind()));
    EXPECT_STREQ(
        "not every packet has arrived whole: 3 missing, 2 dropped by the driver, 0 verification "
        "failures",
        error->what());
}

TEST_F(QvctlStreamErrorTest, ALossIsNoErrorOtherwise) {
    const auto error = ErrorAfterALoss(/*aVerify=*/false);

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(Qvctl::ExitCode::Interrupted, Qvctl::ExitCodeOf(error->GetKind()));
    EXPECT_STREQ("interrupted", error->what());
}

TEST_F(QvctlStreamErrorTest, FewerPacketsThanAskedForAreAnError) {
    QvKit::StreamSettings settings;
    settings.packets = 3;
    settings.silence = std::chrono::milliseconds(1);
    QvKit::StreamReader reader(*channel_, kFormat, settings, stop_);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(QvKit::kNoLimit));

    const auto error = Qvctl::StreamError(reader, /*aIsInterrupted=*/false);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(Qvctl::ExitCode::Failed, Qvctl::ExitCodeOf(error->GetKind()));
    EXPECT_STREQ("only 0 of 3 packets have come before the time was over", error->what());
    EXPECT_STREQ("interrupted", Qvctl::StreamError(reader, /*aIsInterrupted=*/true)->what());
}

}  // namespace
