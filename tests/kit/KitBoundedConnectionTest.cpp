// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Requests that end in time, on pipes whose servers play slow devices, and on channels without any
// device.

#include "QvKit/BoundedConnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "ImportPatch.h"
#include "KernelObjects.h"
#include "KitTestSupport.h"
#include "LoggedErrors.h"
#include "PipeServer.h"
#include "QvKit/QvKit.h"
#include "TestSupport.h"

namespace {

using QvKit::BoundedConnection;
using QvKit::Channel;
using QvKit::CountGivenUpRequests;
using QvKit::ErrorKind;
using QvKit::kNoLimit;
using QvKit::Request;
using QvKit::RequestLimits;
using QvKit::StopSignal;
using QvTests::AddressOf;
using QvTests::AllocationCounter;
using QvTests::ErrorWatch;
using QvTests::HasCode;
using QvTests::ImportPatch;
using QvTests::IsBareCode;
using QvTests::LastErrorText;
using QvTests::LoggedErrorsWithoutLines;
using QvTests::PipeServer;
using QvUserLib::Code;
using QvUserLib::DeviceConnection;
using QvUserLib::Result;
using std::chrono::milliseconds;
using testing::Each;
using testing::EndsWith;
using testing::SizeIs;
using testing::StartsWith;

// What pipes return: 16 bytes about the pipe and then its data.
constexpr unsigned long kPeek = 0x11400C;
// Writes a message and reads the answer to it, on the caller's memory.
constexpr unsigned long kTransceive = 0x11C017;

constexpr unsigned char kUntouched = 0xEE;
constexpr milliseconds kShort(10);
constexpr milliseconds kLong(60000);
constexpr char kIgnored[] = "; the driver ignores that it was cancelled";

void AwaitNoGivenUpRequests() {
    while (CountGivenUpRequests() > 0) std::this_thread::yield();
}

// Functions in the place of those of the system that the kit calls. This program's own calls reach
// them too, so they call the system's by their addresses.

template <typename Function>
Function* SystemFunction(const char* aName, Function*) {
    const FARPROC address = ::GetProcAddress(::GetModuleHandleA("kernel32.dll"), aName);
    Function* function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
}
const auto kReadFile = SystemFunction("ReadFile", &::ReadFile);
const auto kCancelIoEx = SystemFunction("CancelIoEx", &::CancelIoEx);
const auto kCreateFile = SystemFunction("CreateFileA", &::CreateFileA);
const auto kCreateEvent = SystemFunction("CreateEventA", &::CreateEventA);

// A pipe that takes whole messages, as the control requests of pipes want it.
HANDLE WINAPI OpenForMessages(const char* aName, DWORD aAccess, DWORD aShare,
                              SECURITY_ATTRIBUTES* aSecurity, DWORD aDisposition, DWORD aFlags,
                              HANDLE aTemplate) {
    const HANDLE file =
        kCreateFile(aName, aAccess, aShare, aSecurity, aDisposition, aFlags, aTemplate);
    const DWORD error = ::GetLastError();
    DWORD mode = PIPE_READMODE_MESSAGE;
    ::SetNamedPipeHandleState(file, &mode, nullptr, nullptr);
    ::SetLastError(error);
    return file;
}

std::atomic<int> theReads;
std::set<HANDLE> theEvents;
std::mutex theLock;  // Guards the events.

BOOL WINAPI CountedRead(HANDLE aFile, LPVOID aBuffer, DWORD aSize, LPDWORD aRead,
                        LPOVERLAPPED aOverlapped) {
    if (aOverlapped == nullptr) return kReadFile(aFile, aBuffer, aSize, aRead, aOverlapped);
    {
        const std::lock_guard<std::mutex> guard(theLock);
        theEvents.insert(aOverlapped->hEvent);
    }
    const BOOL done = kReadFile(aFile, aBuffer, aSize, aRead, aOverlapped);
    const DWORD error = ::GetLastError();
    ++theReads;
    ::SetLastError(error);
    return done;
}

// Counts the reads that have reached the system.
class ReadCounter {
public:
    ReadCounter() { theReads = 0; }
    ~ReadCounter() { theEvents.clear(); }
    ReadCounter(const ReadCounter&) = delete;
    ReadCounter& operator=(const ReadCounter&) = delete;

