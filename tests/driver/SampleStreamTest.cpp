// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the sample driver's reads and writes do: packets, faults, cancelling, order, the loop-back,
// and the end of a device.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "HandleLedger.h"
#include "KernelObjects.h"
#include "QvSample/QvSamplePacket.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "QvUserLib/DeviceRequestQueue.h"
#include "SampleDevice.h"
#include "SampleSetup.h"

namespace QvTests {
namespace {

using testing::AnyOf;

constexpr unsigned int kHeaderSize = sizeof(QV_SAMPLE_PACKET_HEADER);
constexpr unsigned int kSmallest = 64;
constexpr unsigned int kLargest = 65536;
constexpr long long kDataError = 0xC000009CLL;  // STATUS_DEVICE_DATA_ERROR, in Win32 ERROR_CRC.

// Room for any packet, filled with a byte that shows what was not written. And how many bytes a
// read returned.
struct Buffer {
    Buffer() : bytes(kLargest + 1, 0xEE) {}

    QV_SAMPLE_PACKET_HEADER Header() const {
        QV_SAMPLE_PACKET_HEADER header = {};
        std::memcpy(&header, bytes.data(), kHeaderSize);
        return header;
    }

    std::vector<unsigned char> bytes;
    unsigned long size = 0;
};

// Whether the buffer begins with `aSize` bytes of a packet that is `aFullSize` long, and was left
// alone behind them.
void ExpectPacket(const Buffer& aBuffer, unsigned int aSize, unsigned int aFullSize) {
    const QV_SAMPLE_PACKET_HEADER header = aBuffer.Header();
    ASSERT_EQ(aSize, aBuffer.size);
    EXPECT_EQ(QV_SAMPLE_PACKET_MAGIC, header.magic);
    EXPECT_EQ(aFullSize - kHeaderSize, header.payloadBytes);
    for (unsigned int index = 0; index < aSize - kHeaderSize; ++index) {
        ASSERT_EQ(QvSamplePayloadByte(header.sequence, index), aBuffer.bytes[kHeaderSize + index])
            << "packet " << header.sequence << ", byte " << index;
    }
    const auto end = aBuffer.bytes.begin() + aSize;
    EXPECT_EQ(aBuffer.bytes.end() - end, std::count(end, aBuffer.bytes.end(), 0xEE));
}

// A read that was sent and not waited for. The device has to stay open until it has ended.
class PendingRead {
public:
    PendingRead(DeviceConnection& aConnection, unsigned int aSize) : connection_(aConnection) {
        overlapped_.hEvent = event_.Get();
        sent_ = connection_.Read(buffer.bytes.data(), aSize, &buffer.size, &overlapped_).GetCode();
    }

    PendingRead(const PendingRead&) = delete;
    PendingRead& operator=(const PendingRead&) = delete;

    bool IsPending() { return sent_ == Code::Pending && !event_.IsSet(); }
    void WaitForEnd() const { event_.Wait(); }

    unsigned long Finish() {
        return connection_.GetOverlappedResult(&overlapped_, &buffer.size, /*aWait=*/true)
            .GetCode();
    }

    OVERLAPPED* Overlapped() { return &overlapped_; }

    Buffer buffer;

private:
    DeviceConnection& connection_;
    Event event_;
    OVERLAPPED overlapped_ = {};
    unsigned long sent_;
};

using PendingReads = std::vector<std::unique_ptr<PendingRead>>;

// A device with a packet for every read.
class SampleStreamTest : public SampleDeviceTest {
protected:
    void SetUp() override {
        SampleDeviceTest::SetUp();
        if (!HasFatalFailure()) Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    }

    unsigned long Read(Buffer& aBuffer, unsigned int aSize = kLargest) {
        return connection_.Read(aBuffer.bytes.data(), aSize, &aBuffer.size, nullptr).GetCode();
    }

    QV_SAMPLE_PACKET_HEADER ReadHeader() {
        Buffer buffer;
        EXPECT_EQ(Code::Success, Read(buffer));
        return buffer.Header();
    }

    PendingReads SendReads(std::size_t aCount, unsigned int aSize = kLargest) {
        PendingReads reads;
        for (std::size_t i = 0; i < aCount; ++i) {
            reads.push_back(std::make_unique<PendingRead>(connection_, aSize));
        }
        return reads;
    }

    long long Value(unsigned long aID) {
        DeviceParameterRepository parameters;
        EXPECT_THAT(parameters.Connect(&connection_), HasCode(Code::Success));
        return parameters.GetByID(aID)->GetInt();
    }

