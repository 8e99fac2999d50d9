// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the sample driver does on the threads that enter it, in any order of requests, and with
// memory. Programs cannot see it, so the driver's file is loaded into this program, on a kernel
// that is a fake.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ImportPatch.h"
#include "KernelObjects.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvSample/QvSampleDevice.h"
#include "SamplePackets.h"
#include "TestSupport.h"
#include "fakekernel/FakeKernel.h"

namespace QvTests {
namespace {

constexpr const char* kDriver = "QvSampleDriver.sys";
constexpr unsigned char kCreate = 0x00;
constexpr unsigned char kClose = 0x02;
constexpr unsigned char kRead = 0x03;
constexpr unsigned char kDeviceControl = 0x0e;
constexpr unsigned char kCleanup = 0x12;
constexpr unsigned char kPnp = 0x1b;
constexpr unsigned char kStart = 0x00;
constexpr unsigned char kRemove = 0x02;
constexpr unsigned char kStop = 0x04;
constexpr long kSuccess = 0;
constexpr long kPending = 0x103;
constexpr long kNotReady = static_cast<long>(0xC00000A3);
constexpr long kCancelled = static_cast<long>(0xC0000120);
constexpr long kFileClosed = static_cast<long>(0xC0000128);

// How many reads of others a request completes at most.
constexpr int kReadsInARow = 16;

// The driver looks at the system's time where only the kernel can read it. Programs see the same
// page elsewhere. As long as this object lives, the driver gets the time as well.
class KernelTime {
    static constexpr DWORD64 kKernelPage = 0xFFFFF78000000000;
    static constexpr DWORD64 kProgramPage = 0x7FFE0000;
    static constexpr DWORD64 kPageSize = 0x1000;
    static constexpr DWORD64 kSystemTime = kKernelPage + 0x14;

    static LONG CALLBACK ReadTheTime(EXCEPTION_POINTERS* aException) {
        const EXCEPTION_RECORD& record = *aException->ExceptionRecord;
        if (record.ExceptionCode != static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION) ||
            record.ExceptionInformation[1] != kSystemTime) {
            return EXCEPTION_CONTINUE_SEARCH;
        }
        // Compilers differ. The address is in the instruction, which loads into rax, or in a
        // register.
        static constexpr unsigned char kLoad[] = {0x48, 0xA1};
        CONTEXT& context = *aException->ContextRecord;
        if (std::memcmp(record.ExceptionAddress, kLoad, sizeof kLoad) == 0) {
            FILETIME now = {};
            ::GetSystemTimeAsFileTime(&now);
            std::memcpy(&context.Rax, &now, sizeof now);
            context.Rip += sizeof kLoad + sizeof kSystemTime;
            return EXCEPTION_CONTINUE_EXECUTION;
        }
        return MoveToProgramPage(&context.Rax, &context.R15) ? EXCEPTION_CONTINUE_EXECUTION
                                                             : EXCEPTION_CONTINUE_SEARCH;
    }

    static bool MoveToProgramPage(DWORD64* aFirst, const DWORD64* aLast) {
        bool isMoved = false;
        for (DWORD64* address = aFirst; address <= aLast; ++address) {
            if (*address - kKernelPage >= kPageSize) continue;
            *address += kProgramPage - kKernelPage;
            isMoved = true;
        }
        return isMoved;
    }

    const ExceptionHandler handler_{::AddVectoredExceptionHandler(/*First=*/1, &ReadTheTime)};
};

// A handle of a program.
class OpenFile {
public:
    OpenFile() : file_(FakeKernelNewFile()) { EXPECT_EQ(kSuccess, Send(kCreate)); }
    ~OpenFile() {
        Close();
        FakeKernelFreeFile(file_);
    }

    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void Cleanup() { EXPECT_EQ(kSuccess, Send(kCleanup)); }
    void Close() { EXPECT_EQ(kSuccess, Send(kClose)); }

    FakeFile* Get() const { return file_; }

private:
    long Send(unsigned char aMajor) {
        FakeRequest request = {};
        request.major = aMajor;
        request.file = file_;
        return FakeKernelSend(&request);
    }

