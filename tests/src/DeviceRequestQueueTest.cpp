// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceRequestQueue.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "FailingAllocations.h"
#include "HandleLedger.h"
#include "ImportPatch.h"
#include "KernelObjects.h"
#include "LoggedErrors.h"
#include "QvUserLib/DeviceConnection.h"
#include "SlotCalls.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

constexpr unsigned long kSentinel = 0xBAD;

constexpr char kLength[] = "Length must be grater than 0";
constexpr char kConnection[] = "A connection must be specified";
constexpr char kAlreadyAllocated[] = "Already allcated";
constexpr char kNoMemory[] = "Not enough memory";
constexpr char kAllocateFirst[] = "Allocate first";
constexpr char kNowhereToPutTheCount[] =
    "The caller must specify an address where to put the number of processed bytes";
constexpr char kNothingPending[] = "No pending request";
constexpr char kFailedRequest[] = "GetOverlappedResult failed";

// How long a test watches an operation that must not end.
constexpr std::chrono::milliseconds kWatch(50);

template <typename Value>
bool IsHeldBack(const std::future<Value>& aFuture) {
    return aFuture.wait_for(kWatch) == std::future_status::timeout;
}

// A named pipe. The library uses one end as its device; the test plays the driver at the other end.
// Requests on it are real overlapped ones: a read is pending until the driver has data.
class PipeDevice {
public:
    explicit PipeDevice(DWORD aMode = PIPE_TYPE_BYTE)
        : path_(NewPath()),
          driver_(::CreateNamedPipeA(path_.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                     aMode, /*nMaxInstances=*/1, kBufferSize, kBufferSize,
                                     /*nDefaultTimeOut=*/0, nullptr)) {
        EXPECT_TRUE(driver_.IsValid());
    }

    const char* Path() const { return path_.c_str(); }

    // The driver has data for the oldest reads.
    void Deliver(const void* aData, std::size_t aSize) const {
        OVERLAPPED overlapped = {};
        overlapped.hEvent = written_.Get();
        DWORD written = 0;
        if (!::WriteFile(driver_.Get(), aData, static_cast<DWORD>(aSize), nullptr, &overlapped)) {
            EXPECT_EQ(DWORD{ERROR_IO_PENDING}, ::GetLastError());
        }
        EXPECT_TRUE(::GetOverlappedResult(driver_.Get(), &overlapped, &written, TRUE));
        EXPECT_EQ(aSize, written);
    }
    void Deliver(const std::string& aText) const { Deliver(aText.data(), aText.size()); }

    // The driver is gone: pending requests and later ones fail.
    void Remove() { driver_.Close(); }

private:
    static constexpr DWORD kBufferSize = 65536;

    static std::string NewPath() {
        static int count = 0;
        return R"(\\.\pipe\QvUserLib test )" + std::to_string(::GetCurrentProcessId()) + " " +
               std::to_string(++count);
    }

    std::string path_;
    Handle driver_;
    Event written_;
};

// A system that has no more events.
class NoEvents {
private:
    static HANDLE WINAPI Create(SECURITY_ATTRIBUTES*, BOOL, BOOL, const char*) { return nullptr; }
    ImportPatch patch_{"CreateEventA", &Create};
};

// Counts the events that the library makes. Unlike a HandleLedger it takes no memory.
class EventCounter {
public:
    EventCounter() { count_ = 0; }

    int Count() const { return count_; }

private:
    static HANDLE WINAPI Create(SECURITY_ATTRIBUTES* aSecurity, BOOL aManualReset,
                                BOOL aInitialState, const char* aName) {
        ++count_;
        return ::CreateEventA(aSecurity, aManualReset, aInitialState, aName);
    }

    inline static int count_ = 0;

    ImportPatch patch_{"CreateEventA", &Create};
};

// How a request ended: its code and how many bytes it moved.
using Outcome = std::pair<unsigned long, unsigned long>;

class DeviceRequestQueueTest : public testing::Test {
protected:
    static constexpr std::size_t kReadSize = 4;
    static constexpr std::size_t kMaxReads = 8;

    void SetUp() override { Reconnect(device_); }
    // Ends requests that a failed test left pending; the queue's destructor would wait for them.
    void TearDown() override { device_.Remove(); }

    void Reconnect(const PipeDevice& aDevice) {
        (void)connection_.Close();  // Whether it was open or not.
        const HandleLedger ledger;
        ASSERT_THAT(connection_.Connect(aDevice.Path()), IsBareCode(Code::Success));
        client_ = ledger.LastFile();
    }

    void Allocate(unsigned int aCount) {
        ASSERT_THAT(queue_.Allocate(aCount, &connection_), IsBareCode(Code::Success));
    }

    // Takes a record and reads with it, into a new buffer.
    OVERLAPPED* Read() {
        void* const record = queue_.GetNextAvailableRequest();
        EXPECT_NE(nullptr, record);
        if (record == nullptr) return nullptr;
        unsigned long read = 0;
        EXPECT_THAT(connection_.Read(data_[reads_++ % kMaxReads].data(), kReadSize, &read, record),
                    IsBareCode(Code::Pending));
        return static_cast<OVERLAPPED*>(record);
    }

    // Reads with the next record of the queue, into a buffer by its number from 0.
    Result Read(DeviceRequestQueue& aQueue, std::size_t aBuffer = 0) {
        unsigned long read = 0;
        return connection_.Read(data_[aBuffer].data(), kReadSize, &read,
                                aQueue.GetNextAvailableRequest());
    }

    // Another queue, on the same connection.
    std::unique_ptr<DeviceRequestQueue> NewQueue(unsigned int aCount) {
        auto queue = std::make_unique<DeviceRequestQueue>();
        EXPECT_THAT(queue->Allocate(aCount, &connection_), IsBareCode(Code::Success));
        return queue;
    }

    // Reads with each record of a ring of two, so that both have been completed before.
    void UseBothRecords() {
        for (int record = 0; record < 2; ++record) {
            Read();
            device_.Deliver("abcd");
            EXPECT_EQ(Outcome(0, 4), Collect());
        }
    }

    // A ring of three is full after two reads. Returns the first of them.
    OVERLAPPED* FillRingWhoseOldestFails() {
        Allocate(3);
        OVERLAPPED* const first = Read();
        Read();
        Cancel(first);
        return first;
    }

    // The bytes of a read, by its number from 0.
    std::string Data(std::size_t aRead) const {
        return std::string(data_[aRead].data(), kReadSize);
    }

    void Cancel(OVERLAPPED* aRecord) const { EXPECT_TRUE(::CancelIoEx(client_, aRecord)); }

    Outcome Collect() {
        unsigned long processed = kSentinel;
        const Result result = queue_.GetNextResult(&processed);
        EXPECT_THAT(result, IsBareCode(result.GetCode()));
        return {result.GetCode(), processed};
    }