    // Returns the driver's code for a value that the library itself would not send.
    unsigned long SetUnchecked(unsigned long aID, long long aValue) {
        DeviceParameterRepository parameters;
        EXPECT_THAT(parameters.Connect(&connection_), HasCode(Code::Success));
        Parameter* const parameter = parameters.GetByID(aID);
        EXPECT_THAT(parameter->SetRange(0LL, 0xFFFFFFFFLL), HasCode(Code::Success));
        EXPECT_THAT(parameter->SetInt(aValue), HasCode(Code::Success));
        return parameters.Apply().GetCode();
    }
};

TEST_F(SampleStreamTest, PacketIsRightInEveryByte) {
    for (const unsigned int size : {64U, 65U, 100U, 263U, 295U, 296U, 4096U, 40001U, 65536U}) {
        SCOPED_TRACE(size);
        Buffer buffer;
        Set(QV_SAMPLE_ID_PACKET_SIZE, size);
        ASSERT_EQ(Code::Success, Read(buffer));
        ExpectPacket(buffer, size, size);
    }
}

TEST_F(SampleStreamTest, ReadWithoutARateHasNoGap) {
    for (std::uint64_t expected = 0; expected < 1000; ++expected) {
        const QV_SAMPLE_PACKET_HEADER header = ReadHeader();
        ASSERT_EQ(expected, header.sequence);
        ASSERT_EQ(0U, header.dropped);
    }
}

TEST_F(SampleStreamTest, TimestampIsTheSystemsTime) {
    constexpr std::uint64_t kSecond = 10000000;
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    const auto before = (std::uint64_t{now.dwHighDateTime} << 32) + now.dwLowDateTime;

    const std::uint64_t first = ReadHeader().timestamp;
    const std::uint64_t second = ReadHeader().timestamp;
    EXPECT_GE(first, before - kSecond);
    EXPECT_LE(first, before + kSecond);
    EXPECT_GE(second, first);
}

TEST_F(SampleStreamTest, HandlesShareAStreamThatTheLastOneEnds) {
    DeviceConnection other;
    Buffer buffer;
    ASSERT_THAT(other.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
    EXPECT_EQ(0U, ReadHeader().sequence);
    ASSERT_THAT(other.Read(buffer.bytes.data(), kLargest, &buffer.size, nullptr),
                HasCode(Code::Success));
    EXPECT_EQ(1U, buffer.Header().sequence);

    ASSERT_THAT(connection_.Close(), HasCode(Code::Success));
    ASSERT_THAT(connection_.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
    EXPECT_EQ(2U, ReadHeader().sequence);

    ASSERT_THAT(other.Close(), HasCode(Code::Success));
    ASSERT_THAT(connection_.Close(), HasCode(Code::Success));
    ASSERT_THAT(connection_.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
    EXPECT_EQ(0U, ReadHeader().sequence);
}

TEST_F(SampleStreamTest, EveryNumberComesOnceWhileOtherHandlesComeAndGo) {
    const auto readEight = [](DeviceConnection& aConnection, std::vector<std::uint64_t>& aNumbers) {
        PendingReads reads;
        for (int read = 0; read < 8; ++read) {
            reads.push_back(std::make_unique<PendingRead>(aConnection, kLargest));
        }
        for (const auto& read : reads) {
            EXPECT_EQ(Code::Success, read->Finish());
            aNumbers.push_back(read->buffer.Header().sequence);
        }
    };
    std::vector<std::uint64_t> numbers = {ReadHeader().sequence};
    std::vector<std::uint64_t> others;
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        while (!isOver) {
            DeviceConnection connection;
            EXPECT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
            readEight(connection, others);
        }
    });
    for (int round = 0; round < 200; ++round) readEight(connection_, numbers);
    isOver = true;
    other.join();

    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    numbers.insert(numbers.end(), others.begin(), others.end());
    std::sort(numbers.begin(), numbers.end());
    for (std::size_t index = 0; index < numbers.size(); ++index) ASSERT_EQ(index, numbers[index]);
}

// One read at a time cannot take a packet every 10 us.
TEST_F(SampleStreamTest, PacketsWithoutAPendingReadAreDroppedAndCounted) {
    Set(QV_SAMPLE_ID_PACKET_SIZE, kSmallest);
    Set(QV_SAMPLE_ID_PACKET_RATE, 100000);
    std::uint64_t received = 0;
    QV_SAMPLE_PACKET_HEADER header = {};
    while (header.dropped < 1000 || received < 100) {
        header = ReadHeader();
        ASSERT_EQ(received++, header.sequence - header.dropped);
    }
}

TEST_F(SampleStreamTest, PacketsBecomeDueAsTimePasses) {
    using Clock = std::chrono::steady_clock;
    constexpr std::uint64_t kRate = 1000;
    const auto packetsBetween = [](Clock::time_point aFrom, Clock::time_point aTo) {
        return static_cast<std::uint64_t>(
                   std::chrono::duration_cast<std::chrono::microseconds>(aTo - aFrom).count()) *
               kRate / 1000000;
    };

    Set(QV_SAMPLE_ID_PACKET_RATE, kRate);
    const Clock::time_point before = Clock::now();
    EXPECT_EQ(0U, ReadHeader().sequence);
    const Clock::time_point after = Clock::now();
    for (int i = 0; i < 50; ++i) {
        const Clock::time_point sent = Clock::now();
        const std::uint64_t packets = ReadHeader().sequence + 1;
        // The stream began after `before`, and its first packet came before `after`.
        ASSERT_LE(packets, packetsBetween(before, Clock::now()));
        ASSERT_GT(packets, packetsBetween(after, sent));
    }
}

TEST_F(SampleStreamTest, NewSizeHoldsForTheNextPacketOfAPendingRead) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 1);
    PendingRead read(connection_, kLargest);
    EXPECT_TRUE(read.IsPending());

