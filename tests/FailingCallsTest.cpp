// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Every system call and allocation of the library fails once, wherever it is made: the first, the
// second, the third call of each imported function, until the scenario passes without a failure.

#include <io.h>
#include <process.h>
#include <shlobj.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "AllocationCounter.h"
#include "FailingCalls.h"
#include "KernelObjects.h"
#include "QvUserLib/QvUserLib.h"
#include "SampleDevice.h"
#include "SamplePackets.h"

#include <setupapi.h>

namespace QvTests {
namespace {

using QvUserLib::Code;
using QvUserLib::DeviceConnection;
using QvUserLib::DeviceEnumerator;
using QvUserLib::DeviceParameterRepository;
using QvUserLib::DeviceRequestQueue;
using QvUserLib::ErrorLog;
using QvUserLib::Log;
using QvUserLib::MD5;
using QvUserLib::Parameter;
using QvUserLib::ParameterRepository;
using QvUserLib::Result;
using QvUserLib::SingleInstance;
using QvUserLib::String;
using testing::AnyOf;
using testing::IsNull;
using testing::StrEq;

// The system error that failing calls leave, unless they have a more likely one.
constexpr DWORD kError = ERROR_GEN_FAILURE;

// What a scenario answers when all went well, it seems, but not what was to be done.
constexpr unsigned long kWrong = 0x7FFF;

// One run of a scenario, with one call failing, or none.
class Attempt {
public:
    Attempt(FailingCall* aCall, long aNumber) : call_(aCall), number_(aNumber) {}

    // Does what the scenario is about. Before and after it nothing fails.
    void Try(const std::function<Result()>& aOperations) {
        if (call_ != nullptr) {
            call_->Arm(number_);
        } else {
            FailingCall::Watch();
        }
        try {
            result_ = aOperations();
        } catch (const std::bad_alloc&) {
            hasThrown_ = true;
        }
        FailingCall::Disarm();
    }

    unsigned long ResultCode() const { return result_.GetCode(); }
    bool HasThrown() const { return hasThrown_; }

private:
    FailingCall* call_;
    long number_;
    Result result_;
    bool hasThrown_ = false;
};

// The scenarios. Each makes its objects, lets the attempt use them, and then shows that they still
// work, or can at least be destroyed.

void ConnectToDevice(DeviceConnection& aConnection) {
    ASSERT_THAT(aConnection.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0), IsBareCode(Code::Success));
}

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
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceParameterRepository parameters;
    aAttempt.Try([&] { return parameters.Connect(&connection); });

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
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection), IsBareCode(Code::Success));
    aAttempt.Try([&] { return ChangeSome(parameters); });

    EXPECT_THAT(ChangeSome(parameters), IsBareCode(Code::Success));
    EXPECT_EQ(12, parameters.GetByID(QV_SAMPLE_ID_GAIN)->GetInt());
    EXPECT_STREQ("A label that needs memory",
                 parameters.GetByID(QV_SAMPLE_ID_LABEL)->GetString().GetAscii());
}

void Copy(Attempt& aAttempt) {
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection), IsBareCode(Code::Success));
    aAttempt.Try([&] {
        const ParameterRepository copy(parameters);
        return Result(copy.GetCount() <= parameters.GetCount() ? Code::Success : kWrong);
    });

    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, ParameterRepository(parameters).GetCount());
}

void Apply(Attempt& aAttempt) {
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection), IsBareCode(Code::Success));
    ASSERT_THAT(parameters.ResetDefaults(), IsBareCode(Code::Success));
    ASSERT_THAT(parameters.Apply(), IsBareCode(Code::Success));
    ASSERT_THAT(ChangeSome(parameters), IsBareCode(Code::Success));
    ASSERT_EQ(kChanges, parameters.GetChangeCount());
    aAttempt.Try([&] { return parameters.Apply(); });

    ASSERT_THAT(ChangeSome(parameters), IsBareCode(Code::Success));
    EXPECT_THAT(parameters.Apply(), IsBareCode(Code::Success));
    EXPECT_EQ(0u, parameters.GetChangeCount());
}

