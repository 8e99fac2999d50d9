// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Channels, rings and transfers of the kit, on pipes in the place of devices.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "AllocationCounter.h"
#include "ImportPatch.h"
#include "KitTestSupport.h"
#include "PipeServer.h"
#include "QvKit/Channel.h"
#include "QvKit/FileSender.h"
#include "QvKit/IntervalStatistics.h"
#include "QvKit/PacketAccount.h"
#include "QvKit/PacketFile.h"
#include "QvKit/RequestRing.h"
#include "QvKit/StreamReader.h"
#include "TestSupport.h"

namespace {

using QvKit::Channel;
using QvKit::ErrorKind;
using QvKit::FileSender;
using QvKit::IntervalStatistics;
using QvKit::kNoLimit;
using QvKit::Packet;
using QvKit::PacketAccount;
using QvKit::PacketFile;
using QvKit::Request;
using QvKit::RequestRing;
using QvKit::StopSignal;
using QvKit::StreamReader;
using QvKit::StreamSettings;
using QvTests::AddressOf;
using QvTests::AllocationCounter;
using QvTests::ErrorOf;
using QvTests::ImportPatch;
using QvTests::ManualClock;
using QvTests::MessageOf;
using QvTests::PipeServer;
using QvTests::ReadBytes;
using QvTests::TemporaryDirectory;
using QvTests::WriteBytes;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const unsigned char* BytesOf(const std::string& aText) {
    return reinterpret_cast<const unsigned char*>(aText.data());
}

// Packets of a driver that the kit does not know: a number, the driver's count of dropped packets,
// and a payload of the letter x.
struct Header {
    std::uint64_t sequence;
    std::uint64_t dropped;
};

constexpr std::size_t kPacketSize = 64;

std::string MakePacket(std::uint64_t aSequence, std::uint64_t aDropped = 0) {
    const Header header = {aSequence, aDropped};
    std::string packet(kPacketSize, 'x');
    std::memcpy(&packet[0], &header, sizeof header);
    return packet;
}

class NumberedFormat final : public QvKit::PacketFormat {
public:
    const char* GetName() const override { return "numbered"; }
    std::size_t GetReadSize(const QvKit::Snapshot&) const override { return kPacketSize; }
    bool IsNumbered() const override { return true; }
    Packet Examine(const unsigned char* aBytes, std::size_t aSize,
                   bool aWithPayload) const override {
        Packet packet;
        packet.isWhole = aSize == kPacketSize;
        if (!packet.isWhole) packet.fault = "wrong size";
        if (aSize < sizeof(Header)) return packet;
        Header header;
        std::memcpy(&header, aBytes, sizeof header);
        packet.sequence = header.sequence;
        packet.dropped = header.dropped;
        const bool isRight = std::all_of(aBytes + sizeof header, aBytes + aSize,
                                         [](unsigned char aByte) { return aByte == 'x'; });
        if (packet.isWhole && aWithPayload && !isRight) packet.fault = "wrong payload";
        return packet;
    }
};

const NumberedFormat kFormat;

// Times between completions

TEST(KitIntervalTest, ShortestAndLongestAreExact) {
    IntervalStatistics statistics;
    for (const std::uint64_t time : {123457u, 98765u, 1234567891u}) statistics.Add(time);

    EXPECT_EQ(98765u, statistics.GetMinimum());
    EXPECT_EQ(1234567891u, statistics.GetMaximum());
    EXPECT_EQ(1234567891u, statistics.GetPercentile(100));
}

TEST(KitIntervalTest, PercentilesAreAtMostOne32ndTooHigh) {
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    IntervalStatistics statistics;
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

TEST(KitIntervalTest, OfFewTimesThePercentileIsTheNextOne) {
    IntervalStatistics statistics;
    for (const std::uint64_t time : {10u, 20u, 30u}) statistics.Add(time);

    EXPECT_EQ(20u, statistics.GetPercentile(50));
    EXPECT_EQ(30u, statistics.GetPercentile(99));
}

TEST(KitIntervalTest, TheGreatestTimeHasItsPlace) {
    constexpr std::uint64_t kGreatest = std::numeric_limits<std::uint64_t>::max();
    IntervalStatistics statistics;
    statistics.Add(kGreatest);

    EXPECT_EQ(kGreatest, statistics.GetPercentile(50));
}

TEST(KitIntervalTest, WithoutTimesAPercentileIsZero) {
    EXPECT_EQ(0u, IntervalStatistics().GetPercentile(50));
}

// The account of packets

bool Take(PacketAccount& aAccount, const std::string& aPacket) {
    return aAccount.Take(BytesOf(aPacket), aPacket.size());
}

TEST(KitPacketAccountTest, PacketsInOrderAreClean) {
    PacketAccount account(kFormat, /*aWithPayload=*/true);

    for (std::uint64_t sequence = 0; sequence < 300; ++sequence) {
        EXPECT_TRUE(Take(account, MakePacket(sequence)));
    }

    EXPECT_TRUE(account.IsClean());
    EXPECT_TRUE(account.IsSequenceKnown());
    EXPECT_EQ(300u, account.GetPackets());
    EXPECT_EQ(300 * kPacketSize, account.GetBytes());
    EXPECT_THAT(account.GetFirstFailure(), IsEmpty());
}

TEST(KitPacketAccountTest, AGapIsCountedOnceWithAllThatAreMissing) {
    PacketAccount account(kFormat, true);

    for (const std::uint64_t sequence : {2u, 3u, 7u}) Take(account, MakePacket(sequence));

    EXPECT_EQ(2u, account.GetGaps());
    EXPECT_EQ(5u, account.GetMissing());
    EXPECT_EQ(0u, account.GetFailures());
    EXPECT_FALSE(account.IsClean());
}

TEST(KitPacketAccountTest, TheDriversCountOfDropsIsTaken) {
    PacketAccount account(kFormat, true);

    Take(account, MakePacket(0, /*aDropped=*/0));
    Take(account, MakePacket(1, /*aDropped=*/3));

    EXPECT_EQ(3u, account.GetDropped());
    EXPECT_FALSE(account.IsClean());
}

TEST(KitPacketAccountTest, APacketThatIsNotWholeIsAFailureAndNotMissingAsWell) {
    PacketAccount account(kFormat, true);
    EXPECT_TRUE(Take(account, MakePacket(0)));

    EXPECT_FALSE(Take(account, "short"));
    EXPECT_FALSE(Take(account, MakePacket(1).substr(0, 40)));
    EXPECT_TRUE(Take(account, MakePacket(2)));

    EXPECT_EQ(2u, account.GetFailures());
    EXPECT_EQ("packet 1: wrong size", account.GetFirstFailure());
    EXPECT_EQ(0u, account.GetMissing());
    EXPECT_EQ(1u, account.GetUnnumbered());
    EXPECT_TRUE(account.IsSequenceKnown());
}

TEST(KitPacketAccountTest, WithoutAnyNumberTheSequenceIsNotKnown) {
    PacketAccount account(kFormat, false);
    EXPECT_TRUE(account.IsSequenceKnown());

    EXPECT_FALSE(Take(account, "text"));

    EXPECT_FALSE(account.IsSequenceKnown());
    EXPECT_EQ(1u, account.GetUnnumbered());
    EXPECT_EQ(1u, account.GetFailures());
}

TEST(KitPacketAccountTest, AWrongPayloadIsFoundOnRequestAndThePacketKept) {
    std::string packet = MakePacket(0);
    packet.back() = 'y';
    PacketAccount thorough(kFormat, true);
    PacketAccount quick(kFormat, false);

    EXPECT_TRUE(Take(thorough, packet));
    EXPECT_TRUE(Take(quick, packet));

    EXPECT_EQ("packet 0: wrong payload", thorough.GetFirstFailure());
    EXPECT_EQ(0u, quick.GetFailures());
}

TEST(KitPacketAccountTest, APacketThatComesAgainIsAFailure) {
    PacketAccount account(kFormat, true);
    Take(account, MakePacket(0));
    Take(account, MakePacket(1));

    EXPECT_TRUE(Take(account, MakePacket(0)));
    EXPECT_TRUE(Take(account, MakePacket(2)));

    EXPECT_EQ(1u, account.GetFailures());
    EXPECT_EQ(0u, account.GetMissing());
    EXPECT_EQ("packet 0: sequence number 0 comes again; 2 is due", account.GetFirstFailure());
}

TEST(KitPacketAccountTest, OfRawBytesOnlyTheNumberIsKnown) {
    const QvKit::RawFormat format(100);
    PacketAccount account(format, true);

    EXPECT_TRUE(Take(account, "anything"));

    EXPECT_EQ(100u, format.GetReadSize(QvKit::Snapshot()));
    EXPECT_STREQ("raw", account.GetFormat().GetName());
    EXPECT_FALSE(account.IsSequenceKnown());
    EXPECT_EQ(0u, account.GetUnnumbered());
    EXPECT_EQ(1u, account.GetPackets());
    EXPECT_EQ(8u, account.GetBytes());
    EXPECT_TRUE(account.IsClean());
}

// The file of packets

TEST(KitPacketFileTest, HoldsWhatWasAppendedAtOnce) {
    const TemporaryDirectory directory;
    PacketFile file(directory.File("packets"));

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
    // Of this program, which the kit is linked into.
    ImportPatch patch_{"WriteFile", &WriteOneByte, nullptr};
};

TEST(KitPacketFileTest, AFullDiskLeavesWholePackets) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("packets");
    PacketFile file(path);
    file.Append(BytesOf("abc"), 3);
    std::string message;
    {
        const FullDisk disk;
        ASSERT_TRUE(disk.IsActive());
        message = MessageOf([&] { file.Append(BytesOf("de"), 2); });
    }

    EXPECT_THAT(message, StartsWith("cannot write '" + path + "': error 112"));
    EXPECT_EQ("abc", ReadBytes(path));
    EXPECT_EQ(1u, file.GetPackets());
}

TEST(KitPacketFileTest, AFileThatIsOpenGrowsWhereItIsAndStaysOpen) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("packets");
    WriteBytes(path, "before");
    const QvTests::Handle open(::CreateFileA(path.c_str(), GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    ASSERT_NE(INVALID_SET_FILE_POINTER, ::SetFilePointer(open.Get(), 0, nullptr, FILE_END));
    std::string message;
    {
        PacketFile file(open.Get(), "out");
        file.Append(BytesOf("abc"), 3);
        const FullDisk disk;
        ASSERT_TRUE(disk.IsActive());
        message = MessageOf([&] { file.Append(BytesOf("de"), 2); });
    }

    EXPECT_THAT(message, StartsWith("cannot write 'out': error 112"));
    EXPECT_EQ("beforeabc", ReadBytes(path));
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(open.Get(), "!", 1, &written, nullptr));
}

TEST(KitPacketFileTest, WithoutAHandleThereIsNothingToWriteTo) {
    const auto error = ErrorOf([] { const PacketFile file(nullptr, "out"); });

    ASSERT_TRUE(error.has_value());
    EXPECT_THAT(error->what(), StartsWith("cannot write 'out': error 6"));
}

TEST(KitPacketFileTest, AFileThatCannotBeMadeIsAnError) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("missing") + "\\packets";

