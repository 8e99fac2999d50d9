// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "CallScenarios.h"

#include <shlobj.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <string>

#include "KernelObjects.h"
#include "QvUserLib/QvUserLib.h"
#include "SampleDevice.h"
#include "SamplePackets.h"
#include "TestScale.h"

namespace QvTests {
namespace {

using testing::AnyOf;
using testing::IsNull;
using testing::StrEq;

struct OpenDevice {
    OpenDevice() {
        EXPECT_THAT(connection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), IsBareCode(Code::Success));
    }

    DeviceConnection connection;
};

struct LoadedDevice : OpenDevice {
    LoadedDevice() {
        EXPECT_THAT(parameters.Connect(&connection), IsBareCode(Code::Success));
        EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters.GetCount());
    }

    void SetStreamMode(long long aMode) {
        Parameter* const mode = parameters.GetByID(QV_SAMPLE_ID_STREAM_MODE);
        EXPECT_THAT(mode->SetInt(aMode), IsBareCode(Code::Success));
        EXPECT_THAT(parameters.Apply(), IsBareCode(Code::Success));
    }

    DeviceParameterRepository parameters;
};

Result ConnectInTwoWays(DeviceEnumerator& aEnumerator, DeviceConnection& aConnection) {
    String link;
    Result result = aEnumerator.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE);
    if (result.IsSuccess()) result = aEnumerator.GetSymLink(0, &link);
    if (result.IsSuccess()) {
        result = aConnection.Connect(reinterpret_cast<const char*>(link.GetUnicode()));
    }
    if (result.IsSuccess()) result = aConnection.Close();
    if (result.IsSuccess()) result = aConnection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0);
    return result;
}

void Connect(Attempt& aAttempt) {
    DeviceEnumerator enumerator;
    DeviceConnection connection;
    aAttempt.Try([&] {
        DeviceEnumerator ended;
        Result result = ended.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE);
        if (result.IsSuccess()) result = ConnectInTwoWays(enumerator, connection);
        return result;
    });

    (void)connection.Close();  // It may be closed already.
    EXPECT_THAT(ConnectInTwoWays(enumerator, connection), IsBareCode(Code::Success));
}

void Load(Attempt& aAttempt) {
    OpenDevice device;
    DeviceParameterRepository parameters;
    aAttempt.Try([&] { return parameters.Connect(&device.connection); });

    EXPECT_TRUE(parameters.IsConnected());
    EXPECT_LE(parameters.GetCount(), QV_SAMPLE_PARAMETER_COUNT);
    EXPECT_THAT(parameters.Refresh(), IsBareCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters.GetCount());
}

constexpr unsigned int kChanges = 4;

Result ChangeSome(DeviceParameterRepository& aParameters) {
    Result result = aParameters.GetByID(QV_SAMPLE_ID_GAIN)->SetInt(12);
    result |= aParameters.GetByID(QV_SAMPLE_ID_LABEL)->SetString("A label that needs memory");
    unsigned long triggered = 0;
    Parameter* const mode = aParameters.GetByID(QV_SAMPLE_ID_OPERATING_MODE);
    result |= mode->FindEnumValue("Triggered", triggered);
    result |= mode->SetInt(1);
    result |= aParameters.GetByID(QV_SAMPLE_ID_NOTES)->SetMac(1, 2, 3, 4, 5, 6);
    result |= aParameters.GetByID(QV_SAMPLE_ID_FILTER_ORDER)
                  ->SetDescription("A description that needs memory");
    return result;
}

void Change(Attempt& aAttempt) {
    LoadedDevice device;
    aAttempt.Try([&] { return ChangeSome(device.parameters); });

    EXPECT_THAT(ChangeSome(device.parameters), IsBareCode(Code::Success));
    EXPECT_EQ(12, device.parameters.GetByID(QV_SAMPLE_ID_GAIN)->GetInt());
    EXPECT_STREQ("A label that needs memory",
                 device.parameters.GetByID(QV_SAMPLE_ID_LABEL)->GetString().GetAscii());
}

void Copy(Attempt& aAttempt) {
    LoadedDevice device;
    aAttempt.Try([&] {
        const ParameterRepository copy(device.parameters);
        return Result(copy.GetCount() <= device.parameters.GetCount() ? Code::Success : kWrong);
    });

    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, ParameterRepository(device.parameters).GetCount());
}

void Apply(Attempt& aAttempt) {
    LoadedDevice device;
    ASSERT_THAT(device.parameters.ResetDefaults(), IsBareCode(Code::Success));
    ASSERT_THAT(device.parameters.Apply(), IsBareCode(Code::Success));
    ASSERT_THAT(ChangeSome(device.parameters), IsBareCode(Code::Success));
    ASSERT_EQ(kChanges, device.parameters.GetChangeCount());
    aAttempt.Try([&] { return device.parameters.Apply(); });

    ASSERT_THAT(ChangeSome(device.parameters), IsBareCode(Code::Success));
    EXPECT_THAT(device.parameters.Apply(), IsBareCode(Code::Success));
    EXPECT_EQ(0u, device.parameters.GetChangeCount());
}