    Set(QV_SAMPLE_ID_PACKET_SIZE, 512);
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);

    EXPECT_EQ(Code::Success, read.Finish());
    ExpectPacket(read.buffer, 512, 512);
}

TEST_F(SampleStreamTest, SequenceGoesOnWhenSizeOrRateChange) {
    for (std::uint64_t expected = 0; expected < 20; ++expected) {
        Set(QV_SAMPLE_ID_PACKET_SIZE, kSmallest + static_cast<long long>(expected));
        Set(QV_SAMPLE_ID_PACKET_RATE, expected % 2 == 0 ? 0 : 100);
        const QV_SAMPLE_PACKET_HEADER header = ReadHeader();
        ASSERT_EQ(expected, header.sequence - header.dropped);
    }
}

TEST_F(SampleStreamTest, ValuesOutOfRangeAreRefusedAndChangeNothing) {
    const struct {
        unsigned long id;
        long long value;
    } cases[] = {{QV_SAMPLE_ID_PACKET_SIZE, 63},
                 {QV_SAMPLE_ID_PACKET_SIZE, 65537},
                 {QV_SAMPLE_ID_PACKET_RATE, 100001},
                 {QV_SAMPLE_ID_FAULT_FAIL_READS, 1000001},
                 {QV_SAMPLE_ID_FAULT_STATUS, 0},
                 {QV_SAMPLE_ID_FAULT_STATUS, 0x80000005LL},
                 {QV_SAMPLE_ID_FAULT_STATUS, 0xF0000000LL},
                 {QV_SAMPLE_ID_FAULT_DELAY, 10001},
                 {QV_SAMPLE_ID_FAULT_SHORT_READS, 1000001}};
    for (const auto& refused : cases) {
        SCOPED_TRACE(std::to_string(refused.id) + " = " + std::to_string(refused.value));
        const long long before = Value(refused.id);
        EXPECT_EQ(static_cast<unsigned long>(ERROR_INVALID_PARAMETER),
                  SetUnchecked(refused.id, refused.value));
        EXPECT_EQ(before, Value(refused.id));
    }
}

TEST_F(SampleStreamTest, ReadShorterThanAPacketIsRefusedAndUsesNoneUp) {
    Buffer buffer;
    EXPECT_EQ(static_cast<unsigned long>(ERROR_INSUFFICIENT_BUFFER), Read(buffer, 4095));
    EXPECT_EQ(0xEE, buffer.bytes[0]);

    EXPECT_EQ(Code::Success, Read(buffer, 4096));
    EXPECT_EQ(0U, buffer.Header().sequence);
}

// Faults

TEST_F(SampleStreamTest, FaultsAreForExpertsOnly) {
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection_), HasCode(Code::Success));
    for (const unsigned long id :
         {QV_SAMPLE_ID_FAULT_FAIL_READS, QV_SAMPLE_ID_FAULT_STATUS, QV_SAMPLE_ID_FAULT_DELAY,
          QV_SAMPLE_ID_FAULT_SHORT_READS, QV_SAMPLE_ID_FAULT_HOLD}) {
        SCOPED_TRACE(id);
        EXPECT_TRUE(parameters.GetByID(id)->IsHidden());
        EXPECT_TRUE(parameters.GetByID(id)->IsAdvanced());
    }
}

TEST_F(SampleStreamTest, ReadsFailAsOftenAsAskedAndUseNoPacketUp) {
    Buffer buffer;
    Set(QV_SAMPLE_ID_FAULT_FAIL_READS, 2);
    EXPECT_EQ(static_cast<unsigned long>(ERROR_IO_DEVICE), Read(buffer));
    EXPECT_EQ(1, Value(QV_SAMPLE_ID_FAULT_FAIL_READS));

    Set(QV_SAMPLE_ID_FAULT_STATUS, kDataError);
    EXPECT_EQ(static_cast<unsigned long>(ERROR_CRC), Read(buffer));

    EXPECT_EQ(0U, ReadHeader().sequence);
    EXPECT_EQ(0, Value(QV_SAMPLE_ID_FAULT_FAIL_READS));
}