    static void Await(int aCount) {
        while (theReads < aCount) std::this_thread::yield();
    }

private:
    const ImportPatch patch_{"ReadFile", &CountedRead, nullptr};
};

// A driver that ignores cancelling.
class IgnoredCancelling {
    static BOOL WINAPI Ignore(HANDLE, LPOVERLAPPED) { return TRUE; }
    const ImportPatch patch_{"CancelIoEx", &Ignore, nullptr};
};

std::atomic<int> theEventsMade;

HANDLE WINAPI CountedCreateEvent(SECURITY_ATTRIBUTES* aSecurity, BOOL aManualReset, BOOL aState,
                                 const char* aName) {
    ++theEventsMade;
    return kCreateEvent(aSecurity, aManualReset, aState, aName);
}

PipeServer* theServer;

// The device is a moment faster.
BOOL WINAPI AnswerAndCancel(HANDLE aFile, LPOVERLAPPED aOverlapped) {
    theServer->Write("abc");
    return kCancelIoEx(aFile, aOverlapped);
}

BOOL WINAPI ReadAndBreak(HANDLE aFile, LPVOID aBuffer, DWORD aSize, LPDWORD aRead,
                         LPOVERLAPPED aOverlapped) {
    const BOOL done = kReadFile(aFile, aBuffer, aSize, aRead, aOverlapped);
    const DWORD error = ::GetLastError();
    theServer->Close();
    ::SetLastError(error);
    return done;
}

// Requests without a device: the test says how they end
class FakeChannel final : public Channel {
public:
    std::unique_ptr<Request> MakeRequest(std::size_t aCapacity) override {
        onMake();
        capacities.push_back(aCapacity);
        return std::make_unique<FakeRequest>(*this, aCapacity);
    }
    void CancelAll() override {}

    std::function<void()> onMake = [] {};
    std::function<bool()> onWait = [] { return true; };
    std::function<void(unsigned char*)> onTake = [](unsigned char*) {};
    Request::Outcome outcome{0, 0};
    std::vector<std::size_t> capacities;
    std::string sent;  // The whole memory of the last request when it was sent.
    int cancelled = 0;

private:
    class FakeRequest final : public Request {
    public:
        FakeRequest(FakeChannel& aChannel, std::size_t aCapacity)
            : channel_(aChannel), buffer_(aCapacity, kUntouched) {}
        unsigned char* GetBuffer() override { return buffer_.data(); }
        std::size_t GetCapacity() const override { return buffer_.size(); }
        void Read(std::size_t) override {}
        void Write(std::size_t) override {}
        void Control(unsigned long, std::size_t, std::size_t) override {
            channel_.sent.assign(buffer_.begin(), buffer_.end());
        }
        bool WaitFor(milliseconds, const StopSignal*, const StopSignal*) override {
            return channel_.onWait();
        }
        void Cancel() override { ++channel_.cancelled; }
        Outcome Take() override {
            channel_.onTake(buffer_.data());
            return channel_.outcome;
        }

    private:
        FakeChannel& channel_;
        std::vector<unsigned char> buffer_;
    };
};

// A buffer of a caller.
struct Buffer {
    Buffer() : bytes(100, kUntouched) {}
    std::string Text() const { return {bytes.begin(), bytes.begin() + size}; }
    bool IsUntouched() const { return bytes == std::vector<unsigned char>(100, kUntouched); }

    std::vector<unsigned char> bytes;
    unsigned long size = 0;
};

class KitBoundedConnectionTest : public testing::Test {
protected:
    explicit KitBoundedConnectionTest(milliseconds aCancelLimit = kLong)
        : connection_(std::make_unique<BoundedConnection>(AddressOf(server_.Name()),
                                                          RequestLimits{kLong, aCancelLimit})) {}

    void SetUp() override { theServer = &server_; }

    Result Read(Buffer& aBuffer, milliseconds aLimit) {
        return connection_->Read(aBuffer.bytes.data(), 100, &aBuffer.size, aLimit);
    }

    // Threads that read without a limit, and the codes that they get.
    void StartReaders(unsigned int aCount) {
        for (unsigned int index = 0; index < aCount; ++index) {
            readers_.emplace_back([this] {
                Buffer buffer;
                const Result result = Read(buffer, kNoLimit);
                const std::string text = LastErrorText();
                const std::lock_guard<std::mutex> guard(theLock);
                codes_.push_back(result.GetCode());
                texts_.push_back(text);
            });
        }
        ReadCounter::Await(static_cast<int>(aCount));
    }
    void JoinReaders() {
        for (std::thread& reader : readers_) reader.join();
    }