void Refresh(Attempt& aAttempt) {
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection), IsBareCode(Code::Success));
    aAttempt.Try([&] { return parameters.Refresh(); });

    EXPECT_THAT(parameters.Refresh(), IsBareCode(Code::Success));
    EXPECT_EQ(QV_SAMPLE_PARAMETER_COUNT, parameters.GetCount());
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
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceRequestQueue queue;
    bool isAllocated = false;
    aAttempt.Try([&] {
        const Result allocated = queue.Allocate(kPending + 1, &connection);
        isAllocated = allocated.IsSuccess();
        if (!isAllocated) return allocated;
        DeviceRequestQueue ended;
        const Result second = ended.Allocate(2, &connection);
        if (second.IsFailure()) return second;
        return StreamPackets(connection, queue, buffer, 100);
    });

    if (!isAllocated) {
        ASSERT_THAT(queue.Allocate(kPending + 1, &connection), IsBareCode(Code::Success));
    }
    EXPECT_THAT(StreamPackets(connection, queue, buffer, 2), IsBareCode(Code::Success));
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
    DeviceConnection connection;
    ConnectToDevice(connection);
    DeviceParameterRepository parameters;
    ASSERT_THAT(parameters.Connect(&connection), IsBareCode(Code::Success));
    Parameter* const mode = parameters.GetByID(QV_SAMPLE_ID_STREAM_MODE);
    ASSERT_THAT(mode->SetInt(QV_SAMPLE_MODE_LOOP_BACK), IsBareCode(Code::Success));
    ASSERT_THAT(parameters.Apply(), IsBareCode(Code::Success));
    EmptyTheLoopBack(connection);
    aAttempt.Try([&] { return WriteAndRead(connection); });

    EXPECT_THAT(WriteAndRead(connection), IsBareCode(Code::Success));
    ASSERT_THAT(mode->SetInt(QV_SAMPLE_MODE_PACKETS), IsBareCode(Code::Success));
    ASSERT_THAT(parameters.Apply(), IsBareCode(Code::Success));
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

struct Scenario {
    const char* name;
    void (*run)(Attempt& aAttempt);
    // Whether a lack of memory may reach the caller as std::bad_alloc.
    bool mayThrow;
};

constexpr Scenario kScenarios[] = {
    {"connect", &Connect, true},
    {"load", &Load, false},
    {"change", &Change, true},
    {"copy", &Copy, true},
    {"apply", &Apply, false},
    {"refresh", &Refresh, false},
    {"stream", &Stream, false},
    {"transfer", &Transfer, false},
    {"error log", &OpenErrorLog, false},
    {"log", &OpenLog, false},
    {"thread", &RunThread, false},
    {"single instance", &HoldName, false},
    {"md5", &Digest, false},
    {"texts and folders", &TextsAndFolders, true},
};

// A function that can fail, and what may come of it beside a success.
struct Subject {
    std::unique_ptr<FailingCall> call;
    std::vector<unsigned long> codes;
};

#define QV_CALL(aFunction, ...) MakeFailingCall<__COUNTER__>(#aFunction, &::aFunction, __VA_ARGS__)