TEST_F(SampleStreamTest, FailureDoesNotWaitForAPacket) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 1);
    PendingRead first(connection_, kLargest);
    PendingRead second(connection_, kLargest);
    Set(QV_SAMPLE_ID_FAULT_FAIL_READS, 1);

    EXPECT_EQ(static_cast<unsigned long>(ERROR_IO_DEVICE), first.Finish());
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    EXPECT_EQ(Code::Success, second.Finish());
}

TEST_F(SampleStreamTest, ShortReadReturnsHalfAPacket) {
    Buffer half;
    Buffer whole;
    Set(QV_SAMPLE_ID_PACKET_SIZE, 1001);
    Set(QV_SAMPLE_ID_FAULT_SHORT_READS, 1);

    ASSERT_EQ(Code::Success, Read(half));
    ExpectPacket(half, 500, 1001);
    ASSERT_EQ(Code::Success, Read(whole));
    ExpectPacket(whole, 1001, 1001);
    EXPECT_EQ(1U, whole.Header().sequence);
}

TEST_F(SampleStreamTest, DelayedReadsCompleteLater) {
    const auto sent = std::chrono::steady_clock::now();
    Set(QV_SAMPLE_ID_FAULT_DELAY, 30);
    PendingReads reads = SendReads(3);

    for (std::uint64_t expected = 0; expected < reads.size(); ++expected) {
        EXPECT_EQ(Code::Success, reads[expected]->Finish());
        EXPECT_GE(std::chrono::steady_clock::now() - sent, std::chrono::milliseconds(30));
        EXPECT_EQ(expected, reads[expected]->buffer.Header().sequence);
    }
}

TEST_F(SampleStreamTest, ReadAfterDelayedOnesDoesNotOvertakeThem) {
    Set(QV_SAMPLE_ID_FAULT_DELAY, 50);
    PendingRead delayed(connection_, kLargest);
    Set(QV_SAMPLE_ID_FAULT_DELAY, 0);
    PendingRead next(connection_, kLargest);

    next.WaitForEnd();
    EXPECT_FALSE(delayed.IsPending());
    EXPECT_EQ(Code::Success, delayed.Finish());
    EXPECT_EQ(Code::Success, next.Finish());
    EXPECT_EQ(1U, next.buffer.Header().sequence);
}

TEST_F(SampleStreamTest, HeldReadsGoOnWhenReleased) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    PendingReads reads = SendReads(3);
    for (const auto& read : reads) EXPECT_TRUE(read->IsPending());

    Set(QV_SAMPLE_ID_FAULT_HOLD, 0);
    for (std::uint64_t expected = 0; expected < reads.size(); ++expected) {
        EXPECT_EQ(Code::Success, reads[expected]->Finish());
        EXPECT_EQ(expected, reads[expected]->buffer.Header().sequence);
    }
}

// Cancelling

class SampleCancelTest : public SampleStreamTest {
protected:
    // `CancelIoEx` needs the handle, and a connection doesn't show it. So the reads are sent on a
    // handle that belongs to the test.
    void SetUp() override {
        SampleStreamTest::SetUp();
        if (HasFatalFailure()) return;
        DeviceConnection other;
        ASSERT_THAT(other.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
        handle_ = std::make_unique<Handle>(other.ReleaseHandle());
    }

    struct RawRead {
        Event event;
        OVERLAPPED overlapped = {};
        Buffer buffer;
    };

    void Send(RawRead& aRead) const {
        aRead.overlapped.hEvent = aRead.event.Get();
        if (!::ReadFile(handle_->Get(), aRead.buffer.bytes.data(), kLargest, nullptr,
                        &aRead.overlapped)) {
            ASSERT_EQ(static_cast<DWORD>(ERROR_IO_PENDING), ::GetLastError());
        }
    }

    DWORD Finish(RawRead& aRead) const {
        const BOOL done = ::GetOverlappedResult(handle_->Get(), &aRead.overlapped,
                                                &aRead.buffer.size, /*bWait=*/TRUE);
        return done ? ERROR_SUCCESS : ::GetLastError();
    }

    void CancelAndFinish(RawRead& aRead) const {
        EXPECT_TRUE(::CancelIoEx(handle_->Get(), &aRead.overlapped));
        EXPECT_EQ(static_cast<DWORD>(ERROR_OPERATION_ABORTED), Finish(aRead));
        EXPECT_EQ(0U, aRead.buffer.size);
    }

    std::unique_ptr<Handle> handle_;
};

TEST_F(SampleCancelTest, HeldReadsAreCancelledOneByOne) {
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    RawRead reads[8];
    for (RawRead& read : reads) Send(read);

    for (const int index : {3, 0, 7, 4}) {
        CancelAndFinish(reads[index]);
        for (const int other : {1, 2, 5, 6}) EXPECT_FALSE(reads[other].event.IsSet());
    }

    Set(QV_SAMPLE_ID_FAULT_HOLD, 0);
    std::uint64_t expected = 0;
    for (const int index : {1, 2, 5, 6}) {
        EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), Finish(reads[index]));
        EXPECT_EQ(expected++, reads[index].buffer.Header().sequence);
    }
}

