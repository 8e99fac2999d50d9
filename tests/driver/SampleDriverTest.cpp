// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the sample driver does on the threads that enter it, and with memory. Programs cannot see
// it, so the driver's file is loaded into this program, on a kernel that is a fake.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "ImportPatch.h"
#include "KernelObjects.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvSample/QvSampleDevice.h"
#include "TestSupport.h"
#include "fakekernel/FakeKernel.h"

namespace QvTests {
namespace {

constexpr const char* kDriver = "QvSampleDriver.sys";
constexpr unsigned char kRead = 0x03;
constexpr unsigned char kDeviceControl = 0x0e;
constexpr unsigned char kPnp = 0x1b;
constexpr unsigned char kStart = 0x00;
constexpr unsigned char kRemove = 0x02;
constexpr unsigned char kStop = 0x04;
constexpr long kSuccess = 0;
constexpr long kNotReady = static_cast<long>(0xC00000A3);

// How many reads of others a request completes at most.
constexpr int kReadsInARow = 16;

// Programs that together send so many reads, and a new one whenever one has completed.
class Readers {
public:
    explicit Readers(int aCount) : reads_(aCount), left_(aCount) {
        for (auto& read : reads_) {
            read.request.major = kRead;
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

    std::vector<Read> reads_;
    std::vector<std::size_t> order_;  // The driver completes one at a time.
    std::atomic<int> sent_ = 0;
    std::atomic<int> left_;
    int actionAt_ = 0;
    void (*action_)() = nullptr;
    Event ended_;
};

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

TEST_F(SampleDriverTest, MemoryIsNotExecutable) {
    EXPECT_GT(FakeKernelBlocks(), 0);
    EXPECT_EQ(0, FakeKernelExecutableBlocks());
}

}  // namespace
}  // namespace QvTests