std::vector<Subject> MakeSubjects() {
    const auto none = nullptr;
    std::vector<Subject> subjects;
    const auto add = [&subjects](std::unique_ptr<FailingCall> aCall,
                                 std::vector<unsigned long> aCodes = {}) {
        subjects.push_back({std::move(aCall), std::move(aCodes)});
    };

    add(QV_CALL(CreateFileA, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED, Effect::Takes),
        {Code::InvalidArgument});
    add(QV_CALL(CreateEventA, none, ERROR_NO_SYSTEM_RESOURCES, Effect::Takes));
    add(QV_CALL(CreateMutexA, none, ERROR_ACCESS_DENIED, Effect::Takes));
    add(QV_CALL(CloseHandle, FALSE, ERROR_INVALID_HANDLE, Effect::GivesBack, Failure::AfterWork));
    add(QV_CALL(DeviceIoControl, FALSE, kError), {kError});
    add(QV_CALL(ReadFile, FALSE, kError), {kError});
    add(QV_CALL(WriteFile, FALSE, kError), {kError});
    add(QV_CALL(GetOverlappedResult, FALSE, kError, Effect::None, Failure::AfterWork), {kError});
    add(QV_CALL(WaitForSingleObject, WAIT_FAILED, ERROR_INVALID_HANDLE), {Code::SystemCallFailed});
    add(QV_CALL(SetThreadPriority, FALSE, ERROR_ACCESS_DENIED), {Code::SystemCallFailed});
    add(QV_CALL(GetExitCodeThread, FALSE, ERROR_ACCESS_DENIED), {Code::NotAllowed});
    add(QV_CALL(AddVectoredExceptionHandler, none, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes));
    add(QV_CALL(RemoveVectoredExceptionHandler, 0, kError, Effect::GivesBack, Failure::AfterWork));
    add(QV_CALL(CopyFileA, FALSE, ERROR_DISK_FULL));
    add(QV_CALL(DeleteFileA, FALSE, ERROR_ACCESS_DENIED));
    add(QV_CALL(CreateDirectoryA, FALSE, ERROR_ACCESS_DENIED));
    add(QV_CALL(MultiByteToWideChar, 0, ERROR_INVALID_PARAMETER));
    add(QV_CALL(WideCharToMultiByte, 0, ERROR_INVALID_PARAMETER));
    add(QV_CALL(SHGetFolderPathA, E_FAIL));
    add(QV_CALL(LoadLibraryA, none, ERROR_MOD_NOT_FOUND, Effect::Takes), {Code::Md5Unavailable});
    add(QV_CALL(FreeLibrary, FALSE, kError, Effect::GivesBack, Failure::AfterWork));
    add(QV_CALL(GetProcAddress, none, ERROR_PROC_NOT_FOUND), {Code::Md5Unavailable});

    add(QV_CALL(SetupDiGetClassDevsA, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes),
        {Code::InvalidArgument});
    add(QV_CALL(SetupDiEnumDeviceInterfaces, FALSE, kError), {Code::NoSuchDevice});
    add(QV_CALL(SetupDiGetDeviceInterfaceDetailA, FALSE, kError), {Code::NoSuchDevice});
    add(QV_CALL(SetupDiDestroyDeviceInfoList, FALSE, kError, Effect::GivesBack,
                Failure::AfterWork));

    const std::vector<unsigned long> noMemory = {Code::OutOfMemory};
    add(QV_CALL(malloc, none, ERROR_NOT_ENOUGH_MEMORY), noMemory);
    add(QV_CALL(calloc, none, ERROR_NOT_ENOUGH_MEMORY), noMemory);
    add(QV_CALL(realloc, none, ERROR_NOT_ENOUGH_MEMORY), noMemory);
    add(QV_CALL(_beginthreadex, 0, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes),
        {Code::SystemCallFailed});
    add(QV_CALL(fopen, none, ERROR_ACCESS_DENIED, Effect::Takes), {Code::CannotOpenFile});
    add(QV_CALL(fclose, EOF, ERROR_DISK_FULL, Effect::GivesBack, Failure::AfterWork),
        {Code::ShortWrite});
    add(QV_CALL(fflush, EOF, ERROR_DISK_FULL), {Code::ShortWrite});
    add(QV_CALL(fwrite, 0, ERROR_DISK_FULL), {Code::ShortWrite});
    add(QV_CALL(fputc, EOF, ERROR_DISK_FULL));
    add(QV_CALL(fread, 0, kError));
    add(QV_CALL(_get_osfhandle, -1, EBADF));
    add(QV_CALL(SetHandleInformation, FALSE, kError));
    add(QV_CALL(_setmode, -1, kError));
    add(QV_CALL(fgetpos, -1, kError));
    add(QV_CALL(fsetpos, -1, kError));
    add(QV_CALL(_filelengthi64, -1, kError));
    add(QV_CALL(_time64, -1, kError));
    // The C++ headers overload it.
    using GetVariable = errno_t (*)(size_t*, char*, size_t, const char*);
    add(MakeFailingCall<__COUNTER__>("getenv_s", GetVariable{&::getenv_s}, ENOMEM));
    return subjects;
}