TEST_F(SampleCancelTest, ReadWaitingForItsPacketIsCancelled) {
    Set(QV_SAMPLE_ID_PACKET_RATE, 1);
    RawRead read;
    Send(read);
    CancelAndFinish(read);
}

TEST_F(SampleCancelTest, PacketOfACancelledDelayedReadCountsAsDropped) {
    RawRead first;
    RawRead second;
    Set(QV_SAMPLE_ID_FAULT_DELAY, 10000);
    Send(first);
    Set(QV_SAMPLE_ID_FAULT_DELAY, 0);
    Send(second);
    CancelAndFinish(first);
    // It has no delay, but it had to wait for the read before it.
    CancelAndFinish(second);

    const QV_SAMPLE_PACKET_HEADER header = ReadHeader();
    EXPECT_EQ(2U, header.sequence);
    EXPECT_EQ(2U, header.dropped);
}

TEST_F(SampleCancelTest, PacketsBehindACancelledDelayedReadTellOfIt) {
    RawRead first;
    RawRead second;
    Set(QV_SAMPLE_ID_FAULT_DELAY, 500);
    Send(first);
    Send(second);
    CancelAndFinish(first);

    EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), Finish(second));
    EXPECT_EQ(1U, second.buffer.Header().sequence);
    EXPECT_EQ(1U, second.buffer.Header().dropped);
}

// The driver's clock completes reads, one right after the other, while they are being cancelled.
TEST_F(SampleCancelTest, EveryPacketIsReturnedOrCountedWhoeverIsFaster) {
    std::uint64_t received = 0;
    Set(QV_SAMPLE_ID_FAULT_DELAY, 1);
    for (int round = 0; round < 300; ++round) {
        RawRead reads[4];
        for (RawRead& read : reads) Send(read);
        reads[0].event.Wait();
        for (RawRead& read : reads) (void)::CancelIoEx(handle_->Get(), &read.overlapped);
        std::vector<DWORD> codes;
        for (RawRead& read : reads) codes.push_back(Finish(read));
        for (int index = 0; index < 4; ++index) {
            if (codes[index] != ERROR_SUCCESS) {
                ASSERT_EQ(static_cast<DWORD>(ERROR_OPERATION_ABORTED), codes[index]);
                continue;
            }
            const QV_SAMPLE_PACKET_HEADER header = reads[index].buffer.Header();
            ASSERT_EQ(received++, header.sequence - header.dropped);
        }
    }
    const QV_SAMPLE_PACKET_HEADER last = ReadHeader();
    EXPECT_EQ(received, last.sequence - last.dropped);
    EXPECT_EQ(300U * 4, last.sequence);
}

TEST_F(SampleCancelTest, ClosingEndsReadsThatAreHeldOrDelayed) {
    RawRead delayed;
    RawRead held;
    Set(QV_SAMPLE_ID_FAULT_DELAY, 10000);
    Send(delayed);
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    Send(held);

    handle_->Close();
    delayed.event.Wait();
    held.event.Wait();
    EXPECT_NE(ERROR_SUCCESS, static_cast<int>(delayed.overlapped.Internal));
    EXPECT_NE(ERROR_SUCCESS, static_cast<int>(held.overlapped.Internal));
}

// Order

// Keeps a queue full of reads and collects them. Each time it checks that no read has completed
// before an older one.
class SampleOrderTest : public SampleStreamTest {
protected:
    void SetUp() override {
        SampleStreamTest::SetUp();
        if (!HasFatalFailure()) Set(QV_SAMPLE_ID_PACKET_SIZE, kSmallest);
    }

    // Streams `aCount` requests through a queue with `aDepth` records.
    void Stream(unsigned int aDepth, int aCount) {
        DeviceRequestQueue queue;
        ASSERT_THAT(queue.Allocate(aDepth, &connection_), HasCode(Code::Success));
        slots_.assign(aDepth - 1, Slot());
        int sent = 0;
        for (int collected = 0; collected < aCount; ++collected) {
            for (; sent < aCount && sent - collected < static_cast<int>(slots_.size()); ++sent) {
                Send(queue, SlotOf(sent));
            }
            ASSERT_NO_FATAL_FAILURE(CheckOrder(collected, sent));
            ASSERT_NO_FATAL_FAILURE(Collect(queue, SlotOf(collected)));
        }
    }