    PipeServer server_;
    const ReadCounter counter_;
    const ImportPatch messages_{"CreateFileA", &OpenForMessages, nullptr};
    std::unique_ptr<BoundedConnection> connection_;
    std::vector<std::thread> readers_;
    std::vector<unsigned long> codes_;
    std::vector<std::string> texts_;
};

TEST_F(KitBoundedConnectionTest, RequestsReachTheDeviceAndItsAnswersTheCaller) {
    unsigned long size = 0;
    EXPECT_THAT(connection_->Write("abc", 3, &size, nullptr), IsBareCode(Code::Success));
    EXPECT_EQ(3u, size);
    EXPECT_EQ("abc", server_.Read());

    server_.Write("answer");
    Buffer buffer;
    EXPECT_THAT(
        connection_->IoControl(kPeek, nullptr, 0, buffer.bytes.data(), 100, &buffer.size, nullptr),
        IsBareCode(Code::Success));
    EXPECT_THAT(buffer.Text(), EndsWith("answer"));
    EXPECT_THAT(connection_->Read(buffer.bytes.data(), 100, &buffer.size, nullptr),
                IsBareCode(Code::Success));
    EXPECT_EQ("answer", buffer.Text());
    EXPECT_TRUE(connection_->IsConnected());

    server_.Write("1");
    EXPECT_THAT(connection_->Read(buffer.bytes.data(), 1, &buffer.size, nullptr),
                IsBareCode(Code::Success));
    EXPECT_EQ("1", buffer.Text());
}

TEST_F(KitBoundedConnectionTest, InputAndOutputOfOneRequestAreApart) {
    std::thread device([this] {
        EXPECT_EQ("question", server_.Read());
        server_.Write("abc");
    });
    Buffer buffer;

    EXPECT_THAT(connection_->IoControl(kTransceive, "question", 8, buffer.bytes.data(), 100,
                                       &buffer.size, nullptr),
                IsBareCode(Code::Success));

    EXPECT_EQ("abc", buffer.Text());
    device.join();
}

// Single requests

TEST(KitRawRequestTest, BytesThatCameWithAFailureAreKept) {
    auto channel = std::make_unique<FakeChannel>();
    channel->outcome = {ERROR_MORE_DATA, 3};
    channel->onTake = [](unsigned char* aBytes) { std::copy_n("abc", 3, aBytes); };
    BoundedConnection connection(std::move(channel));

    const QvKit::RawAnswer answer = QvKit::SendControl(connection, kPeek, {}, 3);

    EXPECT_EQ("abc", std::string(answer.bytes.begin(), answer.bytes.end()));
    EXPECT_EQ(3u, answer.size);
    ASSERT_TRUE(answer.error.has_value());
    EXPECT_EQ(QvKit::ErrorKind::DeviceFailed, answer.error->GetKind());
    EXPECT_EQ(ERROR_MORE_DATA, answer.error->GetCode());
    EXPECT_THAT(answer.error->what(), StartsWith("the I/O-control request failed: error 234"));
}

TEST(KitRawRequestTest, ACountBeyondTheRoomIsNoByte) {
    auto channel = std::make_unique<FakeChannel>();
    channel->outcome = {0, 1000};
    BoundedConnection connection(std::move(channel));

    const QvKit::RawAnswer answer = QvKit::ReadBytes(connection, 10);

    EXPECT_EQ(10u, answer.bytes.size());
    EXPECT_EQ(1000u, answer.size);
    EXPECT_FALSE(answer.error.has_value());
}

// The same failure of both kinds of connection

struct Failure {
    const char* name;
    std::function<unsigned long(DeviceConnection&)> call;
    bool isClosed = false;  // The connection.
    bool isBroken = false;  // The pipe, before the call.
    bool breaks = false;    // The pipe, while the read is pending.
};

void PrintTo(const Failure& aFailure, std::ostream* aOut) { *aOut << aFailure.name; }

unsigned long ReadOnce(DeviceConnection& aConnection) {
    char byte = 0;
    unsigned long size = 7;
    const Result result = aConnection.Read(&byte, 1, &size, nullptr);
    EXPECT_TRUE(size == 0 || !aConnection.IsConnected());
    return result.GetCode();
}

unsigned long WriteOnce(DeviceConnection& aConnection) {
    unsigned long size = 0;
    return aConnection.Write("a", 1, &size, nullptr).GetCode();
}

unsigned long ControlOnce(DeviceConnection& aConnection, unsigned long aCode,
                          unsigned long aExpected) {
    char bytes[100];
    return aConnection.IoControl(aCode, nullptr, 0, bytes, sizeof bytes, aExpected).GetCode();
}

unsigned long theSize = 0;

const Failure kFailures[] = {
    {"ReadIntoNull",
     [](DeviceConnection& c) { return c.Read(nullptr, 0, nullptr, nullptr).GetCode(); }},
    {"ReadOfNothing",
     [](DeviceConnection& c) { return c.Read(&theSize, 0, nullptr, nullptr).GetCode(); }},
    {"ReadWithoutCount",
     [](DeviceConnection& c) { return c.Read(&theSize, 1, nullptr, nullptr).GetCode(); }, true},
    {"WriteFromNull",
     [](DeviceConnection& c) { return c.Write(nullptr, 0, nullptr, nullptr).GetCode(); }},
    {"WriteOfNothing",
     [](DeviceConnection& c) { return c.Write("a", 0, nullptr, nullptr).GetCode(); }},
    {"WriteWithoutCount",
     [](DeviceConnection& c) { return c.Write("a", 1, nullptr, nullptr).GetCode(); }, true},
    {"ControlFromNull",
     [](DeviceConnection& c) {
         return c.IoControl(kPeek, nullptr, 1, nullptr, 1, nullptr, nullptr).GetCode();
     }},
    {"ControlIntoNull",
     [](DeviceConnection& c) {
         return c.IoControl(kPeek, nullptr, 0, nullptr, 1, nullptr, nullptr).GetCode();
     }},
    {"ControlWithoutCount",
     [](DeviceConnection& c) {
         return c.IoControl(kPeek, nullptr, 0, nullptr, 0, nullptr, nullptr).GetCode();
     },
     true},
    {"ReadWhenClosed", ReadOnce, true},
    {"WriteWhenClosed", WriteOnce, true},
    {"ControlWhenClosed", [](DeviceConnection& c) { return ControlOnce(c, kPeek, 0); }, true},
    {"OverlappedReadWhenClosed",
     [](DeviceConnection& c) {
         OVERLAPPED record = {};
         char byte = 0;
         return c.Read(&byte, 1, &theSize, &record).GetCode();
     },
     true},
    {"UnknownControlCode", [](DeviceConnection& c) { return ControlOnce(c, 0x220FF0, 0); }},
    {"ShortAnswer", [](DeviceConnection& c) { return ControlOnce(c, kPeek, 99); }},
    {"ReadFromABrokenPipe", ReadOnce, false, true},
    {"WriteToABrokenPipe", WriteOnce, false, true},
    {"ReadThatFailsLater", ReadOnce, false, false, true},
};

class KitBoundedFailureTest : public testing::TestWithParam<Failure> {
protected:
    // The code in front of the lines of the log.
    template <typename Connection>
    std::vector<std::string> Observe(PipeServer& aServer, Connection& aConnection,
                                     const char* aDll) {
        theServer = &aServer;
        if (GetParam().isClosed) (void)aConnection.Close();  // The call shows it.
        if (GetParam().isBroken) aServer.Close();
        std::unique_ptr<ImportPatch> patch;
        if (GetParam().breaks)
            patch = std::make_unique<ImportPatch>("ReadFile", &ReadAndBreak, aDll);
        unsigned long code = 0;
        std::vector<std::string> seen =
            LoggedErrorsWithoutLines([&] { code = GetParam().call(aConnection); });
        seen.insert(seen.begin(), std::to_string(code));
        return seen;
    }
};

TEST_P(KitBoundedFailureTest, IsThatOfAPlainConnection) {
    PipeServer plainServer;
    DeviceConnection plain;
    ASSERT_THAT(plain.Connect(plainServer.Name()), HasCode(Code::Success));
    PipeServer server;
    BoundedConnection bounded(AddressOf(server.Name()));

    const auto expected = Observe(plainServer, plain, "QvUserLib64.dll");

    EXPECT_NE("0", expected[0]);
    EXPECT_EQ(expected, Observe(server, bounded, nullptr));
}

INSTANTIATE_TEST_SUITE_P(, KitBoundedFailureTest, testing::ValuesIn(kFailures),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

// Time

TEST_F(KitBoundedConnectionTest, ARequestThatTakesTooLongEndsAndSaysWhatItWas) {
    Buffer buffer;
    EXPECT_THAT(Read(buffer, kShort), IsBareCode(BoundedConnection::kTimedOut));
    EXPECT_EQ("Read of 100 bytes timed out after 10 ms", LastErrorText());
    EXPECT_TRUE(buffer.IsUntouched());

    EXPECT_THAT(connection_->IoControl(kTransceive, "abc", 3, buffer.bytes.data(), 100,
                                       &buffer.size, kShort),
                IsBareCode(BoundedConnection::kTimedOut));
    EXPECT_EQ("IoControl 0x11c017 timed out after 10 ms", LastErrorText());

    const std::string data(1000, 'x');
    Result written(Code::Success);
    while (written.IsSuccess()) {
        written = connection_->Write(data.data(), 1000, &buffer.size, kShort);
    }
    EXPECT_THAT(written, IsBareCode(BoundedConnection::kTimedOut));
    EXPECT_EQ("Write of 1000 bytes timed out after 10 ms", LastErrorText());
    EXPECT_EQ(0u, connection_->GetGivenUp());
}

TEST_F(KitBoundedConnectionTest, TheConnectionsLimitIsForCallsThatHaveNone) {
    connection_->SetLimit(kShort);
    EXPECT_EQ(kShort, connection_->GetLimit());
    Buffer buffer;

    EXPECT_THAT(connection_->Read(buffer.bytes.data(), 100, &buffer.size, nullptr),
                IsBareCode(BoundedConnection::kTimedOut));
    EXPECT_EQ(0u, buffer.size);
}

TEST_F(KitBoundedConnectionTest, WithoutTimeAnAnswerThatIsThereCounts) {
    server_.Write("abc");
    Buffer buffer;

    EXPECT_THAT(Read(buffer, milliseconds(0)), IsBareCode(Code::Success));
    EXPECT_EQ("abc", buffer.Text());
    EXPECT_THAT(Read(buffer, milliseconds(0)), IsBareCode(BoundedConnection::kTimedOut));
}

TEST_F(KitBoundedConnectionTest, AnAnswerAtTheLastMomentIsASuccess) {
    const ImportPatch patch("CancelIoEx", &AnswerAndCancel, nullptr);
    ASSERT_TRUE(patch.IsActive());
    const ErrorWatch watch;
    Buffer buffer;

    EXPECT_THAT(Read(buffer, kShort), IsBareCode(Code::Success));

    EXPECT_EQ("abc", buffer.Text());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST_F(KitBoundedConnectionTest, AFailureAtTheLastMomentIsTheDevices) {
    auto channel = std::make_unique<FakeChannel>();
    channel->onWait = [] { return false; };
    channel->outcome = {ERROR_IO_DEVICE, 0};
    BoundedConnection connection(std::move(channel));
    Buffer buffer;

    EXPECT_THAT(connection.Read(buffer.bytes.data(), 100, &buffer.size, nullptr),
                IsBareCode(ERROR_IO_DEVICE));
}

TEST_F(KitBoundedConnectionTest, ADeviceThatAbortsByItselfHasFailed) {
    auto channel = std::make_unique<FakeChannel>();
    channel->outcome = {ERROR_OPERATION_ABORTED, 0};
    BoundedConnection connection(std::move(channel));
    Buffer buffer;

    EXPECT_THAT(connection.Read(buffer.bytes.data(), 100, &buffer.size, nullptr),
                IsBareCode(ERROR_OPERATION_ABORTED));
    EXPECT_EQ("GetOverlappedResult failed", LastErrorText());
}

TEST_F(KitBoundedConnectionTest, OnlyTheRequestThatRanOutOfTimeIsCancelled) {
    StartReaders(1);
    Buffer buffer;

    EXPECT_THAT(Read(buffer, kShort), IsBareCode(BoundedConnection::kTimedOut));
    server_.Write("abc");

    JoinReaders();
    EXPECT_THAT(codes_, Each(0u));
}

// Cancelling and closing

TEST_F(KitBoundedConnectionTest, CancellingEndsAllCallsAndNoLaterOne) {
    StartReaders(4);

    connection_->Cancel();

    JoinReaders();
    EXPECT_THAT(codes_, Each(BoundedConnection::kCancelled));
    EXPECT_THAT(texts_, Each(std::string("Read of 100 bytes was cancelled")));
    server_.Write("abc");
    Buffer buffer;
    EXPECT_THAT(Read(buffer, kNoLimit), IsBareCode(Code::Success));
    EXPECT_EQ("abc", buffer.Text());
}

TEST_F(KitBoundedConnectionTest, ClosingWakesAllWaiters) {
    StartReaders(4);

    EXPECT_THAT(connection_->Close(), IsBareCode(Code::Success));

    // The device is closed when `Close` returns.
    EXPECT_FALSE(server_.HasClient());
    EXPECT_FALSE(connection_->IsConnected());
    JoinReaders();
    EXPECT_THAT(codes_, Each(BoundedConnection::kClosed));
    EXPECT_THAT(texts_, Each(std::string("Read of 100 bytes ended: the connection was closed")));
}

TEST_F(KitBoundedConnectionTest, DestructionWakesAllWaiters) {
    StartReaders(4);

    connection_.reset();

    EXPECT_FALSE(server_.HasClient());
    JoinReaders();
    EXPECT_THAT(codes_, Each(BoundedConnection::kClosed));
}

TEST_F(KitBoundedConnectionTest, OfSeveralThatCloseOneDoes) {
    StartReaders(2);
    std::atomic<int> closed{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&] {
            const Result result = connection_->Close();
            EXPECT_TRUE(result.IsSuccess() || result.GetCode() == Code::NotSet);
            if (result.IsSuccess()) ++closed;
        });
    }
    for (std::thread& thread : threads) thread.join();
    JoinReaders();

    EXPECT_EQ(1, closed);
    EXPECT_THAT(connection_->Close(), IsBareCode(Code::NotSet));
}

TEST_F(KitBoundedConnectionTest, RequestsOfSeveralThreadsHaveEventsOfTheirOwn) {
    StartReaders(4);

    for (const char* const text : {"a", "b", "c", "d"}) server_.Write(text);

    JoinReaders();
    EXPECT_THAT(codes_, Each(0u));
    EXPECT_THAT(theEvents, SizeIs(4));
    EXPECT_EQ(0u, theEvents.count(nullptr));
}

// Drivers that ignore cancelling

class KitGivenUpRequestTest : public KitBoundedConnectionTest {
protected:
    KitGivenUpRequestTest() : KitBoundedConnectionTest(kShort) {}

