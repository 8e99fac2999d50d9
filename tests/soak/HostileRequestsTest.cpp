// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Programs that send the driver any request at all, on four handles at once, while another device
// streams.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "KernelObjects.h"
#include "ParameterBlock.h"
#include "SampleDevice.h"
#include "SamplePackets.h"
#include "TestScale.h"

namespace QvTests {
namespace {

constexpr unsigned int kHandles = 4;
constexpr std::size_t kLargest = 70000;
constexpr unsigned char kUntouched = 0xEE;

// The Win32 codes of a request.
using Answers = std::set<unsigned long>;

// What the driver answers to records, be they in order or not.
const Answers kAnswersToRecords = {
    ERROR_SUCCESS,      ERROR_ACCESS_DENIED,        ERROR_INVALID_PARAMETER,
    ERROR_INVALID_NAME, ERROR_FILENAME_EXCED_RANGE, ERROR_NO_UNICODE_TRANSLATION,
    ERROR_NOT_FOUND,    ERROR_REVISION_MISMATCH,    ERROR_OBJECT_ALREADY_EXISTS};
const Answers kAnswersToWriting = {ERROR_SUCCESS, ERROR_INVALID_USER_BUFFER, ERROR_BUSY};

constexpr DWORD kBlockSize = QV_SAMPLE_PARAMETER_COUNT * sizeof(QV_PARAMETER_RECORD);

// What it answers to a request with so many bytes of input and of room for output.
Answers AnswersTo(DWORD aCode, DWORD aInSize, DWORD aOutSize) {
    switch (aCode) {
        case IOCTL_PARAMETERS_GET_SIZE:
            if (aInSize > 0 || aOutSize > 0) return {ERROR_INVALID_PARAMETER};
            return {ERROR_SUCCESS};
        case IOCTL_PARAMETERS_GET:
            if (aInSize > 0) return {ERROR_INVALID_PARAMETER};
            if (aOutSize < kBlockSize) return {ERROR_INSUFFICIENT_BUFFER};
            return {ERROR_SUCCESS};
        case IOCTL_PARAMETERS_SET:
            if (aOutSize > 0) return {ERROR_INVALID_PARAMETER};
            if (aInSize == 0 || aInSize > kBlockSize ||
                aInSize % sizeof(QV_PARAMETER_RECORD) != 0) {
                return {ERROR_INVALID_USER_BUFFER};
            }
            return kAnswersToRecords;
        default:
            return {ERROR_INVALID_FUNCTION};
    }
}

enum class Request { Set, Get, GetSize, AnyCode, Read, Write };

struct Scenario {
    bool Has(Request aRequest) const {
        return std::find(requests.begin(), requests.end(), aRequest) != requests.end();
    }

    const char* name;
    unsigned long eighths;  // Of all requests.
    std::vector<Request> requests;
};

const std::vector<Scenario> kScenarios = {
    {"Changes", 1, {Request::Set}},
    {"Blocks", 1, {Request::Get, Request::GetSize}},
    {"OtherCodes", 1, {Request::AnyCode}},
    {"Transfers", 1, {Request::Read, Request::Write}},
    {"Everything",
     4,
     {Request::Set, Request::Set, Request::Set, Request::Get, Request::GetSize, Request::AnyCode,
      Request::Read, Request::Write}},
};

// GoogleTest prints scenarios with this.
void PrintTo(const Scenario& aScenario, std::ostream* aOut) { *aOut << aScenario.name; }

// A program that sends requests with random contents and sizes.
class HostileClient {
public:
    HostileClient(HANDLE aDevice, unsigned long aSeed)
        : device_(aDevice), random_(aSeed, 0), in_(kLargest), out_(kLargest + 16) {}

    void Send(const std::vector<Request>& aKinds, unsigned long aCount) {
        for (unsigned long request = 0; request < aCount; ++request) {
            Send(aKinds[random_.Below(aKinds.size())]);
        }
    }

    // Answers that the driver does not document, and buffers that it wrote too much to.
    std::set<std::string> strange;
    unsigned long overruns = 0;
    // How often it took changes, and gave all parameters.
    unsigned long changes = 0;
    unsigned long blocks = 0;

private:
    void Send(Request aRequest) {
        switch (aRequest) {
            case Request::Set:
                return Control(IOCTL_PARAMETERS_SET, FillWithRecords(), Size(16));
            case Request::Get:
                return Control(IOCTL_PARAMETERS_GET, Size(16), Size(30000));
            case Request::GetSize:
                return Control(IOCTL_PARAMETERS_GET_SIZE, Size(16), Size(16));
            case Request::AnyCode:
                return Control(AnyCode(), FillWithNoise(), Size(5000));
            case Request::Read:
                return Transfer(/*aReads=*/true);
            case Request::Write:
                return Transfer(/*aReads=*/false);
        }
    }

    // Half of the time 0.
    DWORD Size(DWORD aLargest) { return random_.Chance(2) ? 0 : random_.Below(aLargest + 1); }