    int failures_ = 0;
    int shortReads_ = 0;

private:
    struct Slot {
        const volatile OVERLAPPED* request = nullptr;
        unsigned char bytes[kSmallest] = {};
    };

    Slot& SlotOf(int aIndex) { return slots_[aIndex % slots_.size()]; }

    void Send(DeviceRequestQueue& aQueue, Slot& aSlot) {
        unsigned long size = 0;
        void* const request = aQueue.GetNextAvailableRequest();
        ASSERT_NE(nullptr, request);
        aSlot.request = static_cast<OVERLAPPED*>(request);
        std::fill_n(aSlot.bytes, kSmallest, static_cast<unsigned char>(0));
        // A refusal is returned again when the request is collected.
        (void)connection_.Read(aSlot.bytes, kSmallest, &size, request);
    }

    // Looks from the newest to the oldest. Then a read that completes meanwhile is no false alarm.
    void CheckOrder(int aOldest, int aEnd) {
        bool hasNewerEnded = false;
        for (int index = aEnd - 1; index >= aOldest; --index) {
            const bool hasEnded = SlotOf(index).request->Internal != STATUS_PENDING;
            ASSERT_TRUE(hasEnded || !hasNewerEnded) << "request " << index << " was overtaken";
            hasNewerEnded = hasNewerEnded || hasEnded;
        }
    }

    void Collect(DeviceRequestQueue& aQueue, const Slot& aSlot) {
        unsigned long size = 0;
        const unsigned long code = aQueue.GetNextResult(&size).GetCode();
        if (code == ERROR_IO_DEVICE) {
            ++failures_;
            return;
        }
        ASSERT_EQ(Code::Success, code);
        QV_SAMPLE_PACKET_HEADER header = {};
        std::memcpy(&header, aSlot.bytes, kHeaderSize);
        ASSERT_EQ(received_++, header.sequence);
        shortReads_ += size == kSmallest / 2 ? 1 : 0;
        for (unsigned int index = 0; index < size - kHeaderSize; ++index) {
            ASSERT_EQ(QvSamplePayloadByte(header.sequence, index),
                      aSlot.bytes[kHeaderSize + index]);
        }
    }

    std::vector<Slot> slots_;
    std::uint64_t received_ = 0;
};

TEST_F(SampleOrderTest, ReadsCompleteInOrder) {
    for (const unsigned int depth : {2U, 8U, 64U}) {
        SCOPED_TRACE(depth);
        Stream(depth, 10000);
    }
    EXPECT_EQ(0, failures_);
}

TEST_F(SampleOrderTest, ReadsCompleteInOrderWithFailingAndShortReadsAmongThem) {
    for (const unsigned int depth : {2U, 8U, 64U}) {
        SCOPED_TRACE(depth);
        for (int round = 0; round < 10; ++round) {
            Set(QV_SAMPLE_ID_FAULT_FAIL_READS, 100);
            Set(QV_SAMPLE_ID_FAULT_SHORT_READS, 100);
            Stream(depth, 500);
        }
    }
    EXPECT_EQ(3000, failures_);
    EXPECT_EQ(3000, shortReads_);
}

TEST_F(SampleOrderTest, DelayedReadsCompleteInOrder) {
    Set(QV_SAMPLE_ID_FAULT_DELAY, 1);
    Set(QV_SAMPLE_ID_FAULT_FAIL_READS, 50);
    Stream(2, 100);
    Stream(8, 1000);
    Stream(64, 5000);
    EXPECT_EQ(50, failures_);
}

// Requests are sent while the driver's clock completes others.
TEST_F(SampleOrderTest, ReadsCompleteInOrderWhenTheDelayComesAndGoes) {
    for (int round = 0; round < 20; ++round) {
        Set(QV_SAMPLE_ID_FAULT_DELAY, round % 2);
        Stream(64, 200);
    }
}

// The loop-back

class SampleWriteTest : public SampleLoopBackTest {
protected:
    unsigned long Write(const std::string& aBytes) {
        unsigned long size = 0;
        const Result result = connection_.Write(
            aBytes.data(), static_cast<unsigned int>(aBytes.size()), &size, nullptr);
        EXPECT_EQ(result.IsSuccess() ? aBytes.size() : 0, size);
        return result.GetCode();
    }

    std::string Read(std::size_t aSize) {
        std::string bytes(aSize, '\0');
        unsigned long size = 0;
        EXPECT_THAT(
            connection_.Read(bytes.data(), static_cast<unsigned int>(aSize), &size, nullptr),
            HasCode(Code::Success));
        return bytes.substr(0, size);
    }