    // The devices end what is still pending.
    void TearDown() override {
        server_.Close();
        other_.Close();
        AwaitNoGivenUpRequests();
    }

    PipeServer other_;
    std::unique_ptr<Channel> channel_ = QvKit::OpenChannel(AddressOf(other_.Name()), kShort);
};

TEST_F(KitGivenUpRequestTest, ARequestIsGivenUpAndItsMemoryIsTheDrivers) {
    Buffer buffer;
    {
        const IgnoredCancelling driver;
        EXPECT_THAT(Read(buffer, kShort), IsBareCode(BoundedConnection::kTimedOut));
    }
    EXPECT_EQ(std::string("Read of 100 bytes timed out after 10 ms") + kIgnored, LastErrorText());
    EXPECT_EQ(1u, connection_->GetGivenUp());
    EXPECT_EQ(1u, CountGivenUpRequests());

    // The driver writes late.
    server_.Write("late");
    AwaitNoGivenUpRequests();
    EXPECT_TRUE(buffer.IsUntouched());

    server_.Write("abc");
    EXPECT_THAT(Read(buffer, kNoLimit), IsBareCode(Code::Success));
    EXPECT_EQ("abc", buffer.Text());
    EXPECT_EQ(1u, connection_->GetGivenUp());
}

TEST_F(KitGivenUpRequestTest, CancellingAndClosingEndCallsOfADriverThatIgnoresIt) {
    const IgnoredCancelling driver;
    const QvKit::Stopwatch time;
    StartReaders(2);
    connection_->Cancel();
    JoinReaders();
    EXPECT_THAT(codes_, Each(BoundedConnection::kCancelled));
    EXPECT_THAT(texts_, Each(std::string("Read of 100 bytes was cancelled") + kIgnored));

    readers_.clear();
    codes_.clear();
    theReads = 0;
    StartReaders(2);
    EXPECT_THAT(connection_->Close(), IsBareCode(Code::Success));
    JoinReaders();
    EXPECT_THAT(codes_, Each(BoundedConnection::kClosed));
    EXPECT_EQ(4u, connection_->GetGivenUp());
    EXPECT_LT(time.GetTime(), kLong / 6);
}

TEST_F(KitGivenUpRequestTest, TheDeviceIsClosedAllTheSame) {
    Buffer buffer;
    {
        const IgnoredCancelling driver;
        EXPECT_THAT(Read(buffer, kShort), IsBareCode(BoundedConnection::kTimedOut));
    }

    connection_.reset();

    EXPECT_FALSE(server_.HasClient());
}

TEST_F(KitGivenUpRequestTest, ARequestThatWasCancelledIsTakenInTime) {
    const IgnoredCancelling driver;
    const auto request = channel_->MakeRequest(100);
    request->Read(100);
    request->Cancel();

    EXPECT_FALSE(request->WaitFor(kNoLimit, nullptr));
    const Request::Outcome outcome = request->Take();

    EXPECT_EQ(995u, outcome.error);
    EXPECT_TRUE(outcome.isGivenUp);
    other_.Write("late");
    other_.Write("abc");
    request->Read(100);
    EXPECT_EQ(3u, request->Take().size);
    EXPECT_EQ(0, std::memcmp("abc", request->GetBuffer(), 3));
}

TEST_F(KitGivenUpRequestTest, CancellingLimitsAWaitThatHasBegun) {
    const IgnoredCancelling driver;
    const auto request = channel_->MakeRequest(100);
    request->Read(100);
    std::thread other([&] { EXPECT_TRUE(request->Take().isGivenUp); });

    request->Cancel();

    other.join();
}

TEST_F(KitGivenUpRequestTest, DestroyingARingTakesTheLimitOnce) {
    constexpr milliseconds kLimit(400);
    PipeServer server;
    const auto channel = QvKit::OpenChannel(AddressOf(server.Name()), kLimit);
    const IgnoredCancelling driver;
    const QvKit::Stopwatch time;
    {
        QvKit::RequestRing ring(*channel, 8, 100);
        for (int index = 0; index < 8; ++index) ring.Read();
    }
    EXPECT_GE(time.GetTime(), kLimit);
    EXPECT_LT(time.GetTime(), 5 * kLimit);
    EXPECT_EQ(8u, CountGivenUpRequests());
}

TEST_F(KitGivenUpRequestTest, ARequestThatEndsInTimeIsNotGivenUp) {
    const auto request = channel_->MakeRequest(100);
    request->Read(100);
    request->Cancel();

    const Request::Outcome outcome = request->Take();

    EXPECT_EQ(995u, outcome.error);
    EXPECT_FALSE(outcome.isGivenUp);
    EXPECT_EQ(0u, CountGivenUpRequests());
}

// What reaches the caller

class KitBoundedAnswerTest : public testing::Test {
protected:
    Result Control(unsigned long aCode, Buffer& aBuffer) {
        return connection_.IoControl(aCode, "ask", 3, aBuffer.bytes.data(), 20, &aBuffer.size,
                                     nullptr);
    }