    // The ring gives the next record out without waiting for anything.
    bool IsEmpty() {
        unsigned long processed = 0;
        return queue_.GetNextResult(&processed).GetCode() == Code::NotAllowed &&
               LastErrorText() == kNothingPending;
    }

    PipeDevice device_;
    DeviceConnection connection_;
    HANDLE client_ = nullptr;
    std::array<std::array<char, kReadSize>, kMaxReads> data_ = {};
    std::size_t reads_ = 0;
    DeviceRequestQueue queue_;
};

// Making the ring

TEST_F(DeviceRequestQueueTest, RingOfNoRecordsIsRefused) {
    EXPECT_THAT(queue_.Allocate(0, &connection_), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kLength, LastErrorText());
    EXPECT_EQ(1, connection_.GetRefCount());
}

TEST_F(DeviceRequestQueueTest, RingWithoutAConnectionIsRefused) {
    EXPECT_THAT(queue_.Allocate(4, nullptr), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kConnection, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, LengthIsCheckedBeforeTheConnection) {
    EXPECT_THAT(queue_.Allocate(0, nullptr), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kLength, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, ArgumentsAreCheckedBeforeTheState) {
    Allocate(4);

    EXPECT_THAT(queue_.Allocate(0, &connection_), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kLength, LastErrorText());
    EXPECT_THAT(queue_.Allocate(4, nullptr), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kConnection, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, RefusedRingLeavesTheQueueUnallocated) {
    (void)queue_.Allocate(0, &connection_);  // Only the state it leaves matters.
    (void)queue_.Allocate(4, nullptr);

    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());
    EXPECT_EQ(kAllocateFirst, LastErrorText());
    EXPECT_THAT(queue_.Allocate(4, &connection_), IsBareCode(Code::Success));
}

TEST_F(DeviceRequestQueueTest, SecondRingIsRefused) {
    Allocate(4);

    EXPECT_THAT(queue_.Allocate(2, &connection_), IsBareCode(Code::NotAllowed));
    EXPECT_EQ(kAlreadyAllocated, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, RefusedSecondRingLeavesRecordsAndConnection) {
    DeviceConnection another;
    Allocate(4);
    const OVERLAPPED* const first = Read();

    (void)queue_.Allocate(2, &another);  // Only the state it leaves matters.

    EXPECT_EQ(1, another.GetRefCount());
    EXPECT_EQ(2, connection_.GetRefCount());
    EXPECT_EQ(first + 1, Read());
    device_.Deliver("abcdefgh");
    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(Outcome(0, 4), Collect());
}

TEST_F(DeviceRequestQueueTest, LackOfMemoryIsReportedAndLeavesTheQueueAsItWas) {
    constexpr unsigned int kCount = 10000;
    {
        const FailingAllocations memory(kCount * sizeof(OVERLAPPED));
        EXPECT_THAT(queue_.Allocate(kCount, &connection_), IsBareCode(Code::OutOfMemory));
        EXPECT_GE(memory.Count(), 1);
    }

    EXPECT_EQ(kNoMemory, LastErrorText());
    EXPECT_EQ(1, connection_.GetRefCount());
    EXPECT_THAT(queue_.Allocate(4, &connection_), IsBareCode(Code::Success));
}

TEST_F(DeviceRequestQueueTest, LockOnTheConnectionLastsAsLongAsTheQueue) {
    EXPECT_EQ(1, connection_.GetRefCount());
    auto queue = std::make_unique<DeviceRequestQueue>();
    EXPECT_EQ(1, connection_.GetRefCount());

    EXPECT_THAT(queue->Allocate(4, &connection_), IsBareCode(Code::Success));
    EXPECT_EQ(2, connection_.GetRefCount());

    queue.reset();
    EXPECT_EQ(1, connection_.GetRefCount());
}

TEST_F(DeviceRequestQueueTest, LastReferenceMayBeTheQueues) {
    class Released : public DeviceConnection {
    public:
        bool isReleased = false;

    protected:
        void OnRelease() override { isReleased = true; }
    };
    Released connection;
    auto queue = std::make_unique<DeviceRequestQueue>();
    EXPECT_THAT(queue->Allocate(4, &connection), IsBareCode(Code::Success));
    connection.Unlock();
    EXPECT_FALSE(connection.isReleased);

    queue.reset();

    EXPECT_TRUE(connection.isReleased);
}

TEST_F(DeviceRequestQueueTest, RecordsAreCleanAndLieInARow) {
    Allocate(4);
    auto* const first = static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest());

    for (int index = 0; index < 4; ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(0u, first[index].Internal);
        EXPECT_EQ(0u, first[index].InternalHigh);
        EXPECT_EQ(0u, first[index].Offset);
        EXPECT_EQ(0u, first[index].OffsetHigh);
    }
}

TEST_F(DeviceRequestQueueTest, EachRecordHasAnEventOfItsOwn) {
    Allocate(4);
    auto* const first = static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest());

    for (int index = 0; index < 4; ++index) {
        SCOPED_TRACE(index);
        const HANDLE event = first[index].hEvent;
        EXPECT_EQ(DWORD{WAIT_TIMEOUT}, ::WaitForSingleObject(event, 0));
        EXPECT_TRUE(::SetEvent(event));
        // A manual-reset event stays set after a wait.
        EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event, 0));
        EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event, 0));
    }
}

TEST_F(DeviceRequestQueueTest, EventsAreAskedForPlainlyAndWithoutNames) {
    static int plain;
    static int all;
    plain = 0;
    all = 0;
    const auto create = [](SECURITY_ATTRIBUTES* aSecurity, BOOL aManualReset, BOOL aInitialState,
                           const char* aName) {
        ++all;
        if (aSecurity == nullptr && aManualReset && !aInitialState && aName == nullptr) ++plain;
        return ::CreateEventA(aSecurity, aManualReset, aInitialState, aName);
    };
    const ImportPatch patch("CreateEventA", +create);

    Allocate(5);

    EXPECT_EQ(5, all);
    EXPECT_EQ(5, plain);
}

TEST_F(DeviceRequestQueueTest, RecordsWithoutEventsServeToo) {
    {
        const NoEvents patch;
        Allocate(4);
    }
    const HandleLedger ledger;
    OVERLAPPED* const record = Read();
    EXPECT_EQ(nullptr, record->hEvent);
    device_.Deliver("abcd");

    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(0, ledger.EventsOpened());
}