    static constexpr std::size_t kCapacity = 64 * 1024;
};

TEST_F(SampleWriteTest, RandomDataComesBackUnchanged) {
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);

    for (int round = 0; round < 1000; ++round) {
        std::string written(1 + random() % 10000, '\0');
        for (char& byte : written) byte = static_cast<char>(random());
        const bool isReadFirst = random() % 2 == 0;
        std::unique_ptr<PendingRead> early;
        if (isReadFirst) early = std::make_unique<PendingRead>(connection_, 1 + random() % 5000);

        ASSERT_EQ(Code::Success, Write(written));

        std::string read;
        if (isReadFirst) {
            ASSERT_EQ(Code::Success, early->Finish());
            read.assign(early->buffer.bytes.begin(),
                        early->buffer.bytes.begin() + static_cast<int>(early->buffer.size));
        }
        while (read.size() < written.size()) read += Read(1 + random() % 5000);
        ASSERT_EQ(written, read) << "round " << round;
    }
}

TEST_F(SampleWriteTest, PendingReadsShareAWriteInTheirOrder) {
    PendingRead first(connection_, 2);
    PendingRead second(connection_, 10);
    PendingRead third(connection_, 10);
    ASSERT_EQ(Code::Success, Write("abcdef"));

    EXPECT_EQ(Code::Success, first.Finish());
    EXPECT_EQ(Code::Success, second.Finish());
    EXPECT_EQ(0, std::memcmp("ab", first.buffer.bytes.data(), 2));
    EXPECT_EQ(4U, second.buffer.size);
    EXPECT_EQ(0, std::memcmp("cdef", second.buffer.bytes.data(), 4));
    EXPECT_TRUE(third.IsPending());
    ASSERT_EQ(Code::Success, Write("g"));
    EXPECT_EQ(Code::Success, third.Finish());
}

TEST_F(SampleWriteTest, BoundedBufferTellsItsLimits) {
    EXPECT_EQ(static_cast<unsigned long>(ERROR_INVALID_USER_BUFFER),
              Write(std::string(kCapacity + 1, 'x')));
    ASSERT_EQ(Code::Success, Write(std::string(kCapacity, 'x')));
    EXPECT_EQ(static_cast<unsigned long>(ERROR_BUSY), Write("y"));

    EXPECT_EQ("x", Read(1));
    EXPECT_EQ(Code::Success, Write("y"));
    EXPECT_EQ(std::string(kCapacity - 1, 'x') + "y", Read(kCapacity));
}

TEST_F(SampleWriteTest, BytesWrittenInPacketModeAreKeptForTheLoopBack) {
    Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_PACKETS);
    ASSERT_EQ(Code::Success, Write("kept"));
    EXPECT_EQ(4096U, Read(4096).size());

    Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_LOOP_BACK);
    EXPECT_EQ("kept", Read(100));
}

TEST_F(SampleWriteTest, PendingReadAndSequenceGoOnWhenTheModeChanges) {
    const auto sequenceOf = [](const std::string& aPacket) {
        QV_SAMPLE_PACKET_HEADER header = {};
        std::memcpy(&header, aPacket.data(), kHeaderSize);
        return header.sequence - header.dropped;
    };
    Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_PACKETS);
    EXPECT_EQ(0U, sequenceOf(Read(4096)));

    Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_LOOP_BACK);
    PendingRead read(connection_, 4096);
    EXPECT_TRUE(read.IsPending());
    Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_PACKETS);
    EXPECT_EQ(Code::Success, read.Finish());
    EXPECT_EQ(1U, read.buffer.Header().sequence);
}

// The end of handles and devices