    DWORD AnyCode() {
        constexpr DWORD kNear = 0x222000;
        return random_.Chance(2) ? kNear + random_.Below(64) : random_.Below(0xFFFFFFFF);
    }

    DWORD FillWithNoise() {
        const DWORD size = Size(5000);
        std::generate_n(in_.begin(), size,
                        [this] { return static_cast<unsigned char>(random_.Below(256)); });
        return size;
    }

    // Records in and out of order, the driver's own names and identifiers among them.
    DWORD FillWithRecords() {
        constexpr std::size_t kRecord = sizeof(QV_PARAMETER_RECORD);
        const std::size_t count = random_.Chance(10) ? 22 : random_.Below(4);
        for (std::size_t index = 0; index < count; ++index) {
            QV_PARAMETER_RECORD record = {};
            random_.MakeRecord(record);
            if (!random_.Chance(4)) record = OwnRecord(record);
            std::memcpy(&in_[index * kRecord], &record, kRecord);
        }
        const std::size_t size = count * kRecord;
        return static_cast<DWORD>(random_.Chance(8) ? random_.Below(size + 2) : size);
    }

    // One of the driver's own, with the values of the other.
    QV_PARAMETER_RECORD OwnRecord(const QV_PARAMETER_RECORD& aOther) {
        if (own_.empty()) {
            own_.resize(QV_SAMPLE_PARAMETER_COUNT);
            DWORD size = 0;
            const BOOL isRead = ::DeviceIoControl(device_, IOCTL_PARAMETERS_GET, nullptr, 0,
                                                  own_.data(), kBlockSize, &size, nullptr);
            if (!isRead || size != kBlockSize) strange.insert("the driver's own records");
        }
        QV_PARAMETER_RECORD record = own_[random_.Below(own_.size())];
        record.value = random_.Chance(2) ? random_.Below(70) : aOther.value;
        record.content = aOther.content;
        // It would keep this program waiting, which cancels all that it sends.
        if (record.id == QV_SAMPLE_ID_FAULT_IGNORE_CANCEL) record.value %= 2;
        return record;
    }

    void Control(DWORD aCode, DWORD aInSize, DWORD aOutSize) {
        PrepareOutput(aOutSize);
        OVERLAPPED overlapped = {};
        overlapped.hEvent = event_.Get();
        DWORD size = 0;
        const BOOL done =
            ::DeviceIoControl(device_, aCode, aInSize > 0 ? in_.data() : nullptr, aInSize,
                              aOutSize > 0 ? out_.data() : nullptr, aOutSize, &size, &overlapped);
        const unsigned long answer = Finish(done, overlapped, size);
        Check("code " + std::to_string(aCode), AnswersTo(aCode, aInSize, aOutSize), answer);
        if (aCode == IOCTL_PARAMETERS_SET && answer == ERROR_SUCCESS) ++changes;
        if (aCode == IOCTL_PARAMETERS_GET && answer == ERROR_SUCCESS) ++blocks;
        CheckOutput(aCode == IOCTL_PARAMETERS_GET_SIZE ? 0 : size, aOutSize);
    }

    // What a read fails with may be what a fault asks for.
    void Transfer(bool aReads) {
        const DWORD length = Size(kLargest);
        PrepareOutput(length);
        OVERLAPPED overlapped = {};
        overlapped.hEvent = event_.Get();
        DWORD size = 0;
        const BOOL done = aReads ? ::ReadFile(device_, out_.data(), length, &size, &overlapped)
                                 : ::WriteFile(device_, in_.data(), length, &size, &overlapped);
        const unsigned long answer = Finish(done, overlapped, size);
        if (!aReads) Check("writing", kAnswersToWriting, answer);
        CheckOutput(size, length);
    }

    // Waits for nothing: what is pending is cancelled.
    unsigned long Finish(BOOL aDone, OVERLAPPED& aOverlapped, DWORD& aSize) {
        if (aDone) return ERROR_SUCCESS;
        const DWORD error = ::GetLastError();
        if (error != ERROR_IO_PENDING) return error;
        ::CancelIoEx(device_, random_.Chance(2) ? &aOverlapped : nullptr);
        if (::GetOverlappedResult(device_, &aOverlapped, &aSize, /*bWait=*/TRUE)) {
            return ERROR_SUCCESS;
        }
        return ::GetLastError();
    }

    void Check(const std::string& aWhat, const Answers& aAnswers, unsigned long aAnswer) {
        if (aAnswers.count(aAnswer) > 0) return;
        strange.insert(aWhat + ": " + std::to_string(aAnswer));
    }

    void PrepareOutput(DWORD aSize) { std::fill_n(out_.begin() + aSize, 16, kUntouched); }

    void CheckOutput(DWORD aReturned, DWORD aSize) {
        const bool isUntouched =
            std::all_of(out_.begin() + aSize, out_.begin() + aSize + 16,
                        [](unsigned char aByte) { return aByte == kUntouched; });
        if (!isUntouched || aReturned > aSize) ++overruns;
    }