TEST_F(DeviceRequestQueueTest, DestructionClosesTheEventsThatThereAre) {
    static int created;
    created = 0;
    const auto createEverySecond = [](SECURITY_ATTRIBUTES*, BOOL, BOOL, const char*) -> HANDLE {
        return ++created % 2 == 0 ? nullptr : ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    };
    auto queue = std::make_unique<DeviceRequestQueue>();
    {
        const ImportPatch patch("CreateEventA", +createEverySecond);
        EXPECT_THAT(queue->Allocate(5, &connection_), IsBareCode(Code::Success));
    }
    const HandleLedger ledger;

    queue.reset();

    EXPECT_EQ(3, ledger.Closes());
    EXPECT_EQ(0, ledger.ClosesOf(nullptr));
}

// A queue that is destroyed on a thread of its own, which the driver may hold back.
class DestroyedQueue {
public:
    explicit DestroyedQueue(std::unique_ptr<DeviceRequestQueue> aQueue)
        : end_(std::async(std::launch::async, [queue = std::move(aQueue)]() mutable {
              queue.reset();
              return true;
          })) {}

    bool IsWaiting() const { return IsHeldBack(end_); }
    void Wait() const { end_.wait(); }

private:
    std::future<bool> end_;
};

// Whether what was pending has been collected, as a failure, before the destruction.
class ReleasedHandleTest : public DeviceRequestQueueTest,
                           public testing::WithParamInterface<bool> {};

TEST_P(ReleasedHandleTest, DestructionWaitsAlthoughTheHandleWasReleased) {
    std::unique_ptr<DeviceRequestQueue> queue = NewQueue(4);
    ASSERT_THAT(Read(*queue, 0), IsBareCode(Code::Pending));
    ASSERT_THAT(Read(*queue, 1), IsBareCode(Code::Pending));
    const Handle handle(connection_.ReleaseHandle());
    if (GetParam()) {
        EXPECT_THAT(queue->Wait(), IsBareCode(Code::NotAllowed));
    }
    const DestroyedQueue destroyed(std::move(queue));

    EXPECT_TRUE(destroyed.IsWaiting());
    device_.Deliver("abcd");
    EXPECT_TRUE(destroyed.IsWaiting());
    device_.Deliver("efgh");
    destroyed.Wait();

    EXPECT_EQ("efgh", Data(1));
}

INSTANTIATE_TEST_SUITE_P(Collected, ReleasedHandleTest, testing::Bool(),
                         testing::PrintToStringParamName());

TEST_F(DeviceRequestQueueTest, DestructionWaitsWithoutEventsToo) {
    auto queue = std::make_unique<DeviceRequestQueue>();
    {
        const NoEvents patch;
        ASSERT_THAT(queue->Allocate(2, &connection_), IsBareCode(Code::Success));
    }
    ASSERT_THAT(Read(*queue), IsBareCode(Code::Pending));
    const Handle handle(connection_.ReleaseHandle());
    const DestroyedQueue destroyed(std::move(queue));

    EXPECT_TRUE(destroyed.IsWaiting());
    device_.Deliver("abcd");
    destroyed.Wait();

    EXPECT_EQ("abcd", Data(0));
}

TEST_F(DeviceRequestQueueTest, ClosedConnectionDoesNotHoldTheDestructionBack) {
    std::unique_ptr<DeviceRequestQueue> queue = NewQueue(2);
    ASSERT_THAT(Read(*queue), IsBareCode(Code::Pending));
    (void)connection_.Close();  // The system ends the request then.
    const DestroyedQueue destroyed(std::move(queue));

    destroyed.Wait();

    EXPECT_EQ(std::string(kReadSize, '\0'), Data(0));
}

TEST_F(DeviceRequestQueueTest, RecordIsNotHandedOutAgainWhileTheDriverHasIt) {
    Allocate(2);
    Read();
    const Handle handle(connection_.ReleaseHandle());
    unsigned long moved = 0;
    EXPECT_THAT(queue_.GetNextResult(&moved), IsBareCode(Code::NotAllowed));
    EXPECT_NE(nullptr, queue_.GetNextAvailableRequest());  // The other one.
    EXPECT_THAT(queue_.GetNextResult(&moved), IsBareCode(Code::NotAllowed));
    const std::future<void*> next =
        std::async(std::launch::async, [this] { return queue_.GetNextAvailableRequest(); });

    EXPECT_TRUE(IsHeldBack(next));
    device_.Deliver("abcd");
    next.wait();

    EXPECT_EQ("abcd", Data(0));
}

TEST_F(DeviceRequestQueueTest, DestructionGivesBackWhatAllocateTook) {
    auto queue = std::make_unique<DeviceRequestQueue>();
    const HandleLedger ledger;
    const AllocationCounter allocations;

    // The ledger allocates memory too, so each part is checked by itself.
    EXPECT_THAT(queue->Allocate(64, &connection_), IsBareCode(Code::Success));
    EXPECT_EQ(64, ledger.EventsOpened());
    EXPECT_GE(allocations.Live(), 1);

    queue.reset();
    EXPECT_EQ(64, ledger.Closes());
    EXPECT_EQ(0, ledger.Unbalanced());
}

TEST_F(DeviceRequestQueueTest, DestructionFreesTheRecords) {
    alignas(DeviceRequestQueue) unsigned char storage[sizeof(DeviceRequestQueue)];
    const AllocationCounter allocations;

    auto* const queue = new (storage) DeviceRequestQueue;
    const unsigned long code = queue->Allocate(64, &connection_).GetCode();
    const long live = allocations.Live();
    queue->~DeviceRequestQueue();
    const long left = allocations.Live();

    EXPECT_EQ(0u, code);
    EXPECT_EQ(1, live);
    EXPECT_EQ(0, left);
}

// Before the ring is made