void Refresh(Attempt& aAttempt) {
    LoadedDevice device;
    aAttempt.Try([&] { return device.parameters.Refresh(); });

    EXPECT_THAT(device.parameters.Refresh(), IsBareCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, device.parameters.GetCount());
}

constexpr unsigned int kPending = 8;
constexpr unsigned int kPacketSize = 65536;

// Reads packets through the queue, and leaves nothing pending.
Result StreamPackets(DeviceConnection& aConnection, DeviceRequestQueue& aQueue,
                     std::vector<unsigned char>& aBuffer, unsigned int aCount) {
    Result result(Code::Success);
    unsigned long size = 0;
    unsigned int sent = 0;
    for (unsigned int received = 0; received < aCount && result.IsSuccess(); ++received) {
        for (; sent < received + kPending && sent < aCount && result.IsSuccess(); ++sent) {
            void* const request = aQueue.GetNextAvailableRequest();
            if (request == nullptr) return Result(Code::SystemCallFailed);
            const Result read =
                aConnection.Read(aBuffer.data() + std::size_t{sent % kPending} * kPacketSize,
                                 kPacketSize, &size, request);
            if (read.GetCode() != Code::Pending) result |= read;
        }
        if (result.IsSuccess()) result |= aQueue.GetNextResult(&size);
        const unsigned char* const packet =
            aBuffer.data() + std::size_t{received % kPending} * kPacketSize;
        if (result.IsSuccess() && !IsWholePacket(packet, size)) result = Result(kWrong);
    }
    // A request that was refused reports it a second time from here; the first time is enough.
    (void)aQueue.Wait();
    return result;
}

void Stream(Attempt& aAttempt) {
    std::vector<unsigned char> buffer(std::size_t{kPending} * kPacketSize);
    OpenDevice device;
    DeviceRequestQueue queue;
    bool isAllocated = false;
    aAttempt.Try([&] {
        const Result allocated = queue.Allocate(kPending + 1, &device.connection);
        isAllocated = allocated.IsSuccess();
        if (!isAllocated) return allocated;
        DeviceRequestQueue ended;
        const Result second = ended.Allocate(2, &device.connection);
        if (second.IsFailure()) return second;
        return StreamPackets(device.connection, queue, buffer, 100);
    });

    if (!isAllocated) {
        ASSERT_THAT(queue.Allocate(kPending + 1, &device.connection), IsBareCode(Code::Success));
    }
    EXPECT_THAT(StreamPackets(device.connection, queue, buffer, 2), IsBareCode(Code::Success));
}

Result WriteAndRead(DeviceConnection& aConnection) {
    const char sent[16] = "there and back";
    char received[sizeof sent] = {};
    unsigned long size = 0;
    Result result = aConnection.Write(sent, sizeof sent, &size, nullptr);
    if (result.IsSuccess()) result = aConnection.Read(received, sizeof received, &size, nullptr);
    if (result.IsFailure()) return result;
    const bool isBack = size == sizeof sent && std::memcmp(sent, received, sizeof sent) == 0;
    return Result(isBack ? Code::Success : kWrong);
}

void Transfer(Attempt& aAttempt) {
    LoadedDevice device;
    device.SetStreamMode(QV_SAMPLE_MODE_LOOP_BACK);
    EmptyTheLoopBack(device.connection);
    aAttempt.Try([&] { return WriteAndRead(device.connection); });

    EXPECT_THAT(WriteAndRead(device.connection), IsBareCode(Code::Success));
    device.SetStreamMode(QV_SAMPLE_MODE_PACKETS);
}

Result WriteErrorLog(ErrorLog& aLog, const std::string& aPath) {
    Result result = aLog.Open(aPath.c_str());
    if (result.IsFailure()) return result;
    result |= aLog.WriteError(Result(5), "test", 1, "error %d", 1);
    result |= aLog.WriteInfo(Result(0), "test", 2, "information %d", 2);
    result |= aLog.DumpLastError();
    result |= aLog.Close();
    return result;
}

void OpenErrorLog(Attempt& aAttempt) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("errors.log");
    WriteBytes(path, "earlier\n");
    ErrorLog log;
    (void)log.SetAutoFlush(true);  // It was off.
    aAttempt.Try([&] { return WriteErrorLog(log, path); });

    (void)log.Close();  // It cannot fail.
    EXPECT_THAT(WriteErrorLog(log, path), IsBareCode(Code::Success));
    String text;
    EXPECT_THAT(log.GetLastError(text), IsBareCode(5));
    EXPECT_LE(3u, ReadLines(path).size());  // The dump has those of before as well.
}

Result WriteLog(Log& aLog, const std::string& aPath) {
    Result result = aLog.Open(aPath.c_str(), "a", 100);
    if (result.IsFailure()) return result;
    result |= aLog.Write("line %d", 1);
    result |= aLog.Close();
    return result;
}