    FakeChannel* const channel_ = new FakeChannel;
    BoundedConnection connection_{std::unique_ptr<Channel>(channel_)};
};

TEST_F(KitBoundedAnswerTest, NoMoreIsCopiedThanTheCallerHasRoomFor) {
    channel_->onTake = [](unsigned char* aMemory) { std::memset(aMemory, 'x', 200); };
    channel_->outcome = {0, 200};
    Buffer buffer;

    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(Code::Success));

    EXPECT_EQ(200u, buffer.size);
    EXPECT_EQ('x', buffer.bytes[19]);
    EXPECT_EQ(kUntouched, buffer.bytes[20]);
}

TEST_F(KitBoundedAnswerTest, AWarningHasItsBytes) {
    channel_->onTake = [](unsigned char* aMemory) { std::copy_n("abc", 3, aMemory + 16); };
    channel_->outcome = {ERROR_MORE_DATA, 3};
    Buffer buffer;

    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(ERROR_MORE_DATA));

    EXPECT_EQ("DeviceIoControl failed", LastErrorText());
    EXPECT_EQ("abc", buffer.Text());
    EXPECT_EQ(kUntouched, buffer.bytes[3]);
}

TEST_F(KitBoundedAnswerTest, AFailedControlRequestLeavesCountAndOutputAlone) {
    channel_->outcome = {ERROR_IO_DEVICE, 0};
    Buffer buffer;
    buffer.size = 7;

    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(ERROR_IO_DEVICE));

    EXPECT_EQ(7u, buffer.size);
    EXPECT_TRUE(buffer.IsUntouched());
}