TEST_F(DeviceRequestQueueTest, NoRecordIsHandedOutBeforeAllocate) {
    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());
    EXPECT_EQ(kAllocateFirst, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, NothingIsCollectedBeforeAllocate) {
    EXPECT_EQ(Outcome(Code::NotAllowed, kSentinel), Collect());
    EXPECT_EQ(kAllocateFirst, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, AddressIsCheckedBeforeTheState) {
    EXPECT_THAT(queue_.GetNextResult(nullptr), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kNowhereToPutTheCount, LastErrorText());

    Allocate(4);
    EXPECT_THAT(queue_.GetNextResult(nullptr), IsBareCode(Code::InvalidArgument));
    EXPECT_EQ(kNowhereToPutTheCount, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, WaitBeforeAllocateSucceedsAtOnce) {
    const ErrorWatch watch;

    EXPECT_THAT(queue_.Wait(), IsBareCode(Code::Success));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceRequestQueueTest, DestructionBeforeAllocateLeavesTheConnection) {
    {
        const DeviceRequestQueue queue;
    }

    EXPECT_EQ(1, connection_.GetRefCount());
}

// An empty ring

TEST_F(DeviceRequestQueueTest, NothingIsCollectedFromAnEmptyRing) {
    Allocate(4);

    EXPECT_EQ(Outcome(Code::NotAllowed, kSentinel), Collect());
    EXPECT_EQ(kNothingPending, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, WaitOnAnEmptyRingSucceedsAtOnce) {
    Allocate(4);
    const ErrorWatch watch;

    EXPECT_THAT(queue_.Wait(), IsBareCode(Code::Success));
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(DeviceRequestQueueTest, RefusedCollectionLeavesThePendingRequest) {
    Allocate(4);
    Read();
    device_.Deliver("abcd");

    (void)queue_.GetNextResult(nullptr);  // Only the state it leaves matters.

    EXPECT_EQ(Outcome(0, 4), Collect());
}

// A ring of one record

TEST_F(DeviceRequestQueueTest, RingOfOneRecordHandsNoneOut) {
    Allocate(1);
    for (int attempt = 0; attempt < 3; ++attempt) {
        SCOPED_TRACE(attempt);
        const ErrorWatch watch;

        EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());
        EXPECT_EQ(kNothingPending, LastErrorText());
    }
}

TEST_F(DeviceRequestQueueTest, RingOfOneRecordStaysEmpty) {
    Allocate(1);
    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_EQ(Outcome(Code::NotAllowed, kSentinel), Collect());
    EXPECT_THAT(queue_.Wait(), IsBareCode(Code::Success));
}

// Handing out and collecting

TEST_F(DeviceRequestQueueTest, CompletionTellsTheBytesThatWereMoved) {
    Allocate(4);
    Read();
    device_.Deliver("ab");

    EXPECT_EQ(Outcome(0, 2), Collect());
    EXPECT_TRUE(IsEmpty());
}

TEST_F(DeviceRequestQueueTest, CollectionWaitsForTheOldestRequest) {
    Allocate(4);
    Read();

    auto collected = std::async(std::launch::async, [this] { return Collect(); });
    EXPECT_TRUE(IsHeldBack(collected));

    device_.Deliver("abcd");
    EXPECT_EQ(Outcome(0, 4), collected.get());
    EXPECT_EQ("abcd", Data(0));
}

TEST_F(DeviceRequestQueueTest, RecordsAreHandedOutInARowAndRoundAgain) {
    Allocate(3);
    const OVERLAPPED* const first = Read();
    EXPECT_EQ(first + 1, Read());
    device_.Deliver("abcdefgh");
    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(Outcome(0, 4), Collect());

    EXPECT_EQ(first + 2, Read());
    EXPECT_EQ(first, Read());
}

TEST_F(DeviceRequestQueueTest, RecordKeepsItsEvent) {
    Allocate(2);
    OVERLAPPED* const record = Read();
    const HANDLE event = record->hEvent;
    device_.Deliver("abcdefgh");
    Collect();
    ASSERT_EQ(record + 1, static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest()));
    Collect();

    ASSERT_EQ(record, static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest()));

    EXPECT_EQ(event, record->hEvent);
}

TEST_F(DeviceRequestQueueTest, OneRecordIsAlwaysKeptBack) {
    Allocate(4);
    for (int read = 0; read < 3; ++read) Read();

    auto fourth =
        std::async(std::launch::async, [this] { return queue_.GetNextAvailableRequest(); });
    EXPECT_TRUE(IsHeldBack(fourth));

    device_.Deliver("abcd");
    EXPECT_NE(nullptr, fourth.get());
}

TEST_F(DeviceRequestQueueTest, FullRingHandsOutTheNextRecordOnceTheOldestIsDone) {
    Allocate(4);
    const OVERLAPPED* const first = Read();
    Read();
    Read();
    const Event isDue;
    std::thread driver([&] {
        isDue.Wait();
        device_.Deliver("abcd");
    });

    isDue.Set();
    EXPECT_EQ(first + 3, Read());
    driver.join();

    EXPECT_EQ("abcd", Data(0));
}

TEST_F(DeviceRequestQueueTest, FullRingLosesNothingButTheCountOfTheOldest) {
    Allocate(3);
    Read();
    Read();
    device_.Deliver("abcd");
    Read();
    device_.Deliver("efghi");

    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(Outcome(0, 1), Collect());
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ("abcd", Data(0));
    EXPECT_EQ("efgh", Data(1));
}

TEST_F(DeviceRequestQueueTest, WritesAndReadsShareTheRing) {
    constexpr char kSent[] = "command";
    unsigned long written = 0;
    Allocate(4);
    Read();
    (void)connection_.Write(kSent, 7, &written, queue_.GetNextAvailableRequest());
    device_.Deliver("abcd");

    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(Outcome(0, 7), Collect());
}

TEST_F(DeviceRequestQueueTest, RequestThatIsDoneEarlyIsCollectedInItsTurn) {
    unsigned long written = 0;
    Allocate(4);
    Read();
    auto* const second = static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest());
    (void)connection_.Write("xy", 2, &written, second);
    ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(second->hEvent, INFINITE));

    auto collected = std::async(std::launch::async, [this] { return Collect(); });
    EXPECT_TRUE(IsHeldBack(collected));
    device_.Deliver("abcd");

    EXPECT_EQ(Outcome(0, 4), collected.get());
    EXPECT_EQ(Outcome(0, 2), Collect());
}

TEST_F(DeviceRequestQueueTest, RequestsCancelledOutOfOrderAreCollectedInOrder) {
    Allocate(5);
    Read();
    OVERLAPPED* const second = Read();
    Read();
    OVERLAPPED* const fourth = Read();
    Cancel(fourth);
    Cancel(second);
    device_.Deliver("abcdefg");

    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(Outcome(ERROR_OPERATION_ABORTED, 0), Collect());
    EXPECT_EQ(Outcome(0, 3), Collect());
    EXPECT_EQ(Outcome(ERROR_OPERATION_ABORTED, 0), Collect());
    EXPECT_EQ("abcd", Data(0));
}

// Requests that fail

TEST_F(DeviceRequestQueueTest, FailedRequestIsReportedAndLeavesTheRing) {
    Allocate(4);
    Cancel(Read());

    EXPECT_EQ(Outcome(ERROR_OPERATION_ABORTED, 0), Collect());

    EXPECT_EQ(kFailedRequest, LastErrorText());
    EXPECT_TRUE(IsEmpty());
}

TEST_F(DeviceRequestQueueTest, RemovedDeviceFailsEveryPendingRequest) {
    Allocate(4);
    for (int read = 0; read < 3; ++read) Read();

    device_.Remove();

    for (int read = 0; read < 3; ++read) {
        EXPECT_EQ(Outcome(ERROR_BROKEN_PIPE, 0), Collect());
        EXPECT_EQ(kFailedRequest, LastErrorText());
    }
    EXPECT_TRUE(IsEmpty());
}