// Failures that an operation gets over, and so succeeds: of the function, in the scenario, and in
// one of our functions: compilers differ in what they make a part of which. What is empty means
// any.
struct Harmless {
    const char* call;
    const char* scenario;
    const char* place;
    const char* reason;
};
constexpr Harmless kHarmless[] = {
    {"CloseHandle", "", "", "nothing is done with it any more"},
    {"FreeLibrary", "", "", "nothing is done with it any more"},
    {"SetupDiDestroyDeviceInfoList", "", "", "nothing is done with it any more"},
    {"AddVectoredExceptionHandler", "thread", "Thread::SetThreadName", "has no name, but works"},
    {"RemoveVectoredExceptionHandler", "thread", "Thread::SetThreadName", "ignores naming only"},
    {"WaitForSingleObject", "thread", "Synchro::WaitUntilSignaled WaitFor",
     "a failed wait has ended"},
    {"CreateEventA", "stream", "DeviceRequestQueue::Allocate",
     "works without: the outcome is polled"},
    {"CreateEventA", "transfer", "", "the device's own handle tells of one transfer at a time"},
    {"CreateMutexA", "single instance", "", "answers that there is no other"},
    {"CopyFileA", "error log", "ErrorLog::Open", "starts anew without a backup"},
    {"DeleteFileA", "error log", "ErrorLog::Open", "starts anew all the same"},
    {"DeleteFileA", "log", "Log::Open", "the file stays whole"},
    {"fopen", "log", "Log::Open OpenFile", "the file stays whole when its end cannot be read"},
    {"fread", "log", "Log::Open", "the file stays whole"},
    {"malloc", "log", "Log::Open", "the file stays whole"},
    {"_get_osfhandle", "", "Log::Open OpenFile", "child processes inherit the file"},
    {"SetHandleInformation", "", "Log::Open OpenFile", "child processes inherit the file"},
    {"_setmode", "log", "Log::Open", "the mode translates line ends"},
    {"fflush", "log", "_fseeki64", "the file stays whole"},
    {"fsetpos", "log", "_fseeki64", "the file stays whole"},
    {"_filelengthi64", "log", "_fseeki64", "the file stays whole"},
    {"fgetpos", "log", "_ftelli64", "the file stays whole"},
    {"fclose", "log", "Log::Open", "of the file as it was, which nothing was written to"},
    {"fclose", "", "Log::Close", "lines are reported when they are written"},
    {"CreateDirectoryA", "texts and folders", "GetPath", "whoever opens the file is told"},
    {"SHGetFolderPathA", "texts and folders", "GetPath", "the file is without a folder"},
    {"getenv_s", "texts and folders", "", "as if there were no such variable"},
    {"_time64", "texts and folders", "GetDateTime", "tells another time"},
    {"malloc", "texts and folders", "Result::Result CopyText", "has no description"},
    {"malloc", "texts and folders", "ExpandText Result::SetDescription", "has no description"},
    {"MultiByteToWideChar", "", "", "the other form of the text is empty"},
    {"WideCharToMultiByte", "", "", "the other form of the text is empty"},
    {"malloc", "copy", "", "copies what there is memory for"},
    {"realloc", "copy", "", "copies what there is memory for"},
};