    FakeFile* file_;
};

// A read on a handle.
class FileRead {
public:
    explicit FileRead(const OpenFile& aFile) {
        request.major = kRead;
        request.file = aFile.Get();
        request.buffer = packet_;
        request.outputBytes = sizeof packet_;
        request.completed = [](FakeRequest* aRequest) {
            static_cast<FileRead*>(aRequest->context)->completed_.Set();
        };
        request.context = this;
    }

    FileRead(const FileRead&) = delete;
    FileRead& operator=(const FileRead&) = delete;

    long Send() { return FakeKernelSend(&request); }
    void WaitForEnd() const { completed_.Wait(); }
    bool IsCompleted() const { return completed_.IsSet(); }

    QV_SAMPLE_PACKET_HEADER Header() const { return HeaderOf(packet_); }

    FakeRequest request = {};

private:
    unsigned char packet_[4096] = {};
    Event completed_;
};

// Reads a packet that is due, and returns its number. A thread that completes reads at the moment
// completes this one, too.
std::uint64_t ReadNumber(const OpenFile& aFile) {
    FileRead read(aFile);
    EXPECT_THAT(read.Send(), testing::AnyOf(kSuccess, kPending));
    read.WaitForEnd();
    EXPECT_EQ(kSuccess, read.request.status);
    return read.Header().sequence;
}

// Programs that together send so many reads, and a new one whenever one has completed.
class Readers {
public:
    explicit Readers(int aCount) : reads_(aCount), left_(aCount) {
        for (auto& read : reads_) {
            read.request.major = kRead;
            read.request.file = file_.Get();
            read.request.buffer = read.packet;
            read.request.outputBytes = sizeof read.packet;
            read.request.completed = &Readers::OnCompleted;
            read.request.context = this;
        }
    }

    void SendNext() {
        const int index = sent_++;
        if (index < static_cast<int>(reads_.size())) FakeKernelSend(&reads_[index].request);
    }

    void WaitForEnd() const { ended_.Wait(); }

    // How many have been completed by the calling thread.
    int CompletedHere() const {
        return static_cast<int>(std::count_if(reads_.begin(), reads_.end(), [](const Read& aRead) {
            return aRead.thread == std::this_thread::get_id();
        }));
    }

    std::vector<long> Statuses() const {
        std::vector<long> statuses;
        for (const Read& read : reads_) statuses.push_back(read.request.status);
        return statuses;
    }

    std::vector<std::size_t> Order() const { return order_; }

    // Called when that many reads have been completed, on the thread that completes the last one.
    void OnCompletion(int aCount, void (*aAction)()) {
        actionAt_ = aCount;
        action_ = aAction;
    }

private:
    struct Read {
        FakeRequest request = {};
        unsigned char packet[4096] = {};
        std::thread::id thread;
    };

    static void OnCompleted(FakeRequest* aRequest) {
        static_cast<Readers*>(aRequest->context)->Completed(aRequest);
    }

    void Completed(FakeRequest* aRequest) {
        const auto read = std::find_if(reads_.begin(), reads_.end(), [aRequest](const Read& aRead) {
            return &aRead.request == aRequest;
        });
        read->thread = std::this_thread::get_id();
        order_.push_back(static_cast<std::size_t>(read - reads_.begin()));
        if (static_cast<int>(order_.size()) == actionAt_) action_();
        SendNext();
        if (--left_ == 0) ended_.Set();
    }

    const OpenFile file_;
    std::vector<Read> reads_;
    std::vector<std::size_t> order_;  // The driver completes one at a time.
    std::atomic<int> sent_ = 0;
    std::atomic<int> left_;
    int actionAt_ = 0;
    void (*action_)() = nullptr;
    Event ended_;
};

// A device with a packet for every read.
class SampleDriverTest : public ::testing::Test {
protected:
    void SetUp() override {
        char path[MAX_PATH] = {};
        ::GetModuleFileNameA(nullptr, path, MAX_PATH);
        std::string file(path);
        file.resize(file.rfind('\\') + 1);
        file += kDriver;
        driver_ = ::LoadLibraryExA(file.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
        ASSERT_NE(nullptr, driver_);
        for (const Import& import : ImportsOf(kDriver)) {
            imports_.push_back(std::make_unique<ImportPatch>(
                import.name.c_str(), reinterpret_cast<void (*)()>(Replacement(import.name)),
                kDriver));
        }
        ASSERT_EQ(kSuccess, FakeKernelAddDevice(EntryPoint()));
        ASSERT_EQ(kSuccess, PlugAndPlay(kStart));
        ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_PACKET_RATE, 0));
        FakeKernelWaitForSleep();
    }