TEST_F(DeviceRequestQueueTest, RequestThatGotOnlyAPartTellsItsBytes) {
    const PipeDevice messages(PIPE_TYPE_MESSAGE);
    Reconnect(messages);
    DWORD mode = PIPE_READMODE_MESSAGE;
    ASSERT_TRUE(::SetNamedPipeHandleState(client_, &mode, nullptr, nullptr));
    Allocate(2);
    Read();
    messages.Deliver("abcdef");

    EXPECT_EQ(Outcome(ERROR_MORE_DATA, 4), Collect());
    EXPECT_EQ("abcd", Data(0));
    EXPECT_TRUE(IsEmpty());
}

TEST_F(DeviceRequestQueueTest, NoRecordIsHandedOutWhenTheOldestFailed) {
    FillRingWhoseOldestFails();

    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());
    EXPECT_EQ(kFailedRequest, LastErrorText());
}

TEST_F(DeviceRequestQueueTest, OldestThatFailedHasLeftTheRing) {
    OVERLAPPED* const first = FillRingWhoseOldestFails();
    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_EQ(first + 2, Read());
    device_.Deliver("abcdefgh");
    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_EQ(Outcome(0, 4), Collect());
    EXPECT_TRUE(IsEmpty());
}

// The system's GetOverlappedResult, with an error whose low bits are clear.
BOOL WINAPI EndWithClearLowBits(HANDLE, OVERLAPPED*, DWORD* aInfo, BOOL) {
    *aInfo = 0;
    ::SetLastError(0x10000);
    return FALSE;
}

TEST_F(DeviceRequestQueueTest, OldestThatEndsWithClearLowBitsCountsAsDone) {
    Allocate(2);
    auto* const first = static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest());
    ASSERT_NE(nullptr, first);
    const ImportPatch patch("GetOverlappedResult", &EndWithClearLowBits);

    EXPECT_EQ(first + 1, queue_.GetNextAvailableRequest());
}

TEST_F(DeviceRequestQueueTest, RequestsOfAConnectionThatIsNotOpenAreCollectedAsRefused) {
    Allocate(4);
    (void)connection_.Close();  // It was open.
    EXPECT_THAT(Read(queue_), IsBareCode(Code::NotAllowed));

    EXPECT_EQ(Outcome(Code::NotAllowed, kSentinel), Collect());
    EXPECT_EQ("Connect first", LastErrorText());
    EXPECT_TRUE(IsEmpty());
}

// Waiting for all

TEST_F(DeviceRequestQueueTest, WaitCollectsEveryPendingRequest) {
    Allocate(4);
    for (int read = 0; read < 3; ++read) Read();
    device_.Deliver("abcdefghijkl");

    EXPECT_THAT(queue_.Wait(), IsBareCode(Code::Success));

    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ("ijkl", Data(2));
}

TEST_F(DeviceRequestQueueTest, WaitLastsUntilTheLastRequest) {
    Allocate(4);
    for (int read = 0; read < 3; ++read) Read();
    device_.Deliver("abcdefgh");

    auto waited = std::async(std::launch::async, [this] { return queue_.Wait(); });
    EXPECT_TRUE(IsHeldBack(waited));

    device_.Deliver("ijkl");
    EXPECT_THAT(waited.get(), IsBareCode(Code::Success));
}

TEST_F(DeviceRequestQueueTest, WaitReportsTheFirstFailureAndCollectsTheRest) {
    Allocate(5);
    Read();
    OVERLAPPED* const second = Read();
    Read();
    Read();
    device_.Deliver("abcd");
    Cancel(second);
    device_.Remove();

    EXPECT_THAT(queue_.Wait(), IsBareCode(ERROR_OPERATION_ABORTED));

    EXPECT_TRUE(IsEmpty());
}

TEST_F(DeviceRequestQueueTest, WaitReportsAFailureThatASuccessFollows) {
    Allocate(4);
    Cancel(Read());
    Read();
    device_.Deliver("abcd");

    EXPECT_THAT(queue_.Wait(), IsBareCode(ERROR_OPERATION_ABORTED));
}

TEST_F(DeviceRequestQueueTest, RingServesAgainAfterAWait) {
    Allocate(3);
    const OVERLAPPED* const first = Read();
    Cancel(Read());
    device_.Deliver("abcd");
    EXPECT_THAT(queue_.Wait(), IsBareCode(ERROR_OPERATION_ABORTED));

    EXPECT_EQ(first + 2, Read());
    device_.Deliver("efgh");
    EXPECT_EQ(Outcome(0, 4), Collect());
}

// Records that never reach the driver