TEST_F(KitBoundedAnswerTest, ADriverThatWorksOnTheCallersMemoryGetsWhatIsInIt) {
    constexpr unsigned long kDirect = 0x222001;
    Buffer buffer;
    std::copy_n("more", 4, buffer.bytes.begin());
    channel_->onTake = [](unsigned char* aMemory) { aMemory[16 + 19] = '!'; };

    EXPECT_THAT(Control(kDirect, buffer), IsBareCode(Code::Success));

    EXPECT_EQ("ask", channel_->sent.substr(0, 3));
    EXPECT_EQ("more", channel_->sent.substr(16, 4));
    EXPECT_EQ('!', buffer.bytes[19]);
    EXPECT_EQ(0u, buffer.size);
}

// Memory, events and requests that are kept

TEST_F(KitBoundedAnswerTest, RequestsAreKeptAndGrow) {
    Buffer buffer;
    for (int index = 0; index < 3; ++index) {
        EXPECT_THAT(Control(kPeek, buffer), IsBareCode(Code::Success));
    }
    EXPECT_THAT(channel_->capacities, testing::ElementsAre(256u));

    std::vector<unsigned char> large(1000);
    EXPECT_THAT(connection_.Read(large.data(), 1000, &buffer.size, nullptr),
                IsBareCode(Code::Success));
    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(Code::Success));
    EXPECT_THAT(channel_->capacities, testing::ElementsAre(256u, 1024u));
}