TEST_F(SampleStreamTest, ThousandConnectStreamCloseCyclesLeaveNoHandle) {
    ASSERT_THAT(connection_.Close(), HasCode(Code::Success));
    {
        const HandleLedger ledger;
        for (int cycle = 0; cycle < 1000; ++cycle) {
            Buffer buffer;
            DeviceConnection connection;
            DeviceRequestQueue queue;
            ASSERT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
            ASSERT_THAT(queue.Allocate(4, &connection), HasCode(Code::Success));
            for (int request = 0; request < 3; ++request) {
                // The outcome is collected below.
                (void)connection.Read(buffer.bytes.data(), kLargest, &buffer.size,
                                      queue.GetNextAvailableRequest());
            }
            ASSERT_THAT(queue.Wait(), HasCode(Code::Success));
            ASSERT_EQ(2U, buffer.Header().sequence);
        }
        EXPECT_EQ(1000, ledger.FilesOpened());
        EXPECT_EQ(0, ledger.Unbalanced());
    }
    ASSERT_THAT(connection_.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
}

// A device that is made for the test and removed after it.
class SampleRemovalTest : public SampleStreamTest {
protected:
    void SetUp() override {
        const std::set<std::string> before = Links();
        ASSERT_EQ(0U, InstallSampleDevices(before.size() + 1).exitCode);
        for (const std::string& link : Links()) {
            if (before.count(link) == 0) link_ = link;
        }
        ASSERT_FALSE(link_.empty());
        ASSERT_THAT(connection_.Connect(link_.c_str()), HasCode(Code::Success));
        Set(QV_SAMPLE_ID_PACKET_RATE, 0);
    }

    void TearDown() override {
        (void)connection_.Close();  // Fails when the test has closed it.
        if (Links().count(link_) != 0) Remove();
    }

    static std::set<std::string> Links() {
        DeviceEnumerator enumerator;
        EXPECT_THAT(enumerator.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE), HasCode(Code::Success));
        std::set<std::string> links;
        String link;
        while (enumerator.GetSymLink(static_cast<unsigned int>(links.size()), &link).IsSuccess()) {
            links.insert(reinterpret_cast<const char*>(link.GetUnicode()));
        }
        return links;
    }

    // Its link names the device: \\?\root#qvsample#0002#{…} is ROOT\QVSAMPLE\0002.
    void Remove() {
        std::string id = link_.substr(4, link_.rfind('#') - 4);
        std::replace(id.begin(), id.end(), '#', '\\');
        EXPECT_EQ(0U, RemoveSampleDevice(id).exitCode);
    }

    std::string link_;
};

TEST_F(SampleRemovalTest, PendingReadsEndWithTheirDevice) {
    constexpr int kPending = 63;
    Buffer buffer;
    DeviceRequestQueue queue;
    ASSERT_THAT(queue.Allocate(kPending + 1, &connection_), HasCode(Code::Success));
    Set(QV_SAMPLE_ID_FAULT_HOLD, 1);
    for (int request = 0; request < kPending; ++request) {
        ASSERT_THAT(connection_.Read(buffer.bytes.data(), kLargest, &buffer.size,
                                     queue.GetNextAvailableRequest()),
                    HasCode(Code::Pending));
    }

    Remove();

    for (int request = 0; request < kPending; ++request) {
        EXPECT_THAT(queue.GetNextResult(&buffer.size), HasCode(ERROR_DEVICE_REMOVED));
    }
    EXPECT_THAT(queue.GetNextResult(&buffer.size), HasCode(Code::NotAllowed));
}

TEST_F(SampleRemovalTest, DelayedReadsEndWithTheirDevice) {
    Set(QV_SAMPLE_ID_FAULT_DELAY, 10000);
    PendingReads reads = SendReads(8);

    Remove();

    for (const auto& read : reads) {
        EXPECT_EQ(static_cast<unsigned long>(ERROR_DEVICE_REMOVED), read->Finish());
    }
}

TEST_F(SampleRemovalTest, RunningStreamEndsWithItsDeviceAndLosesNoRequest) {
    int sent = 0;
    int collected = 0;
    int failed = 0;
    Buffer buffer;
    DeviceRequestQueue queue;
    ASSERT_THAT(queue.Allocate(8, &connection_), HasCode(Code::Success));
    Set(QV_SAMPLE_ID_FAULT_DELAY, 1);
    std::thread remover([this] { Remove(); });

    for (; failed == 0 || collected < sent; ++collected) {
        for (; failed == 0 && sent - collected < 7; ++sent) {
            // A refusal is returned again when the request is collected.
            (void)connection_.Read(buffer.bytes.data(), kLargest, &buffer.size,
                                   queue.GetNextAvailableRequest());
        }
        const unsigned long code = queue.GetNextResult(&buffer.size).GetCode();
        if (code == Code::Success) continue;
        ++failed;
        // Some were pending, others came while the device was being removed.
        EXPECT_THAT(code, AnyOf(ERROR_DEVICE_REMOVED, ERROR_DELETE_PENDING, ERROR_ACCESS_DENIED,
                                ERROR_INVALID_FUNCTION))
            << "request " << collected << " of " << sent;
    }
    remover.join();

    EXPECT_THAT(queue.GetNextResult(&buffer.size), HasCode(Code::NotAllowed));
    EXPECT_THAT(connection_.Close(), HasCode(Code::Success));
}

TEST_F(SampleRemovalTest, DeviceComesBackWithAStreamOfItsOwn) {
    EXPECT_EQ(0U, ReadHeader().sequence);
    Remove();
    ASSERT_THAT(connection_.Close(), HasCode(Code::Success));
    SetUp();
    EXPECT_EQ(0U, ReadHeader().sequence);
}

}  // namespace
}  // namespace QvTests