TEST_F(DeviceRequestQueueTest, RecordThatWasNeverUsedReportsSuccessWithoutBytes) {
    Allocate(4);
    EXPECT_NE(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_EQ(Outcome(0, 0), Collect());
}

TEST_F(DeviceRequestQueueTest, RecordThatIsNotUsedAgainForgetsItsLastRequest) {
    Allocate(2);
    UseBothRecords();

    EXPECT_NE(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_EQ(Outcome(0, 0), Collect());
}

TEST_F(DeviceRequestQueueTest, RecordThatIsNotUsedAgainForgetsItsLastFailure) {
    Allocate(2);
    for (int round = 0; round < 2; ++round) {
        Cancel(Read());
        EXPECT_EQ(Outcome(ERROR_OPERATION_ABORTED, 0), Collect());
    }

    EXPECT_NE(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_EQ(Outcome(0, 0), Collect());
}

TEST_F(DeviceRequestQueueTest, RequestRefusedAtOnceReportsItsRefusalAgain) {
    Allocate(4);
    device_.Remove();
    EXPECT_THAT(Read(queue_), IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_EQ(Outcome(ERROR_BROKEN_PIPE, 0), Collect());
    EXPECT_TRUE(IsEmpty());
}

TEST_F(DeviceRequestQueueTest, RefusalOnAUsedRecordIsReportedAgain) {
    Allocate(2);
    UseBothRecords();
    device_.Remove();
    EXPECT_THAT(Read(queue_), IsBareCode(ERROR_BROKEN_PIPE));

    EXPECT_EQ(Outcome(ERROR_BROKEN_PIPE, 0), Collect());
}

TEST_F(DeviceRequestQueueTest, RefusedControlRequestReportsItsRefusalAgain) {
    constexpr unsigned long kUnknownCode = 0x222FFC;
    Allocate(4);
    unsigned long returned = 0;

    const Result refused =
        connection_.IoControl(kUnknownCode, nullptr, 0, nullptr, 0, &returned,
                              static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest()));

    ASSERT_TRUE(refused.IsFailure());
    ASSERT_NE(Code::Pending, refused.GetCode());
    EXPECT_EQ(Outcome(refused.GetCode(), 0), Collect());
}

// The end of a pipe that may only be read.
HANDLE WINAPI OpenForReading(const char* aName, DWORD, DWORD aShare, SECURITY_ATTRIBUTES*, DWORD,
                             DWORD aFlags, HANDLE) {
    return ::CreateFileA(aName, GENERIC_READ, aShare, nullptr, OPEN_EXISTING, aFlags, nullptr);
}

TEST_F(DeviceRequestQueueTest, RefusedWriteReportsItsRefusalAgain) {
    const PipeDevice device;
    {
        const ImportPatch patch("CreateFileA", &OpenForReading);
        (void)connection_.Close();  // It was open.
        ASSERT_THAT(connection_.Connect(device.Path()), IsBareCode(Code::Success));
    }
    Allocate(2);
    unsigned long written = 0;

    // The later rounds are on records that were used before.
    for (int round = 0; round < 4; ++round) {
        EXPECT_THAT(connection_.Write("ab", 2, &written, queue_.GetNextAvailableRequest()),
                    IsBareCode(ERROR_ACCESS_DENIED));
        EXPECT_EQ(Outcome(ERROR_ACCESS_DENIED, 0), Collect());
    }
}

// Refuses as Windows does: the record stays pending, and nothing will ever complete it.
BOOL RefuseAtOnce(OVERLAPPED* aOverlapped) {
    aOverlapped->Internal = STATUS_PENDING;
    ::ResetEvent(aOverlapped->hEvent);
    ::SetLastError(ERROR_NOT_READY);
    return FALSE;
}

BOOL WINAPI RefuseTransfer(HANDLE, void*, DWORD, DWORD*, OVERLAPPED* aOverlapped) {
    return RefuseAtOnce(aOverlapped);
}

BOOL WINAPI RefuseControl(HANDLE, DWORD, void*, DWORD, void*, DWORD, DWORD*,
                          OVERLAPPED* aOverlapped) {
    return RefuseAtOnce(aOverlapped);
}

TEST_F(DeviceRequestQueueTest, RefusalThatLeavesTheRecordPendingDoesNotHang) {
    Allocate(4);
    const ImportPatch reads("ReadFile", &RefuseTransfer);
    const ImportPatch writes("WriteFile", &RefuseTransfer);
    const ImportPatch controls("DeviceIoControl", &RefuseControl);
    unsigned long moved = 0;
    const auto next = [this] { return static_cast<OVERLAPPED*>(queue_.GetNextAvailableRequest()); };

    EXPECT_THAT(connection_.Read(data_[0].data(), kReadSize, &moved, next()),
                IsBareCode(ERROR_NOT_READY));
    EXPECT_THAT(connection_.Write("ab", 2, &moved, next()), IsBareCode(ERROR_NOT_READY));
    EXPECT_THAT(connection_.IoControl(0x222000, nullptr, 0, nullptr, 0, &moved, next()),
                IsBareCode(ERROR_NOT_READY));

    for (int request = 0; request < 3; ++request) {
        EXPECT_EQ(Outcome(ERROR_NOT_READY, 0), Collect());
    }
}

TEST_F(DeviceRequestQueueTest, RefusalThatLeavesAUsedRecordPendingReportsNoBytes) {
    Allocate(2);
    UseBothRecords();
    const ImportPatch reads("ReadFile", &RefuseTransfer);
    EXPECT_THAT(Read(queue_), IsBareCode(ERROR_NOT_READY));

    EXPECT_EQ(Outcome(ERROR_NOT_READY, 0), Collect());
}

TEST_F(DeviceRequestQueueTest, WaitAndDestructionTakeRefusedAndUnusedRecords) {
    std::unique_ptr<DeviceRequestQueue> queue = NewQueue(4);
    const ImportPatch reads("ReadFile", &RefuseTransfer);
    EXPECT_NE(nullptr, queue->GetNextAvailableRequest());
    EXPECT_THAT(Read(*queue), IsBareCode(ERROR_NOT_READY));
    EXPECT_THAT(queue->Wait(), IsBareCode(ERROR_NOT_READY));

    EXPECT_THAT(Read(*queue), IsBareCode(ERROR_NOT_READY));
    EXPECT_NE(nullptr, queue->GetNextAvailableRequest());
    queue.reset();

    EXPECT_EQ(1, connection_.GetRefCount());
}

// Lines of the error log

TEST_F(DeviceRequestQueueTest, FailuresCarryTheLabelOfTheQueue) {
    EXPECT_THAT(LoggedErrorsWithoutLines([this] {
                    unsigned long processed = 0;
                    (void)queue_.Allocate(0, nullptr);  // Here and below only the log matters.
                    (void)queue_.Allocate(1, nullptr);
                    (void)queue_.GetNextAvailableRequest();
                    (void)queue_.GetNextResult(nullptr);
                    (void)queue_.GetNextResult(&processed);
                    (void)queue_.Allocate(1, &connection_);
                    (void)queue_.Allocate(1, &connection_);
                    (void)queue_.GetNextResult(&processed);
                }),
                testing::ElementsAre(
                    "[0x12] .\\DeviceRequestQueue(#) ERR  - Length must be grater than 0",
                    "[0x12] .\\DeviceRequestQueue(#) ERR  - A connection must be specified",
                    "[0x1c] .\\DeviceRequestQueue(#) ERR  - Allocate first",
                    "[0x12] .\\DeviceRequestQueue(#) ERR  - The caller must specify an "
                    "address where to put the number of processed bytes",
                    "[0x1c] .\\DeviceRequestQueue(#) ERR  - Allocate first",
                    "[0x1c] .\\DeviceRequestQueue(#) ERR  - Already allcated",
                    "[0x1c] .\\DeviceRequestQueue(#) ERR  - No pending request"));
}

TEST_F(DeviceRequestQueueTest, FailedRequestCarriesTheLabelOfTheConnection) {
    Allocate(4);
    Cancel(Read());

    EXPECT_THAT(
        LoggedErrorsWithoutLines([this] { Collect(); }),
        testing::ElementsAre("[0x3e3] .\\DeviceConnection(#) ERR  - GetOverlappedResult failed"));
}

// Destruction

TEST_F(DeviceRequestQueueTest, DestructionWaitsForPendingRequests) {
    std::unique_ptr<DeviceRequestQueue> queue = NewQueue(4);
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_THAT(Read(*queue, index), IsBareCode(Code::Pending));
    }
    device_.Deliver("abcdefgh");
    const HandleLedger ledger;

    auto destroyed = std::async(std::launch::async, [&queue] { queue.reset(); });
    EXPECT_TRUE(IsHeldBack(destroyed));
    EXPECT_EQ(0, ledger.Closes());
    EXPECT_EQ(2, connection_.GetRefCount());

    device_.Deliver("ijkl");
    destroyed.get();
    EXPECT_EQ("ijkl", Data(2));
    EXPECT_EQ(4, ledger.Closes());
    EXPECT_EQ(1, connection_.GetRefCount());
}

// In quantity

// Hands a running number to each read that is issued on a device, in portions of many sizes.
class CountingDriver {
public:
    CountingDriver(const PipeDevice& aDevice, std::uint32_t aCount)
        : thread_([&aDevice, aCount] { Run(aDevice, aCount); }) {}
    ~CountingDriver() { thread_.join(); }

    CountingDriver(const CountingDriver&) = delete;
    CountingDriver& operator=(const CountingDriver&) = delete;

private:
    static void Run(const PipeDevice& aDevice, std::uint32_t aCount) {
        constexpr std::uint32_t kLargest = 509;
        std::vector<std::uint32_t> portion;
        std::uint32_t size = 1;
        for (std::uint32_t number = 0; number < aCount;) {
            portion.clear();
            while (portion.size() < size && number < aCount) portion.push_back(number++);
            aDevice.Deliver(portion.data(), portion.size() * sizeof portion[0]);
            size = size * 7 % kLargest;
        }
    }

    std::thread thread_;
};

// Reads running numbers through a queue that is kept full.
class CountedStream {
public:
    CountedStream(DeviceConnection& aConnection, unsigned int aDepth)
        : connection_(aConnection), depth_(aDepth), numbers_(aDepth) {
        EXPECT_THAT(queue_.Allocate(aDepth, &aConnection), IsBareCode(Code::Success));
    }

    // Whether the ring has room for one more request.
    bool HasRoom() const { return issued_ - collected_ < depth_ - 1; }

    // The record of the request, or null when something was refused.
    OVERLAPPED* Issue() {
        void* const record = queue_.GetNextAvailableRequest();
        if (record == nullptr) return nullptr;
        unsigned long read = 0;
        const Result result =
            connection_.Read(&numbers_[issued_++ % depth_], sizeof numbers_[0], &read, record);
        const bool isIssued = result.IsSuccess() || result.GetCode() == Code::Pending;
        return isIssued ? static_cast<OVERLAPPED*>(record) : nullptr;
    }

    // Collects one request. False when it failed, or did not bring the next number.
    bool Collect() {
        unsigned long processed = 0;
        code_ = queue_.GetNextResult(&processed).GetCode();
        const std::uint32_t number = numbers_[collected_++ % depth_];
        return code_ == Code::Success && processed == sizeof number && number == expected_++;
    }

    // The code of the request that was collected last.
    unsigned long LastCode() const { return code_; }

private:
    DeviceConnection& connection_;
    unsigned int depth_;
    std::vector<std::uint32_t> numbers_;
    DeviceRequestQueue queue_;
    std::size_t issued_ = 0;
    std::size_t collected_ = 0;
    std::uint32_t expected_ = 0;
    unsigned long code_ = 0;
};

class DeviceRequestQueueOrderTest : public DeviceRequestQueueTest,
                                    public testing::WithParamInterface<unsigned int> {};

TEST_P(DeviceRequestQueueOrderTest, FiftyThousandRequestsAreCollectedInTheirOrder) {
    constexpr std::uint32_t kRequests = 50000;
    CountedStream stream(connection_, GetParam());
    const CountingDriver driver(device_, kRequests);

    std::uint32_t issued = 0;
    std::uint32_t refused = 0;
    std::uint32_t wrong = 0;
    for (std::uint32_t collected = 0; collected < kRequests; ++collected) {
        for (; issued < kRequests && stream.HasRoom(); ++issued) {
            if (stream.Issue() == nullptr) ++refused;
        }
        if (!stream.Collect()) ++wrong;
    }

    EXPECT_EQ(0u, refused);
    EXPECT_EQ(0u, wrong);
}

TEST_P(DeviceRequestQueueOrderTest, CancelledRequestsDoNotDisturbTheOrder) {
    constexpr std::uint32_t kNumbers = 5000;
    const unsigned int seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    CountedStream stream(connection_, GetParam());
    const CountingDriver driver(device_, kNumbers);

    std::uint32_t received = 0;
    std::uint32_t wrong = 0;
    while (received < kNumbers && wrong == 0) {
        while (stream.HasRoom()) {
            OVERLAPPED* const record = stream.Issue();
            if (record == nullptr) ++wrong;
            // It may have been completed before.
            if (record != nullptr && random() % 16 == 0) (void)::CancelIoEx(client_, record);
        }
        if (stream.Collect()) {
            ++received;
        } else if (stream.LastCode() != ERROR_OPERATION_ABORTED) {
            ++wrong;
        }
    }
    EXPECT_TRUE(::CancelIoEx(client_, nullptr) || ::GetLastError() == ERROR_NOT_FOUND);

    EXPECT_EQ(0u, wrong);
}

INSTANTIATE_TEST_SUITE_P(Depths, DeviceRequestQueueOrderTest, testing::Values(2u, 8u, 64u),
                         testing::PrintToStringParamName());

TEST_F(DeviceRequestQueueTest, RequestsTakeNoMemoryAndNoEvents) {
    constexpr int kDepth = 8;
    constexpr int kRounds = 10000 / (kDepth - 1);
    const std::string data(kReadSize * (kDepth - 1), 'x');
    Allocate(kDepth);
    const EventCounter events;
    const AllocationCounter allocations;

    int pending = 0;
    int collected = 0;
    for (int round = 0; round < kRounds; ++round) {
        unsigned long moved = 0;
        for (std::size_t index = 0; index < kDepth - 1; ++index) {
            void* const record = queue_.GetNextAvailableRequest();
            const Result result = connection_.Read(data_[index].data(), kReadSize, &moved, record);
            if (result.GetCode() == Code::Pending) ++pending;
        }
        device_.Deliver(data.data(), data.size());
        for (int index = 0; index < kDepth - 1; ++index) {
            if (queue_.GetNextResult(&moved).IsSuccess() && moved == kReadSize) ++collected;
        }
    }
    const long taken = allocations.Count();

    EXPECT_EQ(kRounds * (kDepth - 1), pending);
    EXPECT_EQ(kRounds * (kDepth - 1), collected);
    EXPECT_EQ(0, taken);
    EXPECT_EQ(0, events.Count());
}

TEST_F(DeviceRequestQueueTest, CollectionByTheFullRingTakesNoMemoryAndNoEvents) {
    constexpr int kRequests = 2000;
    Allocate(2);
    const EventCounter events;
    const AllocationCounter allocations;

    int handedOut = 0;
    for (int request = 0; request < kRequests; ++request) {
        unsigned long moved = 0;
        void* const record = queue_.GetNextAvailableRequest();
        if (record == nullptr) break;
        ++handedOut;
        (void)connection_.Read(data_[0].data(), kReadSize, &moved, record);
        device_.Deliver("abcd", 4);
    }
    const long taken = allocations.Count();

    EXPECT_EQ(kRequests, handedOut);
    EXPECT_EQ(0, taken);
    EXPECT_EQ(0, events.Count());
}

TEST(DeviceRequestQueueCycleTest, ThousandStreamsLeaveNoHandleOpen) {
    constexpr int kCycles = 1000;
    constexpr int kDepth = 4;
    const HandleLedger ledger;
    int broken = 0;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        PipeDevice device;
        DeviceConnection connection;
        ASSERT_THAT(connection.Connect(device.Path()), IsBareCode(Code::Success));
        {
            CountedStream stream(connection, kDepth);
            while (stream.HasRoom()) ASSERT_NE(nullptr, stream.Issue());
            constexpr std::uint32_t kFirst = 0;
            device.Deliver(&kFirst, sizeof kFirst);
            ASSERT_TRUE(stream.Collect());
            // The device goes while two requests are pending.
            device.Remove();
            ASSERT_FALSE(stream.Collect());
            if (stream.LastCode() == ERROR_BROKEN_PIPE) ++broken;
        }
        ASSERT_THAT(connection.Close(), IsBareCode(Code::Success));
    }

    EXPECT_EQ(kCycles, broken);
    EXPECT_EQ(kCycles, ledger.FilesOpened());
    EXPECT_EQ(kCycles * kDepth, ledger.EventsOpened());
    EXPECT_EQ(kCycles * (kDepth + 1), ledger.Closes());
    EXPECT_EQ(0, ledger.Unbalanced());
}

// Binary interface

TEST_F(DeviceRequestQueueTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible<DeviceRequestQueue>::value);
    EXPECT_FALSE(std::is_copy_assignable<DeviceRequestQueue>::value);
}