    void TearDown() override {
        PlugAndPlay(kRemove);
        imports_.clear();
        ::FreeLibrary(driver_);
    }

    static long PlugAndPlay(unsigned char aMinor) {
        FakeRequest request = {};
        request.major = kPnp;
        request.minor = aMinor;
        return FakeKernelSend(&request);
    }

    static long Control(unsigned long aCode, void* aBuffer, std::size_t aInput,
                        std::size_t aOutput) {
        FakeRequest request = {};
        request.major = kDeviceControl;
        request.code = aCode;
        request.buffer = aBuffer;
        request.inputBytes = static_cast<unsigned long>(aInput);
        request.outputBytes = static_cast<unsigned long>(aOutput);
        return FakeKernelSend(&request);
    }

    static QV_PARAMETER_RECORD Get(unsigned long aID) {
        std::vector<QV_PARAMETER_RECORD> block(QV_SAMPLE_PARAMETER_COUNT);
        EXPECT_EQ(kSuccess,
                  Control(IOCTL_PARAMETERS_GET, block.data(), 0, block.size() * sizeof block[0]));
        return *std::find_if(block.begin(), block.end(), [aID](const QV_PARAMETER_RECORD& aRecord) {
            return aRecord.id == aID;
        });
    }

    static long Set(QV_PARAMETER_RECORD aRecord) {
        return Control(IOCTL_PARAMETERS_SET, &aRecord, sizeof aRecord, 0);
    }

    static long Set(unsigned long aID, std::uint32_t aValue) {
        QV_PARAMETER_RECORD record = Get(aID);
        record.value = aValue;
        return Set(record);
    }

private:
    static void* Replacement(const std::string& aName) {
        void* const function = FakeKernelFunction(aName.c_str());
        EXPECT_NE(nullptr, function) << "the fake kernel has no " << aName;
        return function;
    }

    void* EntryPoint() const {
        auto* const base = reinterpret_cast<unsigned char*>(driver_);
        const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
            base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
        return base + headers->OptionalHeader.AddressOfEntryPoint;
    }

    const KernelTime time_;
    HMODULE driver_ = nullptr;
    std::vector<std::unique_ptr<ImportPatch>> imports_;
};

TEST_F(SampleDriverTest, RequestCompletesSomeReadsOfOthersAndLeavesTheRestToTheDriversThread) {
    Readers readers(1000);
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));
    for (int i = 0; i < 4; ++i) readers.SendNext();

    EXPECT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 0));

    const int completedHere = readers.CompletedHere();
    readers.WaitForEnd();
    EXPECT_EQ(kReadsInARow, completedHere);
    EXPECT_THAT(readers.Statuses(), testing::Each(kSuccess));
}

TEST_F(SampleDriverTest, ReadsCompleteInOrderOnAnyThread) {
    Readers readers(1000);
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));
    for (int i = 0; i < 100; ++i) readers.SendNext();

    EXPECT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 0));

    readers.WaitForEnd();
    std::vector<std::size_t> order(1000);
    std::iota(order.begin(), order.end(), 0);
    EXPECT_EQ(order, readers.Order());
}

// The thread that the request would leave them to has ended by then.
TEST_F(SampleDriverTest, DeviceThatStopsMeanwhileLeavesNoReadOver) {
    Readers readers(100);
    readers.OnCompletion(1, [] { EXPECT_EQ(kSuccess, PlugAndPlay(kStop)); });
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));
    for (int i = 0; i < 100; ++i) readers.SendNext();

    EXPECT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 0));

    EXPECT_EQ(100, readers.CompletedHere());
    EXPECT_THAT(readers.Statuses(), testing::Each(kSuccess));
}