    HANDLE device_;
    Event event_;
    ParameterBlockMaker random_;
    std::vector<unsigned char> in_;
    std::vector<unsigned char> out_;
    std::vector<QV_PARAMETER_RECORD> own_;
};

// A stream of the other device, which no request may disturb.
class WatchedStream {
public:
    WatchedStream() : thread_([this] { Run(); }) {}
    ~WatchedStream() { Stop(); }
    WatchedStream(const WatchedStream&) = delete;
    WatchedStream& operator=(const WatchedStream&) = delete;

    void Stop() {
        isStopping_ = true;
        if (thread_.joinable()) thread_.join();
    }
    unsigned long Packets() const { return packets_; }
    bool IsUnharmed() const { return isUnharmed_; }

private:
    void Run() {
        DeviceConnection connection;
        DeviceParameterRepository parameters;
        isUnharmed_ = connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 1).IsSuccess() &&
                      parameters.Connect(&connection).IsSuccess() &&
                      parameters.GetByID(QV_SAMPLE_ID_PACKET_RATE)->SetInt(0).IsSuccess() &&
                      parameters.Apply().IsSuccess();
        std::vector<unsigned char> buffer(65536);
        while (!isStopping_ && isUnharmed_) {
            unsigned long size = 0;
            isUnharmed_ = connection.Read(buffer.data(), 65536, &size, nullptr).IsSuccess() &&
                          IsNext(buffer, size);
            ++packets_;
        }
        isUnharmed_ =
            isUnharmed_ && parameters.ResetDefaults().IsSuccess() && parameters.Apply().IsSuccess();
    }

    bool IsNext(const std::vector<unsigned char>& aBuffer, unsigned long aSize) const {
        const QV_SAMPLE_PACKET_HEADER header = HeaderOf(aBuffer.data());
        if (!IsWholePacket(aBuffer.data(), aSize) || header.sequence != packets_ ||
            header.dropped != 0) {
            return false;
        }
        for (std::uint32_t index = 0; index < header.payloadBytes; ++index) {
            if (aBuffer[sizeof header + index] != QvSamplePayloadByte(header.sequence, index)) {
                return false;
            }
        }
        return true;
    }

    std::atomic<bool> isStopping_{false};
    std::atomic<bool> isUnharmed_{true};
    std::atomic<unsigned long> packets_{0};
    std::thread thread_;  // Last: it uses all the others.
};

class HostileRequestsTest : public SampleDeviceTest, public testing::WithParamInterface<Scenario> {
protected:
    static Handle OpenDevice() {
        DeviceConnection connection;
        EXPECT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), HasCode(Code::Success));
        return Handle(connection.ReleaseHandle());
    }

    // Sends the requests on each handle, from a thread of its own.
    void SendRequests() {
        const unsigned long seed = Seed();
        std::vector<std::thread> threads;
        for (unsigned int index = 0; index < kHandles; ++index) {
            threads.emplace_back([this, seed, index] {
                const Handle device = OpenDevice();
                HostileClient client(device.Get(), seed + index);
                client.Send(GetParam().requests, count_ / kHandles);
                const std::lock_guard<std::mutex> guard(lock_);
                strange_.insert(client.strange.begin(), client.strange.end());
                overruns_ += client.overruns;
                changes_ += client.changes;
                blocks_ += client.blocks;
            });
        }
        for (std::thread& thread : threads) thread.join();
    }

    const unsigned long count_ = Scaled("QVTEST_REQUESTS", 20000) * GetParam().eighths / 8;
    std::mutex lock_;  // Guards what follows while the threads run.
    std::set<std::string> strange_;
    unsigned long overruns_ = 0;
    unsigned long changes_ = 0;
    unsigned long blocks_ = 0;
};

TEST_P(HostileRequestsTest, DriverAndTheOtherDevicesStreamAreUnharmed) {
    WatchedStream stream;
    SendRequests();
    stream.Stop();

    EXPECT_THAT(strange_, testing::IsEmpty());
    EXPECT_EQ(0u, overruns_);
    EXPECT_EQ(GetParam().Has(Request::Set), changes_ > 0);
    EXPECT_EQ(GetParam().Has(Request::Get), blocks_ > 0);
    EXPECT_TRUE(stream.IsUnharmed()) << "packet " << stream.Packets();
    EXPECT_GT(stream.Packets(), 0u);
    RestoreDefaults();
    DeviceParameterRepository parameters;
    EXPECT_THAT(parameters.Connect(&connection_), IsBareCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters.GetCount());
    std::printf("%lu requests, %lu changes, %lu blocks, %lu packets of the other device\n", count_,
                changes_, blocks_, stream.Packets());
}

INSTANTIATE_TEST_SUITE_P(, HostileRequestsTest, testing::ValuesIn(kScenarios),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

}  // namespace
}  // namespace QvTests