TEST_F(DeviceRequestQueueTest, HoldsItsDocumentedFields) {
    constexpr std::size_t kPointer = sizeof(void*);

    EXPECT_EQ(6 * kPointer + sizeof(Result), sizeof(DeviceRequestQueue));
}

// The fixed binary interface: a pointer to the virtual table, then the fields in this order.
struct QueueFields {
    void* table;
    OVERLAPPED* requests;
    unsigned long count;
    DeviceConnection* connection;
    unsigned long nextToHandOut;
    unsigned long nextToComplete;
    unsigned long processed;
    Result lastResult;
};
static_assert(sizeof(QueueFields) == sizeof(DeviceRequestQueue), "all fields are listed");

const QueueFields& FieldsOf(const DeviceRequestQueue& aQueue) {
    return *static_cast<const QueueFields*>(static_cast<const void*>(&aQueue));
}

TEST_F(DeviceRequestQueueTest, FieldsTellTheRingAndWhatItCompletedByItself) {
    const QueueFields& fields = FieldsOf(queue_);
    EXPECT_THAT(fields.lastResult, IsBareCode(Code::NotSet));
    Allocate(2);

    const OVERLAPPED* const first = Read();
    EXPECT_EQ(first, fields.requests);
    EXPECT_EQ(2u, fields.count);
    EXPECT_EQ(&connection_, fields.connection);
    device_.Deliver("ab");
    OVERLAPPED* const second = Read();
    EXPECT_EQ(2u, fields.processed);
    EXPECT_THAT(fields.lastResult, IsBareCode(Code::Success));

    Cancel(second);
    EXPECT_THAT(queue_.Wait(), IsBareCode(ERROR_OPERATION_ABORTED));
    EXPECT_EQ(0u, fields.processed);
    EXPECT_THAT(fields.lastResult, IsBareCode(ERROR_OPERATION_ABORTED));
    EXPECT_EQ(fields.nextToHandOut, fields.nextToComplete);
}