// It is looked at when the request comes in, and once more under the lock.
TEST_F(SampleDriverTest, RequestThatTheStopOvertakesChangesNoParameter) {
    QV_PARAMETER_RECORD rate = Get(QV_SAMPLE_ID_PACKET_RATE);
    const std::uint32_t before = rate.value++;

    FakeKernelBeforeLock(2, [] { EXPECT_EQ(kSuccess, PlugAndPlay(kStop)); });
    EXPECT_EQ(kNotReady, Set(rate));

    ASSERT_EQ(kSuccess, PlugAndPlay(kStart));
    EXPECT_EQ(before, Get(QV_SAMPLE_ID_PACKET_RATE).value);
}

// The beginning and the end of a stream

using SampleDriverStreamTest = SampleDriverTest;

TEST_F(SampleDriverStreamTest, GoesOnAsLongAsAHandleThatHasReadIsOpen) {
    OpenFile first;
    OpenFile second;
    OpenFile idle;
    EXPECT_EQ(0u, ReadNumber(first));
    EXPECT_EQ(1u, ReadNumber(second));

    // The end of a former handle may come late, and has two parts.
    first.Cleanup();
    EXPECT_EQ(2u, ReadNumber(second));
    first.Close();
    idle.Cleanup();
    EXPECT_EQ(3u, ReadNumber(second));

    second.Cleanup();
    EXPECT_EQ(0u, ReadNumber(OpenFile()));
}

TEST_F(SampleDriverStreamTest, GoesOnWhenTheDeviceIsStoppedAndStarted) {
    OpenFile file;
    EXPECT_EQ(0u, ReadNumber(file));
    ASSERT_EQ(kSuccess, PlugAndPlay(kStop));
    ASSERT_EQ(kSuccess, PlugAndPlay(kStart));
    EXPECT_EQ(1u, ReadNumber(file));
}

TEST_F(SampleDriverStreamTest, GoesOnWhenParametersChangeUnderPendingReads) {
    OpenFile file;
    std::vector<std::unique_ptr<FileRead>> reads;
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));
    for (int i = 0; i < 8; ++i) {
        reads.push_back(std::make_unique<FileRead>(file));
        EXPECT_EQ(kPending, reads.back()->Send());
    }

    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_LOOP_BACK));
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 0));
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_PACKET_SIZE, 64));
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_STREAM_MODE, QV_SAMPLE_MODE_PACKETS));

    for (std::uint64_t expected = 0; expected < reads.size(); ++expected) {
        reads[expected]->WaitForEnd();
        EXPECT_EQ(expected, reads[expected]->Header().sequence);
    }
}

TEST_F(SampleDriverStreamTest, FirstReadsOfTwoThreadsBeginOneStream) {
    for (int round = 0; round < 500; ++round) {
        OpenFile files[2];
        std::uint64_t numbers[2] = {};
        std::thread other([&] { numbers[1] = ReadNumber(files[1]); });
        numbers[0] = ReadNumber(files[0]);
        other.join();
        EXPECT_THAT(numbers, testing::UnorderedElementsAre(0, 1));
    }
}

TEST_F(SampleDriverStreamTest, ReadOfAHandleThatIsClosedBeginsNone) {
    OpenFile file;
    EXPECT_EQ(0u, ReadNumber(file));
    file.Cleanup();

    EXPECT_EQ(kFileClosed, FileRead(file).Send());

    EXPECT_EQ(0u, ReadNumber(OpenFile()));
}

// Its own thread has entered the driver already.
TEST_F(SampleDriverStreamTest, ReadThatTheEndOfItsHandleOvertakesDoesNotStayPending) {
    static OpenFile* file = nullptr;
    OpenFile closing;
    file = &closing;
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));

    FileRead read(closing);
    FakeKernelBeforeLock(2, [] { file->Cleanup(); });
    EXPECT_EQ(kFileClosed, read.Send());
    EXPECT_TRUE(read.IsCompleted());
}