    const auto error = ErrorOf([&] { const PacketFile file(path); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_THAT(error->what(), StartsWith("cannot create '" + path + "': error 3"));
}

// Requests and channels, on a pipe whose server plays the driver

class KitChannelTest : public testing::Test {
protected:
    static std::string TextOf(Request& aRequest, const Request::Outcome& aOutcome) {
        return std::string(reinterpret_cast<const char*>(aRequest.GetBuffer()), aOutcome.size);
    }

    std::unique_ptr<Request> BeginRead() const {
        auto request = channel_->MakeRequest(100);
        request->Read(100);
        return request;
    }

    PipeServer server_;
    std::unique_ptr<Channel> channel_ = QvKit::OpenChannel(AddressOf(server_.Name()));
    StopSignal stop_;
};

TEST_F(KitChannelTest, AReadHasTheBytesOfTheDevice) {
    const auto request = channel_->MakeRequest(100);
    EXPECT_EQ(100u, request->GetCapacity());
    request->Read(100);

    server_.Write("abc");

    EXPECT_TRUE(request->WaitFor(kNoLimit, nullptr));
    const Request::Outcome outcome = request->Take();
    EXPECT_EQ(0u, outcome.error);
    EXPECT_EQ("abc", TextOf(*request, outcome));
}

BOOL WINAPI ReadAPartAtOnce(HANDLE, LPVOID aBytes, DWORD, LPDWORD, LPOVERLAPPED aOverlapped) {
    std::memcpy(aBytes, "ab", 2);
    aOverlapped->Internal = 0x80000005;  // STATUS_BUFFER_OVERFLOW
    aOverlapped->InternalHigh = 2;
    ::SetLastError(ERROR_MORE_DATA);
    return FALSE;
}

TEST_F(KitChannelTest, APartOfAMessageIsAnOutcomeWithItsBytes) {
    const ImportPatch patch("ReadFile", &ReadAPartAtOnce, nullptr);
    ASSERT_TRUE(patch.IsActive());
    const auto request = channel_->MakeRequest(2);
    request->Read(2);

    const Request::Outcome outcome = request->Take();

    EXPECT_EQ(234u, outcome.error);
    EXPECT_EQ("ab", TextOf(*request, outcome));
}

TEST_F(KitChannelTest, ARequestIsUsedAgain) {
    const auto request = channel_->MakeRequest(3);
    std::memcpy(request->GetBuffer(), "abc", 3);
    request->Write(3);
    EXPECT_EQ(3u, request->Take().size);
    EXPECT_EQ("abc", server_.Read());

    server_.Write("de");
    request->Read(3);

    EXPECT_EQ("de", TextOf(*request, request->Take()));
}

TEST_F(KitChannelTest, AWaitEndsWhenItIsStoppedOrItsTimeIsOver) {
    const auto request = BeginRead();

    EXPECT_FALSE(request->WaitFor(milliseconds(1), nullptr));
    EXPECT_FALSE(request->WaitFor(milliseconds(1), &stop_));
    stop_.Request();
    EXPECT_FALSE(request->WaitFor(kNoLimit, &stop_));

    // The request itself goes on.
    server_.Write("abc");
    EXPECT_EQ(3u, request->Take().size);
}

TEST_F(KitChannelTest, ACompleteRequestCountsBeforeTheWishToStop) {
    const auto request = channel_->MakeRequest(100);
    server_.Write("abc");
    request->Read(100);
    stop_.Request();

    EXPECT_TRUE(request->WaitFor(kNoLimit, &stop_));
}

TEST_F(KitChannelTest, OneRequestIsCancelledAndTheOthersAreNot) {
    const auto first = BeginRead();
    const auto second = BeginRead();

    first->Cancel();

    EXPECT_EQ(995u, first->Take().error);
    server_.Write("abc");
    EXPECT_EQ(3u, second->Take().size);
}

TEST_F(KitChannelTest, AfterCancellingAllTheChannelCanStillBeUsed) {
    const auto first = BeginRead();
    const auto second = BeginRead();

    channel_->CancelAll();

    EXPECT_EQ(995u, first->Take().error);
    EXPECT_EQ(995u, second->Take().error);
    server_.Write("abc");
    first->Read(100);
    EXPECT_EQ(3u, first->Take().size);
}

TEST_F(KitChannelTest, ARequestThatIsRefusedAtOnceHasAnOutcomeToo) {
    const auto request = channel_->MakeRequest(100);
    server_.Close();

    request->Read(100);

    EXPECT_TRUE(request->WaitFor(kNoLimit, &stop_));
    EXPECT_EQ(109u, request->Take().error);
    EXPECT_EQ(0u, request->Take().size);
}

TEST_F(KitChannelTest, ARequestKeepsTheDeviceOpen) {
    const auto request = channel_->MakeRequest(100);

    channel_.reset();

    server_.Write("abc");
    request->Read(100);
    EXPECT_EQ(3u, request->Take().size);
}

TEST_F(KitChannelTest, DestroyingAPendingRequestCancelsIt) {
    auto request = channel_->MakeRequest(100);
    request->Read(100);

    request.reset();

    // Nothing is left that would take these bytes.
    const auto next = channel_->MakeRequest(100);
    server_.Write("abc");
    next->Read(100);
    EXPECT_EQ(3u, next->Take().size);
}

TEST_F(KitChannelTest, ADeviceThatDoesNotOpenIsAnErrorByWhereItsNameIsFrom) {
    QvKit::DeviceAddress address = AddressOf("\\\\.\\pipe\\no such pipe");

    const auto typed = ErrorOf([&] { (void)QvKit::OpenChannel(address); });
    address.isListed = true;
    const auto listed = ErrorOf([&] { (void)QvKit::OpenChannel(address); });

    EXPECT_EQ(ErrorKind::NoSuchDevice, typed->GetKind());
    EXPECT_THAT(typed->what(), StartsWith("there is no device '" + address.path + "': error 2"));
    EXPECT_EQ(ErrorKind::DeviceGone, listed->GetKind());
    EXPECT_THAT(listed->what(),
                StartsWith("the device '" + address.path + "' was removed: error 2"));
}

// Rings

using KitRequestRingTest = KitChannelTest;

TEST_F(KitRequestRingTest, RequestsAreTakenInTheirOrder) {
    RequestRing ring(*channel_, 2, 100);
    ring.Read();
    ring.Read();
    EXPECT_TRUE(ring.IsFull());
    server_.Write("a");
    server_.Write("bc");

    EXPECT_TRUE(ring.WaitForOldest(kNoLimit, stop_));
    EXPECT_EQ(1u, ring.TakeOldest().size);
    const RequestRing::Outcome second = ring.TakeOldest();
    EXPECT_EQ(0, std::memcmp("bc", second.bytes, second.size));
    EXPECT_TRUE(ring.IsEmpty());
}

TEST_F(KitRequestRingTest, CancellingAllReachesThoseThatGoRoundTheEnd) {
    RequestRing ring(*channel_, 2, 100);
    ring.Read();
    server_.Write("a");
    (void)ring.TakeOldest();
    ring.Read();
    ring.Read();

    ring.CancelAll();

    EXPECT_EQ(2u, ring.GetPending());
    EXPECT_EQ(995u, ring.TakeOldest().error);
    EXPECT_EQ(995u, ring.TakeOldest().error);
}

// Reading a stream

class KitStreamReaderTest : public KitChannelTest {
protected:
    static StreamSettings Settings() {
        StreamSettings settings;
        settings.depth = 4;
        settings.readSize = kPacketSize;
        settings.verify = true;
        return settings;
    }
    static StreamSettings SettingsInto(PacketFile& aFile) {
        StreamSettings settings = Settings();
        settings.onRead = [&aFile](const unsigned char* aBytes, std::size_t aSize) {
            aFile.Append(aBytes, aSize);
        };
        return settings;
    }

    StreamReader& Start(const StreamSettings& aSettings) {
        reader_.emplace(*channel_, kFormat, aSettings, stop_);
        reader_->Start();
        return *reader_;
    }

    void Deliver(std::uint64_t aFirst, std::uint64_t aCount) const {
        for (std::uint64_t number = aFirst; number < aFirst + aCount; ++number) {
            server_.Write(MakePacket(number));
        }
    }

    // Watches the progress until so many packets are counted.
    static void AwaitPackets(const QvKit::Transfer& aTransfer, std::uint64_t aCount) {
        while (aTransfer.GetProgress().GetItems() < aCount) std::this_thread::yield();
    }

    // Waits for the end, which no error has brought.
    static void ExpectEnd(StreamReader& aReader, std::uint64_t aPackets) {
        EXPECT_TRUE(aReader.WaitFor(kNoLimit));
        EXPECT_FALSE(aReader.GetError().has_value());
        EXPECT_EQ(aPackets, aReader.GetAccount().GetPackets());
    }

    const TemporaryDirectory directory_;

private:
    std::optional<StreamReader> reader_;
};

TEST_F(KitStreamReaderTest, EndsWithTheLastPacketThatWasAskedFor) {
    StreamSettings settings = Settings();
    settings.packets = 10;
    StreamReader& reader = Start(settings);

    Deliver(0, 10);
    ExpectEnd(reader, 10u);
    EXPECT_TRUE(reader.GetAccount().IsClean());
    EXPECT_EQ(9u, reader.GetIntervals().GetCount());
    EXPECT_EQ(1.0, reader.GetProgress().GetDone());
    EXPECT_FALSE(reader.GetProgress().IsStopping());
    // No read is left over that would take what comes next.
    RequestRing ring(*channel_, 1, 100);
    server_.Write("abc");
    ring.Read();
    EXPECT_EQ(3u, ring.TakeOldest().size);
}

TEST_F(KitStreamReaderTest, StopsWhileADeviceIsSilent) {
    StreamReader& reader = Start(Settings());
    Deliver(0, 3);
    AwaitPackets(reader, 3);
    EXPECT_FALSE(reader.WaitFor(milliseconds(0)));

    stop_.Request();
    ExpectEnd(reader, 3u);
    EXPECT_TRUE(reader.GetProgress().IsStopping());
    EXPECT_FALSE(reader.GetProgress().GetDone().has_value());
}

TEST_F(KitStreamReaderTest, TheDeviceCanBeUsedAfterAStop) {
    {
        StreamReader reader(*channel_, kFormat, Settings(), stop_);
        reader.Start();
        Deliver(0, 1);
        AwaitPackets(reader, 1);
    }
    const StopSignal later;
    StreamSettings settings = Settings();
    settings.packets = 2;
    StreamReader reader(*channel_, kFormat, settings, later);
    reader.Start();
    Deliver(0, 2);
    ExpectEnd(reader, 2u);
}

TEST_F(KitStreamReaderTest, DestructionStopsIt) {
    auto reader = std::make_unique<StreamReader>(*channel_, kFormat, Settings(), stop_);
    reader->Start();
    Deliver(0, 1);
    AwaitPackets(*reader, 1);

    reader.reset();

    EXPECT_TRUE(stop_.IsRequested());
}

TEST_F(KitStreamReaderTest, WithoutAStartThereIsNothingToStop) {
    {
        const StreamReader reader(*channel_, kFormat, Settings(), stop_);
    }

    EXPECT_FALSE(stop_.IsRequested());
}

int RefuseAThread(void*, const void*, void*, void*) { return EAGAIN; }

TEST_F(KitStreamReaderTest, WithoutAThreadForItATransferDoesNotStart) {
    StreamReader reader(*channel_, kFormat, Settings(), stop_);
    const ImportPatch patch("pthread_create", &RefuseAThread, "libstdc++-6.dll");
    if (!patch.IsActive()) GTEST_SKIP() << "another C++ library starts threads in another way";

    const std::optional<QvKit::Error> error = ErrorOf([&reader] { reader.Start(); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_THAT(error->what(), StartsWith("cannot start the transfer: "));
}

TEST_F(KitStreamReaderTest, EndsWhenItsTimeIsOver) {
    StreamSettings settings = Settings();
    settings.time = milliseconds(50);
    StreamReader& reader = Start(settings);

    ExpectEnd(reader, 0u);
    EXPECT_GE(reader.GetTime(), milliseconds(50));
    EXPECT_EQ(1.0, reader.GetProgress().GetDone());
}

TEST_F(KitStreamReaderTest, ADeviceThatGoesAwayIsAnErrorThatKeepsWhatWasReceived) {
    PacketFile file(directory_.File("packets"));
    StreamReader& reader = Start(SettingsInto(file));
    Deliver(0, 5);
    AwaitPackets(reader, 5);

    server_.Close();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    ASSERT_TRUE(reader.GetError().has_value());
    EXPECT_EQ(ErrorKind::DeviceFailed, reader.GetError()->GetKind());
    EXPECT_EQ(109u, reader.GetError()->GetCode());
    EXPECT_THAT(reader.GetError()->what(), StartsWith("reading from the device failed: error 109"));
    EXPECT_EQ(5u, reader.GetAccount().GetPackets());
    EXPECT_EQ(5 * kPacketSize, ReadBytes(file.GetPath()).size());
}

TEST_F(KitStreamReaderTest, AFullDiskEndsTheStreamWithAFileOfWholePackets) {
    PacketFile file(directory_.File("packets"));
    StreamReader& reader = Start(SettingsInto(file));
    Deliver(0, 1);
    AwaitPackets(reader, 1);
    {
        const FullDisk disk;
        Deliver(1, 1);
        EXPECT_TRUE(reader.WaitFor(kNoLimit));
    }

    ASSERT_TRUE(reader.GetError().has_value());
    EXPECT_THAT(reader.GetError()->what(), HasSubstr("error 112"));
    EXPECT_EQ(2u, reader.GetAccount().GetPackets());
    EXPECT_EQ(MakePacket(0), ReadBytes(file.GetPath()));
}

TEST_F(KitStreamReaderTest, EveryByteThatWasReadIsHandedOn) {
    std::string taken;
    StreamSettings settings = Settings();
    settings.packets = 2;
    settings.onRead = [&](const unsigned char* aBytes, std::size_t aSize) {
        taken.append(reinterpret_cast<const char*>(aBytes), aSize);
    };
    StreamReader& reader = Start(settings);
    server_.Write("short");
    AwaitPackets(reader, 1);
    Deliver(0, 1);
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    EXPECT_EQ("short" + MakePacket(0), taken);
    EXPECT_EQ(1u, reader.GetAccount().GetFailures());
}

TEST_F(KitStreamReaderTest, EndsWhenNothingHasComeForSoLong) {
    StreamSettings settings = Settings();
    settings.packets = 3;
    settings.silence = milliseconds(50);
    StreamReader& reader = Start(settings);

    ExpectEnd(reader, 0u);
    EXPECT_GE(reader.GetTime(), milliseconds(50));
}

TEST_F(KitStreamReaderTest, WhateverEndComesFirstIsTheEnd) {
    StreamSettings settings = Settings();
    settings.packets = 2;
    settings.time = std::chrono::hours(1);
    settings.silence = std::chrono::hours(1);
    StreamReader& reader = Start(settings);
    Deliver(0, 2);

    ExpectEnd(reader, 2u);
    EXPECT_EQ(1.0, reader.GetProgress().GetDone());
}

TEST_F(KitStreamReaderTest, WhateverElseIsThrownEndsTheStreamAsAnError) {
    StreamSettings settings = Settings();
    settings.onRead = [](const unsigned char*, std::size_t) {
        throw std::runtime_error("out of paper");
    };
    StreamReader& reader = Start(settings);
    Deliver(0, 1);
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    ASSERT_TRUE(reader.GetError().has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, reader.GetError()->GetKind());
    EXPECT_STREQ("out of paper", reader.GetError()->what());
}

TEST_F(KitStreamReaderTest, NothingIsAllocatedForAPacket) {
    constexpr std::uint64_t kPackets = 500;
    std::vector<std::string> packets;
    for (std::uint64_t number = 0; number <= kPackets; ++number) {
        packets.push_back(MakePacket(number));
    }
    StreamSettings settings = Settings();
    // One packet more than is counted: the end of the stream may take memory.
    settings.packets = kPackets + 1;
    StreamReader& reader = Start(settings);
    server_.Write(packets[0]);
    AwaitPackets(reader, 1);

    const AllocationCounter counter;
    for (std::uint64_t number = 1; number < kPackets; ++number) server_.Write(packets[number]);
    AwaitPackets(reader, kPackets);
    EXPECT_EQ(0, counter.Count());
    server_.Write(packets[kPackets]);
    EXPECT_TRUE(reader.WaitFor(kNoLimit));
}

// Sending a file

class KitFileSenderTest : public KitStreamReaderTest {
protected:
    std::string Make(const std::string& aBytes) const {
        WriteBytes(directory_.File("data"), aBytes);
        return directory_.File("data");
    }
};

TEST_F(KitFileSenderTest, SendsRequestsOfTheSizeAndTheRest) {
    FileSender sender(*channel_, {Make("abcdefgh"), 3, milliseconds(10)}, stop_);
    EXPECT_EQ(0.0, sender.GetProgress().GetDone());
    sender.Start();

    EXPECT_EQ("abc", server_.Read());
    EXPECT_EQ("def", server_.Read());
    EXPECT_EQ("gh", server_.Read());
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_FALSE(sender.GetError().has_value());
    EXPECT_EQ(3u, sender.GetRequests());
    EXPECT_EQ(8u, sender.GetBytes());
    EXPECT_EQ(1.0, sender.GetProgress().GetDone());
}

TEST_F(KitFileSenderTest, AFileOfOneByteIsDoneWithIt) {
    FileSender sender(*channel_, {Make("a"), 3, milliseconds(10)}, stop_);
    sender.Start();

    EXPECT_EQ("a", server_.Read());
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_EQ(1.0, sender.GetProgress().GetDone());
}

TEST_F(KitFileSenderTest, AnEmptyFileTakesNoRequest) {
    FileSender sender(*channel_, {Make(""), 3, milliseconds(10)}, stop_);
    sender.Start();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_FALSE(sender.GetError().has_value());
    EXPECT_EQ(0u, sender.GetRequests());
    EXPECT_FALSE(sender.GetProgress().GetDone().has_value());
}

TEST_F(KitFileSenderTest, AFileThatIsMissingIsAnError) {
    const std::string path = directory_.File("missing");

    const auto error =
        ErrorOf([&] { const FileSender sender(*channel_, {path, 3, milliseconds(10)}, stop_); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::SystemFailed, error->GetKind());
    EXPECT_THAT(error->what(), StartsWith("cannot open '" + path + "': error 2"));
}

BOOL WINAPI FailToRead(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) {
    ::SetLastError(ERROR_CRC);
    return FALSE;
}

TEST_F(KitFileSenderTest, AFileThatCannotBeReadIsAnError) {
    FileSender sender(*channel_, {Make("abc"), 3, milliseconds(10)}, stop_);
    {
        const ImportPatch patch("ReadFile", &FailToRead, nullptr);
        ASSERT_TRUE(patch.IsActive());
        sender.Start();
        EXPECT_TRUE(sender.WaitFor(kNoLimit));
    }

    ASSERT_TRUE(sender.GetError().has_value());
    EXPECT_THAT(sender.GetError()->what(),
                StartsWith("cannot read '" + sender.GetPath() + "': error 23"));
}

TEST_F(KitFileSenderTest, ADeviceThatGoesAwayIsAnError) {
    FileSender sender(*channel_, {Make(std::string(1000000, 'x')), 1000, milliseconds(10)}, stop_);
    sender.Start();
    (void)server_.Read();

    server_.Close();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    ASSERT_TRUE(sender.GetError().has_value());
    EXPECT_THAT(sender.GetError()->what(), StartsWith("writing to the device failed: error "));
    EXPECT_LT(sender.GetBytes(), 1000000u);
}

TEST_F(KitFileSenderTest, StopsWhileADeviceTakesNothing) {
    FileSender sender(*channel_, {Make(std::string(1000000, 'x')), 1000, milliseconds(10)}, stop_);
    sender.Start();
    AwaitPackets(sender, 1);

    stop_.Request();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_FALSE(sender.GetError().has_value());
    EXPECT_LT(sender.GetBytes(), 1000000u);
}

// A channel without a device: each request ends as the test says.
class ScriptedChannel final : public Channel {
public:
    std::unique_ptr<Request> MakeRequest(std::size_t aCapacity) override {
        return std::make_unique<ScriptedRequest>(*this, aCapacity);
    }
    void CancelAll() override {}

    std::deque<Request::Outcome> outcomes;
    int fillings = 0;
    std::function<void()> onTake = [] {};

private:
    class ScriptedRequest final : public Request {
    public:
        ScriptedRequest(ScriptedChannel& aChannel, std::size_t aCapacity)
            : channel_(aChannel), buffer_(aCapacity) {}
        unsigned char* GetBuffer() override {
            ++channel_.fillings;
            return buffer_.data();
        }
        std::size_t GetCapacity() const override { return buffer_.size(); }
        void Read(std::size_t) override {}
        void Write(std::size_t) override {}
        void Control(unsigned long, std::size_t, std::size_t) override {}
        bool WaitFor(milliseconds, const StopSignal*, const StopSignal*) override { return true; }
        void Cancel() override {}
        Outcome Take() override {
            channel_.onTake();
            const Outcome outcome = channel_.outcomes.front();
            if (channel_.outcomes.size() > 1) channel_.outcomes.pop_front();
            return outcome;
        }

    private:
        ScriptedChannel& channel_;
        std::vector<unsigned char> buffer_;
    };
};

TEST_F(KitFileSenderTest, ADeviceThatIsBusyIsAskedAgain) {
    ScriptedChannel channel;
    channel.outcomes = {{ERROR_BUSY, 0}, {ERROR_BUSY, 0}, {0, 3}};
    FileSender sender(channel, {Make("abc"), 3, milliseconds(60000)}, stop_);
    sender.Start();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_FALSE(sender.GetError().has_value());
    EXPECT_EQ(2u, sender.GetBusyRetries());
    EXPECT_EQ(1u, sender.GetRequests());
}

TEST_F(KitFileSenderTest, ADeviceThatStaysBusyIsAnErrorWhenTheTimeIsOver) {
    ManualClock clock;
    ScriptedChannel channel;
    channel.outcomes = {{ERROR_BUSY, 0}};
    channel.onTake = [&] { clock.now += milliseconds(10); };
    FileSender sender(channel, {Make("abc"), 3, milliseconds(20)}, stop_, clock);
    sender.Start();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    ASSERT_TRUE(sender.GetError().has_value());
    EXPECT_THAT(sender.GetError()->what(),
                StartsWith("the device has taken nothing for 20 ms: error 170"));
    EXPECT_EQ(1u, sender.GetBusyRetries());
    EXPECT_EQ(milliseconds(20), sender.GetTime());
}

TEST_F(KitFileSenderTest, StopsWhileADeviceIsBusy) {
    ScriptedChannel channel;
    channel.outcomes = {{ERROR_BUSY, 0}};
    channel.onTake = [&] { stop_.Request(); };
    FileSender sender(channel, {Make("abc"), 3, milliseconds(60000)}, stop_);
    sender.Start();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_FALSE(sender.GetError().has_value());
    EXPECT_EQ(0u, sender.GetRequests());
}

TEST_F(KitFileSenderTest, AfterAStopTheRestOfTheFileIsNotRead) {
    ScriptedChannel channel;
    channel.outcomes = {{0, 3}};
    channel.onTake = [&] { stop_.Request(); };
    FileSender sender(channel, {Make(std::string(300, 'x')), 3, milliseconds(10)}, stop_);
    sender.Start();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    EXPECT_EQ(1u, sender.GetRequests());
    EXPECT_LT(channel.fillings, 10);
}

TEST_F(KitFileSenderTest, ADeviceThatTakesOnlyAPartIsAnError) {
    ScriptedChannel channel;
    channel.outcomes = {{0, 2}};
    FileSender sender(channel, {Make("abc"), 3, milliseconds(10)}, stop_);
    sender.Start();
    EXPECT_TRUE(sender.WaitFor(kNoLimit));

    ASSERT_TRUE(sender.GetError().has_value());
    EXPECT_STREQ("the device has taken only 2 of the 3 bytes of a request",
                 sender.GetError()->what());
    EXPECT_EQ(2u, sender.GetBytes());
}

TEST_F(KitStreamReaderTest, AReadThatHoldsOnlyAPartOfWhatThereIsCounts) {
    ScriptedChannel channel;
    channel.outcomes = {{ERROR_MORE_DATA, 10}, {0, 4}};
    StreamSettings settings = Settings();
    settings.packets = 2;
    std::size_t taken = 0;
    settings.onRead = [&](const unsigned char*, std::size_t aSize) { taken += aSize; };
    const QvKit::RawFormat raw;
    StreamReader reader(channel, raw, settings, stop_);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    EXPECT_FALSE(reader.GetError().has_value());
    EXPECT_EQ(14u, taken);
}

TEST_F(KitStreamReaderTest, ADeviceThatAbortsAReadByItselfIsAnError) {
    ScriptedChannel channel;
    channel.outcomes = {{ERROR_OPERATION_ABORTED, 0}};
    StreamReader reader(channel, kFormat, Settings(), stop_);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    ASSERT_TRUE(reader.GetError().has_value());
    EXPECT_THAT(reader.GetError()->what(), StartsWith("reading from the device failed: error 995"));
}

TEST_F(KitStreamReaderTest, WhatHasComeBesideReadsThatAreCancelledCounts) {
    ScriptedChannel channel;
    channel.outcomes = {{0, 5}, {0, 5}, {ERROR_OPERATION_ABORTED, 0}, {0, 4}};
    channel.onTake = [&] { stop_.Request(); };
    const QvKit::RawFormat raw;
    StreamReader reader(channel, raw, Settings(), stop_);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    EXPECT_FALSE(reader.GetError().has_value());
    EXPECT_EQ(14u, reader.GetAccount().GetBytes());
}

TEST_F(KitStreamReaderTest, ReadsWithoutBytesAreSilence) {
    ManualClock clock;
    ScriptedChannel channel;
    channel.outcomes = {{0, 5}, {0, 0}};
    channel.onTake = [&] { clock.now += milliseconds(1); };
    StreamSettings settings = Settings();
    settings.silence = milliseconds(10);
    const QvKit::RawFormat raw;
    StreamReader reader(channel, raw, settings, stop_, clock);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    EXPECT_EQ(5u, reader.GetAccount().GetBytes());
    EXPECT_EQ(milliseconds(11), reader.GetTime());
}

TEST_F(KitStreamReaderTest, ASlowSinkIsNoSilence) {
    ManualClock clock;
    ScriptedChannel channel;
    channel.outcomes = {{0, kPacketSize}};
    StreamSettings settings = Settings();
    settings.packets = 3;
    settings.silence = milliseconds(10);
    settings.onRead = [&](const unsigned char*, std::size_t) { clock.now += milliseconds(20); };
    StreamReader reader(channel, kFormat, settings, stop_, clock);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    EXPECT_EQ(3u, reader.GetAccount().GetPackets());
}

TEST_F(KitStreamReaderTest, TimesBetweenCompletionsAreThoseOfTheClock) {
    ManualClock clock;
    ScriptedChannel channel;
    channel.outcomes = {{0, kPacketSize}};
    channel.onTake = [&] { clock.now += milliseconds(7); };
    StreamSettings settings = Settings();
    settings.packets = 3;
    StreamReader reader(channel, kFormat, settings, stop_, clock);
    reader.Start();
    EXPECT_TRUE(reader.WaitFor(kNoLimit));

    EXPECT_EQ(2u, reader.GetIntervals().GetCount());
    EXPECT_EQ(7000000u, reader.GetIntervals().GetMinimum());
    EXPECT_EQ(7000000u, reader.GetIntervals().GetMaximum());
    EXPECT_EQ(milliseconds(21), reader.GetTime());
}

}  // namespace