TEST_F(DeviceRequestQueueTest, DestructorIsVirtualAndFirst) {
    ExpectDestructorIsVirtualAndFirst<DeviceRequestQueue>();
}

// The last result, which only the field shows

TEST_F(DeviceRequestQueueTest, LastResultIsTheFailureOfTheRequestThatAFullRingCompleted) {
    FillRingWhoseOldestFails();

    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_THAT(FieldsOf(queue_).lastResult, IsBareCode(ERROR_OPERATION_ABORTED));
}

TEST_F(DeviceRequestQueueTest, LastResultOfARingOfOneRecordIsThatNothingIsPending) {
    Allocate(1);

    EXPECT_EQ(nullptr, queue_.GetNextAvailableRequest());

    EXPECT_THAT(FieldsOf(queue_).lastResult, IsBareCode(Code::NotAllowed));
}

TEST_F(DeviceRequestQueueTest, LastResultIsTheFirstFailureThatWaitCollected) {
    Allocate(4);
    Read();
    OVERLAPPED* const second = Read();
    Read();
    device_.Deliver("abcd");
    Cancel(second);
    device_.Remove();

    EXPECT_THAT(queue_.Wait(), IsBareCode(ERROR_OPERATION_ABORTED));

    EXPECT_THAT(FieldsOf(queue_).lastResult, IsBareCode(ERROR_OPERATION_ABORTED));
}

TEST_F(DeviceRequestQueueTest, SuccessReplacesAFailureAsTheLastResult) {
    Allocate(3);
    Cancel(Read());
    EXPECT_THAT(queue_.Wait(), IsBareCode(ERROR_OPERATION_ABORTED));

    EXPECT_THAT(queue_.Wait(), IsBareCode(Code::Success));

    EXPECT_THAT(FieldsOf(queue_).lastResult, IsBareCode(Code::Success));
}

TEST_F(DeviceRequestQueueTest, CollectionByTheCallerLeavesTheLastResult) {
    Allocate(3);
    Cancel(Read());

    EXPECT_EQ(Outcome(ERROR_OPERATION_ABORTED, 0), Collect());

    EXPECT_THAT(FieldsOf(queue_).lastResult, IsBareCode(Code::NotSet));
}

// Requests whose arguments the connection refuses

TEST_F(DeviceRequestQueueTest, RequestRefusedForItsArgumentsIsCollectedAsSuccessWithoutBytes) {
    Allocate(4);
    unsigned long moved = 0;
    const std::function<Result(void*)> requests[] = {
        [&](void* aRecord) { return connection_.Read(nullptr, kReadSize, &moved, aRecord); },
        [&](void* aRecord) { return connection_.Write("", 0, &moved, aRecord); },
        [&](void* aRecord) {
            return connection_.IoControl(0x222000, nullptr, 4, nullptr, 0, &moved,
                                         static_cast<OVERLAPPED*>(aRecord));
        },
    };
    for (const auto& request : requests) {
        SCOPED_TRACE(&request - requests);
        EXPECT_THAT(request(queue_.GetNextAvailableRequest()), IsBareCode(Code::InvalidArgument));
        EXPECT_EQ(Outcome(0, 0), Collect());
    }
}

}  // namespace
}  // namespace QvTests