TEST_F(SampleDriverStreamTest, ReadThatIsSentWhileItsHandleEndsDoesNotStayPending) {
    OpenFile file;
    FileRead first(file);
    static FileRead* next = nullptr;
    FileRead second(file);
    next = &second;
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));
    ASSERT_EQ(kPending, first.Send());
    first.request.completed = [](FakeRequest*) { (void)next->Send(); };

    file.Cleanup();

    EXPECT_EQ(kCancelled, first.request.status);
    EXPECT_TRUE(second.IsCompleted());
    EXPECT_EQ(kFileClosed, second.request.status);
}

// A read of one stream and a read of the next. The next begins when the system is about to cancel
// the former's read: it has taken the read's cancel routine, and has not called it yet.
struct ReadsOfTwoStreams {
    void Send() {
        EXPECT_EQ(kPending, cancelled.Send());
        FakeKernelBeginCancel(&cancelled.request);
        former.Cleanup();
        EXPECT_EQ(kPending, read.Send());
    }

    void CancelOneAndAwaitTheOther() {
        FakeKernelEndCancel(&cancelled.request);
        EXPECT_EQ(kCancelled, cancelled.request.status);
        read.WaitForEnd();
    }

    OpenFile former;
    FileRead cancelled{former};
    OpenFile file;
    FileRead read{file};
};

TEST_F(SampleDriverStreamTest, DelayedReadThatIsBeingCancelledCountsInItsOwnStreamOnly) {
    ReadsOfTwoStreams reads;
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_DELAY, 10));
    reads.Send();
    reads.CancelOneAndAwaitTheOther();
    EXPECT_EQ(0u, reads.read.Header().sequence);
    EXPECT_EQ(0u, reads.read.Header().dropped);
}

TEST_F(SampleDriverStreamTest, WaitingReadThatIsBeingCancelledTakesNoPacketOfTheNextStream) {
    ReadsOfTwoStreams reads;
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 1));
    reads.Send();
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_DELAY, 1));
    ASSERT_EQ(kSuccess, Set(QV_SAMPLE_ID_FAULT_HOLD, 0));
    reads.CancelOneAndAwaitTheOther();
    EXPECT_EQ(0u, reads.read.Header().sequence);
}

// Handles come and go in any order. A packet has the number 0 exactly when it is the first one
// since no open handle had read.
TEST_F(SampleDriverStreamTest, NumberZeroComesOncePerStreamInAnyOrderOfRequests) {
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    struct Client {
        OpenFile file;
        bool hasRead = false;
        bool isClosed = false;
    };
    std::vector<std::unique_ptr<Client>> clients;
    std::uint64_t next = 0;
    for (int step = 0; step < 20000; ++step) {
        const unsigned int action = random() % 8;
        if (clients.size() < 2 || (action == 0 && clients.size() < 8)) {
            clients.push_back(std::make_unique<Client>());
        }
        const std::size_t index = random() % clients.size();
        Client& client = *clients[index];
        if (action == 1) {
            client.file.Cleanup();
            client.isClosed = true;
        } else if (action == 2) {
            clients.erase(clients.begin() + static_cast<int>(index));
        } else if (action == 3 && step % 16 == 0) {
            ASSERT_EQ(kSuccess, PlugAndPlay(kStop));
            ASSERT_EQ(kSuccess, PlugAndPlay(kStart));
        } else if (client.isClosed) {
            ASSERT_EQ(kFileClosed, FileRead(client.file).Send());
        } else {
            client.hasRead = true;
            ASSERT_EQ(next++, ReadNumber(client.file)) << "step " << step;
        }
        const bool isRunning = std::any_of(clients.begin(), clients.end(), [](const auto& aClient) {
            return aClient->hasRead && !aClient->isClosed;
        });
        if (!isRunning) next = 0;
    }
}

TEST_F(SampleDriverTest, MemoryIsNotExecutable) {
    EXPECT_GT(FakeKernelBlocks(), 0);
    EXPECT_EQ(0, FakeKernelExecutableBlocks());
}

}  // namespace
}  // namespace QvTests