void OpenLog(Attempt& aAttempt) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("capped.log");
    WriteBytes(path, std::string(400, 'x'));
    Log log;
    aAttempt.Try([&] { return WriteLog(log, path); });

    EXPECT_THAT(WriteLog(log, path), IsBareCode(Code::Success));
    EXPECT_THAT(ReadBytes(path), testing::EndsWith("line 1\r\n"));
}

// Its work waits for its end to be allowed, and then throws.
class ThrowingThread : public QvUserLib::Thread {
public:
    ThrowingThread() : Thread(PriorityNormal) {}
    ~ThrowingThread() override {
        mayEnd.Set();
        // Whatever the library makes of it: the work uses this object.
        if (handle_ != nullptr) ::WaitForSingleObject(handle_, INFINITE);
    }

    Result Execute() override {
        mayEnd.Wait();
        throw Result(1);
    }

    bool HasThread() const { return handle_ != nullptr; }
    void AwaitEnd() const { ::WaitForSingleObject(handle_, INFINITE); }

    Event mayEnd;
};

Result UseThread(ThrowingThread& aThread) {
    Result result = aThread.StartThread();
    if (result.IsFailure()) return result;
    aThread.SetThreadName("failing");
    result |= aThread.SetPriority(QvUserLib::Thread::PriorityBelowNormal);
    result |= aThread.StopThread();
    aThread.mayEnd.Set();
    result |= aThread.WaitUntilSignaled();
    aThread.AwaitEnd();
    const Result exitCode = aThread.GetExitCode();
    if (exitCode.GetCode() != Code::SystemCallFailed) result |= exitCode;
    return result;
}

void RunThread(Attempt& aAttempt) {
    auto thread = std::make_unique<ThrowingThread>();
    aAttempt.Try([&] {
        const Result result = UseThread(*thread);
        thread.reset();
        return result;
    });
    ThrowingThread another;
    EXPECT_THAT(UseThread(another), IsBareCode(Code::Success));
}

void HoldName(Attempt& aAttempt) {
    aAttempt.Try([] {
        SingleInstance instance("QvUserLib failing calls");
        return Result(static_cast<unsigned long>(instance.IsAnyOtherInstance()));
    });

    SingleInstance instance("QvUserLib failing calls");
    EXPECT_EQ(0, instance.IsAnyOtherInstance());
}

Result UseTextsAndFolders() {
    const std::string expanded = String("%SystemRoot%\\drivers").ExpandEnvironmentVariables();
    char path[MAX_PATH];
    char time[32];
    QvUserLib::GetPath(CSIDL_LOCAL_APPDATA, "QvUserLib", "test.log", path, sizeof path);
    QvUserLib::GetDateTime(time, sizeof time);
    QvUserLib::Progress progress;
    progress.SetStatus(String("A status that needs memory"));
    Result described(5);
    described.SetDescription("%s", "A description that needs memory");
    const Result copied = described;
    // What finds no memory has none.
    const char* const description = copied.GetDescription();
    EXPECT_THAT(description, AnyOf(IsNull(), StrEq("A description that needs memory")));
    return Result(progress.GetStatus().IsEmpty() || expanded.empty() ? kWrong : Code::Success);
}

void TextsAndFolders(Attempt& aAttempt) {
    aAttempt.Try(UseTextsAndFolders);

    EXPECT_THAT(UseTextsAndFolders(), IsBareCode(Code::Success));
}

Result DigestText() {
    MD5 digest;
    const Result begun = digest.Init();
    if (begun.IsFailure()) return begun;
    const unsigned char text[] = {'a', 'b', 'c'};
    digest.Update(text, sizeof text);
    digest.Final();
    return Result(digest.GetDigest()[0] == 0x90 ? Code::Success : kWrong);
}

void Digest(Attempt& aAttempt) {
    aAttempt.Try(DigestText);

    EXPECT_THAT(DigestText(), IsBareCode(Code::Success));
}

}  // namespace

int MostOfAPlace() { return static_cast<int>(Scaled("QVTEST_FAILURES_OF_A_PLACE", 3)); }

std::vector<Scenario> LibraryScenarios() {
    return {
        {"Connect", &Connect, true},
        {"Load", &Load, false},
        {"Change", &Change, true},
        {"Copy", &Copy, true},
        {"Apply", &Apply, false},
        {"Refresh", &Refresh, false},
        {"Stream", &Stream, false, MostOfAPlace()},
        {"Transfer", &Transfer, false},
        {"ErrorLog", &OpenErrorLog, false},
        {"Log", &OpenLog, false},
        {"Thread", &RunThread, false},
        {"SingleInstance", &HoldName, false},
        {"Md5", &Digest, false},
        {"TextsAndFolders", &TextsAndFolders, true},
    };
}

std::vector<Scenario> AllScenarios() {
    std::vector<Scenario> all = LibraryScenarios();
    for (const Scenario& scenario : KitScenarios()) all.push_back(scenario);
    return all;
}

void PrintTo(const Scenario& aScenario, std::ostream* aOut) { *aOut << aScenario.name; }

}  // namespace QvTests