// Imports that cannot fail where the library calls them, each with the reason.
const std::map<std::string, const char*> kCannotFail = {
    {"AcquireSRWLockExclusive", "has no result"},
    {"AcquireSRWLockShared", "has no result"},
    {"DeleteCriticalSection", "has no result"},
    {"EnterCriticalSection", "has no result, and needs no memory since Windows Vista"},
    {"InitializeCriticalSection", "has no result, and does not raise since Windows Vista"},
    {"InitializeCriticalSectionAndSpinCount", "always succeeds since Windows Vista"},
    {"LeaveCriticalSection", "has no result"},
    {"ReleaseSRWLockExclusive", "has no result"},
    {"ReleaseSRWLockShared", "has no result"},
    {"GetCurrentThread", "returns a constant"},
    {"GetCurrentThreadId", "reads the thread's own block"},
    {"GetLastError", "reads the thread's own block"},
    {"GetModuleHandleA", "finds the library's own module, which is there"},
    {"GetSystemInfo", "has no result"},
    {"GetSystemTimeAsFileTime", "has no result"},
    {"GetModuleFileNameA", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"_access", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"_putenv", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"_waccess", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"_wputenv", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"_wgetenv_s", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"_wenviron", "is a variable of the C library"},
    {"GetEnvironmentVariableW",
     "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"SetEnvironmentVariableW",
     "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"LoadLibraryExA", "Logger's set-up, once in a process: see the processes of LoggerTest"},
    {"GetThreadErrorMode", "reads the thread's own block"},
    {"SetThreadErrorMode", "takes every mode that GetThreadErrorMode returns"},
    {"SetLastError", "has no result"},
    {"fputc", "Log: ends a line that was cut short, which is reported already"},
    {"LocalAlloc", "delay-load helper: its list of loaded DLLs, which it can do without"},
    {"LocalFree", "has no result that matters"},
    {"OutputDebugStringA", "has no result"},
    {"GetTickCount", "reads a counter"},
    {"GetTickCount64", "reads a counter"},
    {"Sleep", "has no result"},
    {"RaiseException", "has no result"},
    {"IsDBCSLeadByteEx", "answers a question about a byte"},
    {"TlsGetValue", "reads a slot of the thread, when it ends"},
    {"GetModuleHandleW", "C library: looks for newer functions, which it can do without"},
    {"VirtualProtect", "start-up code: before anything of the library runs"},
    {"VirtualQuery", "start-up code: before anything of the library runs"},
    {"_amsg_exit", "start-up code: ends the process"},
    {"_initterm", "start-up code: before anything of the library runs"},
    {"abort", "ends the process"},
    {"vfprintf", "start-up code: writes the message before it ends the process"},
    {"___lc_codepage_func", "reads a variable"},
    {"___mb_cur_max_func", "reads a variable"},
    {"__iob_func", "returns an address"},
    {"_errno", "returns an address"},
    {"localeconv", "returns an address"},
    {"_fileno", "reads a field of an open file"},
    {"_localtime64", "C library: only where _localtime64_s is missing"},
    {"asctime", "C library: only where asctime_s is missing"},
    {"_lock", "has no result"},
    {"_unlock", "has no result"},
    {"free", "has no result"},
    {"memcpy", "works on memory that is there"},
    {"memmove", "works on memory that is there"},
    {"memset", "works on memory that is there"},
    {"strcmp", "works on memory that is there"},
    {"strlen", "works on memory that is there"},
    {"strncmp", "works on memory that is there"},
    {"wcslen", "works on memory that is there"},
    {"strerror", "C library: the conversion %m, which the library does not use"},
    {"getc", "C library: reading from files, where the library reads from texts"},
    {"ungetc", "C library: reading from files, where the library reads from texts"},
    {"strtol", "works on memory that is there"},
    {"strtoul", "works on memory that is there"},
    {"islower", "answers a question about a character"},
    {"isspace", "answers a question about a character"},
    {"isupper", "answers a question about a character"},
    {"isxdigit", "answers a question about a character"},
    {"tolower", "answers a question about a character"},
    {"toupper", "answers a question about a character"},
};

// The same for all imports from a DLL.
const std::map<std::string, const char*> kCannotFailDlls = {
    {"libstdc++-6.dll", "fails only for want of memory, and so with the malloc that it imports"},
    {"libgcc_s_seh-1.dll", "unwinds the stack"},
    {"libssp-0.dll", "ends the process when a check fails"},
    {"QvBaseLib64.dll", "is our own"},
};

// How often something came of the failures of one function at one place.
using Outcomes = std::map<std::string, int>;

class FailingCallsTest : public SampleDeviceTest {
protected:
    void SetUp() override {
        if (!FailingCall::IsPossible()) GTEST_SKIP() << "the library is part of the program";
        SampleDeviceTest::SetUp();
        subjects_ = MakeSubjects();
    }

    // Fails every call that the scenario makes.
    void FailAllInTurn(const Scenario& aScenario) {
        // The first time is for what is made once, at the first use.
        for (int time = 0; time < 2; ++time) {
            for (const Subject& subject : subjects_) subject.call->ForgetCalls();
            Attempt unhindered(nullptr, 0);
            aScenario.run(unhindered);
            ASSERT_EQ(Code::Success, unhindered.ResultCode()) << aScenario.name;
        }
        for (const Subject& subject : subjects_) {
            if (subject.call->WasCalled()) FailInTurn(aScenario, subject);
        }
    }

    // Fails every call of the function in the scenario, one at a time.
    void FailInTurn(const Scenario& aScenario, const Subject& aSubject) {
        for (long number = 1;; ++number) {
            SCOPED_TRACE(std::string(aScenario.name) + ", call " + std::to_string(number) + " of " +
                         aSubject.call->Name());
            std::optional<Attempt> attempt = RunWithoutLoss(aScenario, aSubject, number);
            if (aSubject.call->StruckAt() == nullptr) {
                EXPECT_LT(1, number) << "the call that was seen is not made again";
                EXPECT_FALSE(attempt->HasThrown());
                EXPECT_EQ(Code::Success, attempt->ResultCode());
                break;
            }
            CheckOutcome(aScenario, aSubject, *attempt);
        }
    }

    // What is lost every time is lost for good; once may be something that is made only now.
    std::optional<Attempt> RunWithoutLoss(const Scenario& aScenario, const Subject& aSubject,
                                          long aNumber) {
        std::optional<Attempt> attempt;
        long blocks = 0;
        long others = 0;
        for (int time = 0; time < 2; ++time) {
            blocks = counter_.Live();
            others = FailingCall::Outstanding();
            attempt.emplace(aSubject.call.get(), aNumber);
            aScenario.run(*attempt);
            blocks = counter_.Live() - blocks;
            others = FailingCall::Outstanding() - others;
            if (blocks == 0 && others == 0) break;
        }
        EXPECT_EQ(0, blocks) << "blocks of memory lost";
        EXPECT_EQ(0, others) << "handles, files or sets lost";
        return attempt;
    }

    void CheckOutcome(const Scenario& aScenario, const Subject& aSubject, const Attempt& aAttempt) {
        Outcomes& outcomes =
            table_[aSubject.call->Name()][FailingCall::Describe(aSubject.call->StruckAt())];
        const unsigned long code = aAttempt.ResultCode();
        if (aAttempt.HasThrown()) {
            EXPECT_TRUE(aScenario.mayThrow)
                << "std::bad_alloc in " << FailingCall::Describe(aSubject.call->StruckAt());
            ++outcomes["bad_alloc"];
        } else if (code == Code::Success) {
            EXPECT_TRUE(IsHarmless(aScenario, aSubject))
                << "goes on after a failure in "
                << FailingCall::Describe(aSubject.call->StruckAt());
            ++outcomes["went on"];
        } else {
            EXPECT_THAT(aSubject.codes, testing::Contains(code));
            char text[16];
            std::snprintf(text, sizeof text, "code 0x%lx", code);
            ++outcomes[text];
        }
    }

    static bool IsHarmless(const Scenario& aScenario, const Subject& aSubject) {
        const std::string place = FailingCall::Describe(aSubject.call->StruckAt());
        const std::string function = place.substr(0, place.rfind('+'));
        return std::any_of(std::begin(kHarmless), std::end(kHarmless), [&](const Harmless& aEntry) {
            const bool isScenario =
                *aEntry.scenario == '\0' || std::strcmp(aEntry.scenario, aScenario.name) == 0;
            const bool isPlace =
                *aEntry.place == '\0' || std::strstr(aEntry.place, function.c_str()) != nullptr;
            return aSubject.call->Name() == aEntry.call && isScenario && isPlace;
        });
    }

    void PrintTable() const {
        int failures = 0;
        std::size_t sites = 0;
        for (const auto& [function, places] : table_) {
            for (const auto& [place, outcomes] : places) {
                std::string text;
                for (const auto& [outcome, count] : outcomes) {
                    text += (text.empty() ? "" : ", ") + std::to_string(count) + " x " + outcome;
                    failures += count;
                }
                std::printf("%-32s %-46s %s\n", function.c_str(), place.c_str(), text.c_str());
                ++sites;
            }
        }
        std::printf("%d failing calls of %zu functions at %zu call sites\n", failures,
                    table_.size(), sites);
    }

    void ExpectEveryImportAccountedFor() const {
        for (const char* const dll : {"QvUserLib64.dll", "QvBaseLib64.dll"}) {
            for (const Import& import : ImportsOf(dll)) {
                const bool isAccountedFor = table_.count(import.name) > 0 ||
                                            kCannotFail.count(import.name) > 0 ||
                                            kCannotFailDlls.count(import.dll) > 0;
                EXPECT_TRUE(isAccountedFor)
                    << dll << " imports " << import.name << " from " << import.dll
                    << ", which no scenario makes fail and which is not said to be unable to";
            }
        }
    }

private:
    AllocationCounter counter_;  // Before the subjects, which pass their calls on to it.
    std::vector<Subject> subjects_;
    std::map<std::string, std::map<std::string, Outcomes>> table_;
};

TEST_F(FailingCallsTest, EveryCallMayFailOnce) {
    for (const Scenario& scenario : kScenarios) FailAllInTurn(scenario);

    // What counts the coverage is in the DLLs, too, and imports functions of its own.
#ifndef QVTESTS_COVERAGE
    ExpectEveryImportAccountedFor();
#endif
    PrintTable();
}

}  // namespace
}  // namespace QvTests