TEST_F(KitBoundedAnswerTest, VeryLargeRequestsAreNotKept) {
    const unsigned int size = (1 << 20) + 1;
    std::vector<unsigned char> large(size);
    for (int index = 0; index < 2; ++index) {
        unsigned long count = 0;
        EXPECT_THAT(connection_.Read(large.data(), size, &count, nullptr),
                    IsBareCode(Code::Success));
    }
    EXPECT_THAT(channel_->capacities, testing::ElementsAre(size, size));
}

TEST_F(KitBoundedAnswerTest, WithoutEventsARequestFails) {
    channel_->onMake = [] {
        throw QvKit::SystemError(ErrorKind::SystemFailed, "the system cannot create an event", 8);
    };
    Buffer buffer;

    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(8));
    EXPECT_THAT(LastErrorText(), StartsWith("the system cannot create an event: error 8"));

    channel_->onMake = [] {};
    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(Code::Success));
}

TEST_F(KitBoundedAnswerTest, WithoutMemoryARequestFails) {
    channel_->onMake = [] { throw std::bad_alloc(); };
    Buffer buffer;

    EXPECT_THAT(Control(kPeek, buffer), IsBareCode(Code::OutOfMemory));
    EXPECT_EQ("Not enough memory", LastErrorText());
}

TEST_F(KitBoundedAnswerTest, AnOverlappedIsRefusedAndNothingIsSent) {
    OVERLAPPED record = {};
    Buffer buffer;

    EXPECT_THAT(connection_.Read(buffer.bytes.data(), 100, &buffer.size, &record),
                IsBareCode(Code::NotSupported));
    EXPECT_EQ("A bounded connection waits for its requests: it takes no OVERLAPPED",
              LastErrorText());
    EXPECT_THAT(connection_.Write("a", 1, &buffer.size, &record), IsBareCode(Code::NotSupported));
    EXPECT_THAT(connection_.IoControl(kPeek, nullptr, 0, nullptr, 0, &buffer.size, &record),
                IsBareCode(Code::NotSupported));
    EXPECT_THAT(channel_->capacities, SizeIs(0));
}

TEST_F(KitBoundedConnectionTest, InTheLongRunACallTakesNoMemoryAndNoEvent) {
    theEventsMade = 0;
    const ImportPatch patch("CreateEventA", &CountedCreateEvent, nullptr);
    ASSERT_TRUE(patch.IsActive());
    Buffer buffer;
    const auto exchange = [&] {
        (void)connection_->Write("abc", 3, &buffer.size, nullptr);
        (void)connection_->IoControl(kPeek, nullptr, 0, buffer.bytes.data(), 100, &buffer.size,
                                     nullptr);
    };
    exchange();
    EXPECT_EQ(2, theEventsMade);

    const AllocationCounter counter;
    for (int index = 0; index < 100; ++index) exchange();

    EXPECT_EQ(0, counter.Count());
    EXPECT_EQ(2, theEventsMade);
}

// Errors

TEST_F(KitBoundedConnectionTest, AFailureIsAnErrorOfItsKindWithItsReason) {
    Buffer buffer;
    const QvKit::Error late = QvKit::RequestError("cannot read", Read(buffer, kShort));
    EXPECT_EQ(ErrorKind::TimedOut, late.GetKind());
    EXPECT_EQ(1460u, late.GetCode());
    EXPECT_STREQ("cannot read: Read of 100 bytes timed out after 10 ms", late.what());

    const QvKit::Error silent = QvKit::RequestError("cannot read", Result(121));
    EXPECT_EQ(ErrorKind::DeviceFailed, silent.GetKind());
    EXPECT_THAT(silent.what(), StartsWith("cannot read: error 121"));

    EXPECT_EQ(ErrorKind::Cancelled, QvKit::KindOfFailure(Result(BoundedConnection::kCancelled)));
    EXPECT_EQ(ErrorKind::Closed, QvKit::KindOfFailure(Result(BoundedConnection::kClosed)));
}

TEST(KitBoundedOpeningTest, ADeviceThatDoesNotOpenIsTheErrorOfAChannel) {
    const auto error = QvTests::ErrorOf(
        [] { const BoundedConnection connection(AddressOf("\\\\.\\pipe\\no such pipe")); });

    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ErrorKind::NoSuchDevice, error->GetKind());
}

}  // namespace
