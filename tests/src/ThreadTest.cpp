// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Thread.h"

#include <process.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "HandleLedger.h"
#include "ImportPatch.h"
#include "KernelObjects.h"
#include "LoggedErrors.h"
#include "QvUserLib/System.h"
#include "SlotCalls.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

constexpr unsigned int kUnknownLevel = 9;

// How long what must not end is watched.
constexpr std::chrono::milliseconds kWatch(50);

// A client's own thread: does the work that it was given.
class Worker : public Thread {
public:
    using Work = std::function<Result(Worker&)>;

    explicit Worker(Work aWork, unsigned int aPriority = PriorityNormal)
        : Thread(aPriority), work_(std::move(aWork)) {}
    // The work uses what lies in this class, so it has to end before the base's destructor.
    ~Worker() override {
        if (handle_ != nullptr) (void)Thread::WaitUntilSignaled();
    }

    Result Execute() override { return work_(*this); }

    HANDLE Get() const { return handle_; }
    void Set(HANDLE aHandle) { handle_ = aHandle; }

    // Starts it and waits for its end.
    void Run() {
        EXPECT_THAT(StartThread(), IsBareCode(Code::Success));
        EXPECT_THAT(WaitUntilSignaled(), IsBareCode(Code::Success));
    }

    DWORD SystemExitCode() const {
        DWORD code = STILL_ACTIVE;
        EXPECT_TRUE(::GetExitCodeThread(handle_, &code));
        return code;
    }

private:
    Work work_;
};

Result Succeed(Worker&) { return Result(Code::Success); }

// Works from its start until it is released.
class BusyWorker : public Worker {
public:
    explicit BusyWorker(unsigned int aPriority = PriorityNormal)
        : Worker(
              [this](Worker&) {
                  isBusy_.Set();
                  release_.Wait();
                  return Result(Code::Success);
              },
              aPriority) {
        EXPECT_THAT(StartThread(), IsBareCode(Code::Success));
        if (Get() != nullptr) isBusy_.Wait();
    }
    ~BusyWorker() override { End(); }

    // Releases the work and waits for its end.
    void End() {
        release_.Set();
        if (Get() != nullptr) (void)Thread::WaitUntilSignaled();
    }

private:
    Event isBusy_;
    Event release_;
};

// Stands in for the runtime's start of a thread: answers what the test wants, and keeps what was
// asked.
class ScriptedStart {
public:
    using Entry = unsigned(__stdcall*)(void*);
    struct Call {
        void* security;
        unsigned int stackSize;
        Entry entry;
        void* argument;
        unsigned int flags;
        unsigned int* id;
    };

    explicit ScriptedStart(std::uintptr_t aAnswer) { answer_ = aAnswer; }

    const Call& LastCall() const { return call_; }

private:
    static std::uintptr_t Start(void* aSecurity, unsigned int aStackSize, Entry aEntry,
                                void* aArgument, unsigned int aFlags, unsigned int* aId) {
        call_ = {aSecurity, aStackSize, aEntry, aArgument, aFlags, aId};
        return answer_;
    }

    inline static std::uintptr_t answer_ = 0;
    inline static Call call_ = {};

    ImportPatch patch_{"_beginthreadex", &Start};
};

// Before the start

TEST(ThreadTest, IsIdleBeforeItsStart) {
    const Worker worker(&Succeed);

    EXPECT_EQ(nullptr, worker.Get());
    EXPECT_EQ(0u, worker.GetThreadID());
    EXPECT_FALSE(worker.IsRunning());
    EXPECT_FALSE(worker.IsStopping());
}

TEST(ThreadTest, RecordsThePriorityThatItIsConstructedWith) {
    for (const unsigned int level : {0u, 3u, 6u, kUnknownLevel, ~0u}) {
        EXPECT_EQ(level, Worker(&Succeed, level).GetPriority());
    }
}

TEST(ThreadTest, WaitBeforeTheStartIsRefused) {
    Worker worker(&Succeed);

    EXPECT_THAT(worker.WaitUntilSignaled(), IsBareCode(Code::InvalidHandle));
    EXPECT_THAT(worker.WaitUntilSignaled(0), IsBareCode(Code::InvalidHandle));
}

TEST(ThreadTest, StopBeforeTheStartIsRefusedAndLeavesNoRequest) {
    Worker worker(&Succeed);
    const ErrorWatch watch;

    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::SystemCallFailed));
    EXPECT_FALSE(worker.IsStopping());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ThreadTest, SetPriorityBeforeTheStartOnlyRecords) {
    Worker worker(&Succeed);

    for (const unsigned int level : {0u, 6u, kUnknownLevel, ~0u}) {
        EXPECT_THAT(worker.SetPriority(level), IsBareCode(Code::Success));
        EXPECT_EQ(level, worker.GetPriority());
    }
}

TEST(ThreadTest, ThereIsNoExitCodeBeforeTheStart) {
    const Worker worker(&Succeed);

    EXPECT_THAT(worker.GetExitCode(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ("Could not obtain thread exit code!", LastErrorText());
}

// Start

TEST(ThreadTest, StartsTheWorkOnANewThread) {
    unsigned long worksId = 0;
    Worker worker([&worksId](Worker&) {
        worksId = ::GetCurrentThreadId();
        return Result(Code::Success);
    });

    worker.Run();

    EXPECT_NE(0u, worksId);
    EXPECT_NE(::GetCurrentThreadId(), worksId);
    EXPECT_EQ(worksId, worker.GetThreadID());
}

TEST(ThreadTest, StartAsksForAPlainThreadThatRunsAtOnce) {
    const ScriptedStart runtime(/*aAnswer=*/0);
    Worker worker(&Succeed);

    (void)worker.StartThread();  // What counts is what it asks for.

    EXPECT_EQ(nullptr, runtime.LastCall().security);
    EXPECT_EQ(0u, runtime.LastCall().stackSize);
    EXPECT_EQ(static_cast<Thread*>(&worker), runtime.LastCall().argument);
    EXPECT_EQ(0u, runtime.LastCall().flags);
    EXPECT_NE(nullptr, runtime.LastCall().id);
}

TEST(ThreadTest, IdentifierIsTheOneThatTheRuntimeReports) {
    const auto start = [](void*, unsigned, ScriptedStart::Entry, void*, unsigned,
                          unsigned* aId) -> std::uintptr_t {
        *aId = 4711;
        return reinterpret_cast<std::uintptr_t>(
            ::CreateEventA(nullptr, TRUE, /*bInitialState=*/TRUE, nullptr));
    };
    const ImportPatch runtime("_beginthreadex", +start);
    Worker worker(&Succeed);

    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::Success));

    EXPECT_EQ(4711u, worker.GetThreadID());
}

// Runtimes differ in when they report the identifier: this one does when the work is over.
class LateRuntime {
public:
    bool IsActive() const { return patch_.IsActive(); }

private:
    static std::uintptr_t Start(void* aSecurity, unsigned int aStackSize,
                                ScriptedStart::Entry aEntry, void* aArgument, unsigned int aFlags,
                                unsigned int* aId) {
        unsigned int id = 0;
        const std::uintptr_t handle =
            ::_beginthreadex(aSecurity, aStackSize, aEntry, aArgument, aFlags, &id);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): as the runtime documents it.
        ::WaitForSingleObject(reinterpret_cast<HANDLE>(handle), INFINITE);
        *aId = id;
        return handle;
    }

    ImportPatch patch_{"_beginthreadex", &Start};
};

TEST(ThreadTest, IdentifierIsRightFromTheFirstStatementOfTheWork) {
    const LateRuntime runtime;
    ASSERT_TRUE(runtime.IsActive());
    unsigned long seen = 0;
    unsigned long worksId = 0;
    Worker worker([&](Worker& aSelf) {
        seen = aSelf.GetThreadID();
        worksId = ::GetCurrentThreadId();
        return Result(Code::Success);
    });

    worker.Run();

    EXPECT_NE(0u, worksId);
    EXPECT_EQ(worksId, seen);
    EXPECT_EQ(worksId, worker.GetThreadID());
}

TEST(ThreadTest, WorkThatThrowsAtOnceHasItsExitCode) {
    const LateRuntime runtime;
    ASSERT_TRUE(runtime.IsActive());
    Worker worker([](Worker&) -> Result { throw 1; });

    worker.Run();

    EXPECT_EQ(0u, worker.GetThreadID());
    EXPECT_THAT(worker.GetExitCode(), IsBareCode(Code::SystemCallFailed));
}

TEST(ThreadTest, FailedStartKeepsTheIdentifier) {
    Worker worker(&Succeed);
    worker.Run();
    const unsigned long id = worker.GetThreadID();
    const auto refuse = [](void*, unsigned, ScriptedStart::Entry, void*, unsigned,
                           unsigned* aId) -> std::uintptr_t {
        *aId = 4711;
        return 0;
    };
    const ImportPatch runtime("_beginthreadex", +refuse);

    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::SystemCallFailed));

    EXPECT_EQ(id, worker.GetThreadID());
}

TEST(ThreadTest, HandleIsTheOneThatTheRuntimeReturns) {
    const HANDLE handle = ::CreateEventA(nullptr, TRUE, /*bInitialState=*/TRUE, nullptr);
    const ScriptedStart runtime(reinterpret_cast<std::uintptr_t>(handle));
    Worker worker(&Succeed);

    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::Success));

    EXPECT_EQ(handle, worker.Get());
}

TEST(ThreadTest, FailedStartIsReportedAndLeavesNoHandle) {
    const ScriptedStart runtime(/*aAnswer=*/0);
    Worker worker(&Succeed);

    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::SystemCallFailed));

    EXPECT_EQ("Cannot start system thread", LastErrorText());
    EXPECT_EQ(nullptr, worker.Get());
    EXPECT_EQ(0u, worker.GetThreadID());
    EXPECT_FALSE(worker.IsRunning());
}

TEST(ThreadTest, StartsAfterAStartThatFailed) {
    Worker worker([](Worker&) { return Result(5); });
    {
        const ScriptedStart runtime(/*aAnswer=*/0);
        EXPECT_THAT(worker.StartThread(), IsBareCode(Code::SystemCallFailed));
    }

    worker.Run();

    EXPECT_EQ(5u, worker.SystemExitCode());
}

TEST(ThreadTest, StartTakesTheStopRequestBackBeforeThereIsAThread) {
    static bool wasStopping;
    wasStopping = true;
    const auto look = [](void*, unsigned, ScriptedStart::Entry, void* aThread, unsigned,
                         unsigned*) -> std::uintptr_t {
        wasStopping = static_cast<const Thread*>(aThread)->IsStopping();
        return 0;
    };
    const Event event;
    Worker worker(&Succeed);
    worker.Set(event.Get());
    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));
    const ImportPatch runtime("_beginthreadex", +look);

    (void)worker.StartThread();  // What counts is what the runtime finds.

    EXPECT_FALSE(wasStopping);
    worker.Set(nullptr);  // The event closes the handle.
}

TEST(ThreadTest, SecondStartLeavesTheEarlierHandleOpen) {
    Worker worker(&Succeed);
    worker.Run();
    const Handle first(worker.Get());

    worker.Run();

    DWORD flags = 0;
    EXPECT_NE(first.Get(), worker.Get());
    EXPECT_TRUE(::GetHandleInformation(first.Get(), &flags));
}

TEST(ThreadTest, SecondStartThatFailsLeavesTheEarlierHandleInPlace) {
    Worker worker(&Succeed);
    worker.Run();
    const HANDLE first = worker.Get();
    const ScriptedStart runtime(/*aAnswer=*/0);

    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::SystemCallFailed));

    EXPECT_EQ(first, worker.Get());
}

// While the work is being done

TEST(ThreadTest, IsRunningWhileItWorks) {
    const BusyWorker worker;

    EXPECT_TRUE(worker.IsRunning());
    EXPECT_FALSE(worker.IsStopping());
    EXPECT_NE(0u, worker.GetThreadID());
}

TEST(ThreadTest, WorkSeesItselfRunning) {
    bool running = false;
    bool stopping = true;
    Worker worker([&](Worker& aSelf) {
        running = aSelf.IsRunning();
        stopping = aSelf.IsStopping();
        return Result(Code::Success);
    });

    worker.Run();

    EXPECT_TRUE(running);
    EXPECT_FALSE(stopping);
}

TEST(ThreadTest, WaitWithALimitTimesOutWhileItWorks) {
    BusyWorker worker;

    EXPECT_THAT(worker.WaitUntilSignaled(0), IsBareCode(Code::TimedOut));
    EXPECT_EQ("Wait returned because of a time-out", LastErrorText());
}

TEST(ThreadTest, ThereIsNoExitCodeWhileItWorks) {
    const BusyWorker worker;

    EXPECT_THAT(worker.GetExitCode(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ("Thread does not exist!", LastErrorText());
}

TEST(ThreadTest, StopSetsTheRequestAndDoesNotWait) {
    BusyWorker worker;

    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));

    EXPECT_TRUE(worker.IsStopping());
    EXPECT_TRUE(worker.IsRunning());
    EXPECT_THAT(worker.WaitUntilSignaled(0), IsBareCode(Code::TimedOut));
}

TEST(ThreadTest, StopMayBeAskedForAgain) {
    BusyWorker worker;
    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));

    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));

    EXPECT_TRUE(worker.IsStopping());
}

TEST(ThreadTest, StopChecksTheThreadWithTheVirtualWait) {
    class Polled : public BusyWorker {
    public:
        Result WaitUntilSignaled(unsigned long aTimeout) override {
            timeouts.push_back(aTimeout);
            return Result(answer);
        }
        unsigned long answer = Code::TimedOut;
        std::vector<unsigned long> timeouts;
    };
    Polled worker;

    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));
    EXPECT_THAT(worker.timeouts, ElementsAre(0u));
}

TEST(ThreadTest, StopIsRefusedUnlessTheWaitTimesOut) {
    class Polled : public BusyWorker {
    public:
        Result WaitUntilSignaled(unsigned long) override { return Result(answer); }
        unsigned long answer = Code::Success;
    };
    Polled worker;

    for (const unsigned long answer : {0UL, 8UL, 29UL, 31UL, 0x1001EUL}) {
        SCOPED_TRACE(answer);
        worker.answer = answer;
        EXPECT_THAT(worker.StopThread(), IsBareCode(Code::SystemCallFailed));
        EXPECT_FALSE(worker.IsStopping());
    }
}

TEST(ThreadTest, WorkThatPollsTheRequestEnds) {
    Worker worker([](Worker& aSelf) {
        while (!aSelf.IsStopping()) std::this_thread::yield();
        return Result(7);
    });
    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::Success));

    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));
    EXPECT_THAT(worker.WaitUntilSignaled(), IsBareCode(Code::Success));

    EXPECT_EQ(7u, worker.SystemExitCode());
}

// A request may come before the new thread has begun with the work.
TEST(ThreadTest, RequestRightAfterTheStartIsNotLost) {
    constexpr int kRuns = 200;
    for (int run = 0; run < kRuns; ++run) {
        Worker worker([](Worker& aSelf) {
            while (!aSelf.IsStopping()) std::this_thread::yield();
            return Result(Code::Success);
        });

        EXPECT_THAT(worker.StartThread(), IsBareCode(Code::Success));
        EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));
        EXPECT_THAT(worker.WaitUntilSignaled(), IsBareCode(Code::Success));
    }
}

// After the work

TEST(ThreadTest, IsIdleAfterItsWork) {
    BusyWorker worker;

    worker.End();

    EXPECT_FALSE(worker.IsRunning());
    EXPECT_FALSE(worker.IsStopping());
    EXPECT_THAT(worker.WaitUntilSignaled(0), IsBareCode(Code::Success));
}

TEST(ThreadTest, IdentifierStaysAfterTheWork) {
    BusyWorker worker;
    const unsigned long id = worker.GetThreadID();

    worker.End();

    EXPECT_EQ(id, worker.GetThreadID());
}

TEST(ThreadTest, ReturnOfTheWorkTakesTheStopRequestBack) {
    BusyWorker worker;
    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));

    worker.End();

    EXPECT_FALSE(worker.IsStopping());
}

TEST(ThreadTest, StopAfterTheEndIsRefused) {
    BusyWorker worker;
    worker.End();
    const ErrorWatch watch;

    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::SystemCallFailed));
    EXPECT_FALSE(worker.IsStopping());
    EXPECT_TRUE(watch.IsQuiet());
}

TEST(ThreadTest, ThereIsNoExitCodeAfterANormalEnd) {
    Worker worker([](Worker&) { return Result(5); });
    worker.Run();

    EXPECT_THAT(worker.GetExitCode(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ("Thread does not exist!", LastErrorText());
}

TEST(ThreadTest, ExitCodeIsTheLowHalfOfTheResultsCode) {
    const std::vector<std::pair<unsigned long, DWORD>> codes = {
        {0, 0},
        {5, 5},
        {1541, 1541},
        {0xFFFF, 0xFFFF},
        {0x10000, 0},
        {0x12345678, 0x5678},
        {0xFFFFFFFF, 0xFFFF},
        {259, 259},
    };
    for (const auto& [code, exitCode] : codes) {
        SCOPED_TRACE(code);
        Worker worker([code = code](Worker&) { return Result(code); });
        worker.Run();
        EXPECT_EQ(exitCode, worker.SystemExitCode());
    }
}

// Work that throws

struct ClientError {
    explicit ClientError(std::string aText) : text(std::move(aText)) { ++count; }
    ClientError(const ClientError& aOther) : text(aOther.text) { ++count; }
    ClientError& operator=(const ClientError&) = delete;
    virtual ~ClientError() { --count; }

    inline static std::atomic<int> count{0};
    std::string text;
};

struct Throw {
    const char* name;
    Worker::Work work;
};

// What a client may throw; the library knows none of these classes.
const std::vector<Throw>& AllThrows() {
    static const std::vector<Throw> throws = {
        {"a number", [](Worker&) -> Result { throw 42; }},
        {"a text", [](Worker&) -> Result { throw "out of order"; }},
        {"a standard exception",
         [](Worker&) -> Result { throw std::runtime_error("out of order"); }},
        {"a class of the client's own",
         [](Worker&) -> Result { throw ClientError("out of order"); }},
        {"a result", [](Worker&) -> Result { throw Result(5); }},
    };
    return throws;
}

TEST(ThreadTest, AnyExceptionEndsTheWorkAsASystemFailure) {
    for (const Throw& thrown : AllThrows()) {
        SCOPED_TRACE(thrown.name);
        Worker worker(thrown.work);
        worker.Run();

        EXPECT_EQ(29u, worker.SystemExitCode());
        EXPECT_FALSE(worker.IsRunning());
        EXPECT_EQ(0u, worker.GetThreadID());
    }
}

TEST(ThreadTest, ExitCodeAfterAThrowIsTheSystemFailure) {
    for (const Throw& thrown : AllThrows()) {
        SCOPED_TRACE(thrown.name);
        Worker worker(thrown.work);
        worker.Run();
        const ErrorWatch watch;

        EXPECT_THAT(worker.GetExitCode(), IsBareCode(29));
        EXPECT_TRUE(watch.IsQuiet());
    }
}

TEST(ThreadTest, WhatWasThrownIsDestroyed) {
    Worker worker([](Worker&) -> Result { throw ClientError("out of order"); });

    worker.Run();

    EXPECT_EQ(0, ClientError::count);
}

TEST(ThreadTest, ThrowKeepsTheStopRequest) {
    Worker worker([](Worker& aSelf) -> Result {
        while (!aSelf.IsStopping()) std::this_thread::yield();
        throw std::runtime_error("out of order");
    });
    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::Success));
    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));
    EXPECT_THAT(worker.WaitUntilSignaled(), IsBareCode(Code::Success));

    EXPECT_TRUE(worker.IsStopping());
    EXPECT_FALSE(worker.IsRunning());
}

TEST(ThreadTest, StartTakesAKeptStopRequestBack) {
    bool throws = true;
    bool wasStopping = true;
    Worker worker([&](Worker& aSelf) -> Result {
        if (!throws) {
            wasStopping = aSelf.IsStopping();
            return Result(Code::Success);
        }
        while (!aSelf.IsStopping()) std::this_thread::yield();
        throw 42;
    });
    EXPECT_THAT(worker.StartThread(), IsBareCode(Code::Success));
    EXPECT_THAT(worker.StopThread(), IsBareCode(Code::Success));
    EXPECT_THAT(worker.WaitUntilSignaled(), IsBareCode(Code::Success));
    const Handle first(worker.Get());
    throws = false;

    worker.Run();

    EXPECT_FALSE(wasStopping);
}

// Exit codes

TEST(ThreadTest, ExitCodeOfAThreadWithoutIdentifierIsPassedOnWhole) {
    constexpr DWORD kExitCode = 0x12345678;
    const auto exit = [](void*) -> DWORD { return kExitCode; };
    Worker worker(&Succeed);
    worker.Set(::CreateThread(nullptr, 0, exit, nullptr, 0, nullptr));
    ASSERT_NE(nullptr, worker.Get());
    EXPECT_THAT(worker.WaitUntilSignaled(), IsBareCode(Code::Success));

    EXPECT_THAT(worker.GetExitCode(), IsBareCode(kExitCode));
}

TEST(ThreadTest, WorkWithoutAThreadHasNoExitCode) {
    Worker worker([](Worker& aSelf) { return aSelf.GetExitCode(); });

    EXPECT_THAT(worker.ThreadFunction(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ("Thread is still running!", LastErrorText());
}

void ExpectNoExitCode(const Worker& aWorker, const char* aMessage) {
    EXPECT_THAT(aWorker.GetExitCode(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ(aMessage, LastErrorText());
}

TEST(ThreadTest, ExitCodeCallsTheVirtualIsRunning) {
    struct EverRunning : Worker {
        EverRunning() : Worker(&Succeed) {}
        bool IsRunning() const override { return true; }
    };

    ExpectNoExitCode(EverRunning(), "Thread is still running!");
}

TEST(ThreadTest, ExitCodeUsesTheRecordedIdentifierNotTheVirtualOne) {
    struct Identified : Worker {
        Identified() : Worker(&Succeed) {}
        unsigned long GetThreadID() const override { return 7; }
    };

    ExpectNoExitCode(Identified(), "Could not obtain thread exit code!");
}

TEST(ThreadTest, HandleThatIsNoThreadHasNoExitCode) {
    Worker worker(&Succeed);
    worker.Set(::CreateEventA(nullptr, TRUE, /*bInitialState=*/TRUE, nullptr));

    EXPECT_THAT(worker.GetExitCode(), IsBareCode(Code::NotAllowed));
    EXPECT_EQ("Could not obtain thread exit code!", LastErrorText());
}

// The body of the thread

TEST(ThreadTest, BodyReturnsWhatTheWorkReturned) {
    Worker worker([](Worker&) {
        Result result(0x12345678);
        result.SetDescription("of the work's own");
        return result;
    });

    const Result result = worker.ThreadFunction();

    EXPECT_EQ(0x12345678u, result.GetCode());
    EXPECT_STREQ("of the work's own", result.GetDescription());
}

TEST(ThreadTest, BodyIsRunningAroundTheWorkOnly) {
    bool running = false;
    Worker worker([&](Worker& aSelf) {
        running = aSelf.IsRunning();
        return Result(Code::Success);
    });

    EXPECT_THAT(worker.ThreadFunction(), IsBareCode(Code::Success));

    EXPECT_TRUE(running);
    EXPECT_FALSE(worker.IsRunning());
}

TEST(ThreadTest, BodyReportsAThrowAsASystemFailure) {
    for (const Throw& thrown : AllThrows()) {
        SCOPED_TRACE(thrown.name);
        Worker worker(thrown.work);
        const ErrorWatch watch;

        EXPECT_THAT(worker.ThreadFunction(), IsBareCode(Code::SystemCallFailed));
        EXPECT_FALSE(worker.IsRunning());
        EXPECT_TRUE(watch.IsQuiet());
    }
}

// Priority

TEST(ThreadTest, EveryLevelSetsItsSystemPriority) {
    const std::vector<std::pair<unsigned int, int>> levels = {
        {Thread::PriorityLowest, THREAD_PRIORITY_LOWEST},
        {Thread::PriorityBelowNormal, THREAD_PRIORITY_BELOW_NORMAL},
        {Thread::PriorityIdle, THREAD_PRIORITY_IDLE},
        {Thread::PriorityNormal, THREAD_PRIORITY_NORMAL},
        {Thread::PriorityAboveNormal, THREAD_PRIORITY_ABOVE_NORMAL},
        {Thread::PriorityHighest, THREAD_PRIORITY_HIGHEST},
        {Thread::PriorityTimeCritical, THREAD_PRIORITY_TIME_CRITICAL},
    };
    BusyWorker worker;
    for (const auto& [level, priority] : levels) {
        SCOPED_TRACE(level);
        EXPECT_THAT(worker.SetPriority(level), IsBareCode(Code::Success));
        EXPECT_EQ(priority, ::GetThreadPriority(worker.Get()));
        EXPECT_EQ(level, worker.GetPriority());
    }
}

TEST(ThreadTest, LevelsHaveTheirNumbers) {
    EXPECT_EQ(0, Thread::PriorityLowest);
    EXPECT_EQ(1, Thread::PriorityBelowNormal);
    EXPECT_EQ(2, Thread::PriorityIdle);
    EXPECT_EQ(3, Thread::PriorityNormal);
    EXPECT_EQ(4, Thread::PriorityAboveNormal);
    EXPECT_EQ(5, Thread::PriorityHighest);
    EXPECT_EQ(6, Thread::PriorityTimeCritical);
}

TEST(ThreadTest, AnyOtherLevelSetsTheNormalPriorityAndIsRecordedAsGiven) {
    BusyWorker worker;
    for (const unsigned int level : {7u, kUnknownLevel, 15u, ~0u}) {
        SCOPED_TRACE(level);
        EXPECT_THAT(worker.SetPriority(Thread::PriorityHighest), IsBareCode(Code::Success));

        EXPECT_THAT(worker.SetPriority(level), IsBareCode(Code::Success));
        EXPECT_EQ(THREAD_PRIORITY_NORMAL, ::GetThreadPriority(worker.Get()));
        EXPECT_EQ(level, worker.GetPriority());
    }
}

TEST(ThreadTest, StartDoesNotApplyTheRecordedPriority) {
    const BusyWorker worker(Thread::PriorityHighest);

    EXPECT_EQ(THREAD_PRIORITY_NORMAL, ::GetThreadPriority(worker.Get()));
    EXPECT_EQ(5u, worker.GetPriority());
}

TEST(ThreadTest, PriorityThatTheSystemRefusesLeavesTheLevel) {
    Worker worker(&Succeed, Thread::PriorityBelowNormal);
    worker.Set(::CreateEventA(nullptr, TRUE, /*bInitialState=*/TRUE, nullptr));

    EXPECT_THAT(worker.SetPriority(Thread::PriorityHighest), IsBareCode(Code::SystemCallFailed));

    EXPECT_EQ("Cannot set the thread priority", LastErrorText());
    EXPECT_EQ(1u, worker.GetPriority());
}

// Lines of the error log

TEST(ThreadTest, FailuresReportTheirLines) {
    Worker notStarted(&Succeed);
    Worker ended(&Succeed);
    ended.Run();
    Worker noThread(&Succeed);
    noThread.Set(::CreateEventA(nullptr, TRUE, /*bInitialState=*/TRUE, nullptr));
    Worker onThisThread([](Worker& aSelf) { return aSelf.GetExitCode(); });

    EXPECT_THAT(LoggedErrors([&] {
                    const ScriptedStart runtime(/*aAnswer=*/0);
                    (void)notStarted.StartThread();  // Here and below the log is what counts.
                    (void)noThread.SetPriority(0);
                    (void)ended.GetExitCode();
                    (void)onThisThread.ThreadFunction();
                    (void)notStarted.GetExitCode();
                }),
                ElementsAre("[0x1d] .\\Thread(316) ERR  - Cannot start system thread",
                            "[0x1d] .\\Thread(488) ERR  - Cannot set the thread priority",
                            "[0x1c] .\\Thread(539) ERR  - Thread does not exist!",
                            "[0x1c] .\\Thread(540) ERR  - Thread is still running!",
                            "[0x1c] .\\Thread(552) ERR  - Could not obtain thread exit code!"));
}

TEST(ThreadTest, StopOfAThreadThatWorksReportsItsPoll) {
    BusyWorker worker;

    EXPECT_THAT(LoggedErrors([&] { (void)worker.StopThread(); }),  // The log is what counts.
                ElementsAre("[0x1e] .\\Synchro(101) ERR  - Wait returned because of a time-out"));
}

// Destruction

// The work uses nothing of the object, so only the base waits for it.
class Unattended : public Thread {
public:
    Unattended(const Event& aIsBusy, const Event& aRelease)
        : Thread(PriorityNormal), isBusy_(aIsBusy), release_(aRelease) {}
    ~Unattended() override = default;

    HANDLE Get() const { return handle_; }

    Result Execute() override {
        const Event& release = release_;
        isBusy_.Set();
        release.Wait();
        return Result(Code::Success);
    }

private:
    const Event& isBusy_;
    const Event& release_;
};

TEST(ThreadTest, DestructionWaitsForTheWorkAndThenClosesTheHandle) {
    const Event isBusy;
    const Event release;
    auto worker = std::make_unique<Unattended>(isBusy, release);
    ASSERT_THAT(worker->StartThread(), IsBareCode(Code::Success));
    isBusy.Wait();
    const HANDLE handle = worker->Get();
    const HandleLedger ledger;

    auto destroyed = std::async(std::launch::async, [&worker] { worker.reset(); });
    EXPECT_EQ(std::future_status::timeout, destroyed.wait_for(kWatch));
    EXPECT_EQ(0, ledger.ClosesOf(handle));

    release.Set();
    destroyed.get();
    EXPECT_EQ(1, ledger.ClosesOf(handle));
}

TEST(ThreadTest, DestructionOfAThreadThatWasNeverStartedReportsNothing) {
    auto worker = std::make_unique<Worker>(&Succeed);
    const ErrorWatch watch;

    worker.reset();

    EXPECT_TRUE(watch.IsQuiet());
}

// Holds a handle from its construction, and leaves the wait for it to the base.
class Signaled : public Thread {
public:
    Signaled() : Thread(PriorityNormal) {
        handle_ = ::CreateEventA(nullptr, TRUE, /*bInitialState=*/TRUE, nullptr);
    }
    Result Execute() override { return Result(Code::Success); }
};

TEST(ThreadTest, DestructionWaitsWithoutLimit) {
    static std::vector<DWORD> limits;
    limits.clear();
    const auto wait = [](HANDLE aHandle, DWORD aLimit) {
        limits.push_back(aLimit);
        return ::WaitForSingleObject(aHandle, aLimit);
    };
    auto thread = std::make_unique<Signaled>();
    const ImportPatch patch("WaitForSingleObject", +wait);

    thread.reset();

    EXPECT_THAT(limits, ElementsAre(INFINITE));
}

TEST(ThreadTest, DestructionFreesWhatTheConstructorAllocated) {
    alignas(Worker) unsigned char storage[sizeof(Worker)];
    const AllocationCounter allocations;

    auto* const worker = new (storage) Worker(&Succeed);
    EXPECT_EQ(1, allocations.Live());
    worker->~Worker();

    EXPECT_EQ(0, allocations.Live());
}

// Names

constexpr DWORD kThreadNaming = 0x406D1388;

// What a debugger reads from the exception that names a thread.
struct NamingRecord {
    DWORD type;
    const char* name;
    DWORD thread;
    DWORD flags;
};

// Stands in for the system's raising of an exception.
class WatchedRaise {
public:
    struct Call {
        DWORD code;
        DWORD flags;
        DWORD count;
        NamingRecord record;
        std::string name;
    };

    WatchedRaise() { calls_.clear(); }

    const std::vector<Call>& Calls() const { return calls_; }

private:
    static void WINAPI Raise(DWORD aCode, DWORD aFlags, DWORD aCount, const ULONG_PTR* aArguments) {
        Call call = {aCode, aFlags, aCount, {}, ""};
        if (aCount * sizeof(ULONG_PTR) == sizeof call.record) {
            std::memcpy(&call.record, aArguments, sizeof call.record);
            if (call.record.name != nullptr) call.name = call.record.name;
        }
        calls_.push_back(call);
    }

    inline static std::vector<Call> calls_;

    ImportPatch patch_{"RaiseException", &Raise};
};

// Sees the naming exceptions that get past the library, in front of the runtime's own handler.
class NamingWitness {
public:
    NamingWitness() { seen_ = 0; }

    int Seen() const { return seen_; }

private:
    static LONG CALLBACK See(EXCEPTION_POINTERS* aException) {
        if (aException->ExceptionRecord->ExceptionCode != kThreadNaming) {
            return EXCEPTION_CONTINUE_SEARCH;
        }
        ++seen_;
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    inline static std::atomic<int> seen_{0};

    const ExceptionHandler handler_{::AddVectoredExceptionHandler(/*First=*/1, &See)};
};

TEST(ThreadTest, NameGoesToADebuggerInTheRecordThatItExpects) {
    const WatchedRaise raise;
    BusyWorker worker;

    worker.SetThreadName("Packet reader");

    ASSERT_EQ(1u, raise.Calls().size());
    const WatchedRaise::Call& call = raise.Calls()[0];
    EXPECT_EQ(kThreadNaming, call.code);
    EXPECT_EQ(0u, call.flags);
    ASSERT_EQ(3u, call.count);
    EXPECT_EQ(0x1000u, call.record.type);
    EXPECT_EQ("Packet reader", call.name);
    EXPECT_EQ(worker.GetThreadID(), call.record.thread);
    EXPECT_EQ(0u, call.record.flags);
}

TEST(ThreadTest, NameOfAThreadThatWasNeverStartedGoesWithoutAnIdentifier) {
    const WatchedRaise raise;
    Worker worker(&Succeed);

    worker.SetThreadName("Packet reader");

    ASSERT_EQ(1u, raise.Calls().size());
    EXPECT_EQ(0u, raise.Calls()[0].record.thread);
}

TEST(ThreadTest, NamingExceptionStaysInTheLibraryAndLeavesNoHandler) {
    Worker worker(&Succeed);
    const NamingWitness witness;

    worker.SetThreadName("Packet reader");
    EXPECT_EQ(0, witness.Seen());

    ::RaiseException(kThreadNaming, 0, 0, nullptr);
    EXPECT_EQ(1, witness.Seen());
}

TEST(ThreadTest, NullNameIsHarmless) {
    Worker worker(&Succeed);
    const NamingWitness witness;

    worker.SetThreadName(nullptr);

    EXPECT_EQ(0, witness.Seen());
}

TEST(ThreadTest, ThreadMayNameItself) {
    const NamingWitness witness;
    Worker worker([](Worker& aSelf) {
        aSelf.SetThreadName("Packet reader");
        return Result(5);
    });

    worker.Run();

    EXPECT_EQ(5u, worker.SystemExitCode());
    EXPECT_EQ(0, witness.Seen());
}

TEST(ThreadTest, NamingIsHarmlessAHundredThousandTimesFromEightThreads) {
    constexpr int kThreads = 8;
    constexpr int kCalls = 100000 / kThreads;
    Worker worker(&Succeed);
    const NamingWitness witness;
    std::atomic<int> done{0};

    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&worker, &done] {
            for (int call = 0; call < kCalls; ++call) worker.SetThreadName("Packet reader");
            ++done;
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(kThreads, done);
    EXPECT_EQ(0, witness.Seen());
}

TEST(ThreadTest, NothingIsRaisedThatCouldNotBeCaught) {
    const auto refuse = [](ULONG, PVECTORED_EXCEPTION_HANDLER) -> void* { return nullptr; };
    const WatchedRaise raise;
    const ImportPatch patch("AddVectoredExceptionHandler", +refuse);
    Worker worker(&Succeed);

    worker.SetThreadName("Packet reader");

    EXPECT_TRUE(raise.Calls().empty());
}

// What the system offers to the calling thread

TEST(ThreadTest, CurrentThreadIsThePseudoHandle) {
    EXPECT_EQ(::GetCurrentThread(), Thread::GetCurrentThreadHandle());
}

TEST(ThreadTest, CurrentIdentifierIsTheCallingThreads) {
    EXPECT_EQ(::GetCurrentThreadId(), Thread::GetCurrentThreadID());

    unsigned long id = 0;
    Worker worker([&id](Worker&) {
        id = Thread::GetCurrentThreadID();
        return Result(Code::Success);
    });
    worker.Run();
    EXPECT_EQ(worker.GetThreadID(), id);
}

TEST(ThreadTest, SleepHandsItsTimeToTheSystem) {
    static DWORD time = 0;
    const ImportPatch patch("Sleep", +[](DWORD aTime) { time = aTime; });

    Thread::Sleep(123456789);

    EXPECT_EQ(123456789u, time);
}

TEST(ThreadTest, SleepLastsItsTime) {
    const auto start = std::chrono::steady_clock::now();

    Thread::Sleep(30);

    // Clocks may differ by a tick of the system.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(15));
}

TEST(ThreadTest, TickCountIsTheSystemsAndNeverNegative) {
    const ImportPatch patch("GetTickCount", +[]() -> DWORD { return 0xFFFFFFF0; });

    EXPECT_EQ(0xFFFFFFF0LL, Thread::GetTickCount());
}

TEST(ThreadTest, TickCountFollowsTheSystems) {
    const DWORD before = ::GetTickCount();
    const long long ticks = Thread::GetTickCount();
    const DWORD after = ::GetTickCount();

    // The differences hold also when the count starts anew in between.
    EXPECT_LE(static_cast<DWORD>(ticks) - before, after - before);
}

TEST(GetNumberOfCPUTest, AsksTheSystemWithACleanRecord) {
    static bool wasClean = false;
    const auto answer = [](SYSTEM_INFO* aInfo) {
        const SYSTEM_INFO clean = {};
        wasClean = std::memcmp(aInfo, &clean, sizeof clean) == 0;
        aInfo->dwNumberOfProcessors = 12;
    };
    const ImportPatch patch("GetSystemInfo", +answer);

    EXPECT_EQ(12, QvUserLib::GetNumberOfCPU());
    EXPECT_TRUE(wasClean);
}

TEST(GetNumberOfCPUTest, IsWhatTheSystemTells) {
    SYSTEM_INFO info = {};
    ::GetSystemInfo(&info);

    EXPECT_EQ(static_cast<int>(info.dwNumberOfProcessors), QvUserLib::GetNumberOfCPU());
}

// Binary interface

TEST(ThreadTest, AddsOnePointerToItsBase) {
    EXPECT_TRUE((std::is_base_of<Synchro, Thread>::value));
    EXPECT_EQ(sizeof(Synchro) + sizeof(void*), sizeof(Thread));
}

TEST(ThreadTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible<Worker>::value);
    EXPECT_FALSE(std::is_copy_assignable<Worker>::value);
}

TEST(ThreadTest, WaitsComeFirstInTheVirtualTable) {
    BusyWorker worker;

    EXPECT_THAT(CallSlot<Result>(&worker, 0, 0UL), IsBareCode(Code::TimedOut));
    worker.End();
    EXPECT_THAT(CallSlot<Result>(&worker, 1), IsBareCode(Code::Success));
}

// In the Itanium ABI it has two entries: the second also frees the memory.
TEST(ThreadTest, DestructorIsThirdInTheVirtualTable) {
    struct Counted : Worker {
        explicit Counted(int& aCount) : Worker(&Succeed), count(aCount) {}
        ~Counted() override { ++count; }
        int& count;
    };
    int destroyed = 0;
    auto* const worker = new Counted(destroyed);

    CallSlot<void>(worker, 3);

    EXPECT_EQ(1, destroyed);
}

// Each slot answers with the number of the operation that a client finds there.
TEST(ThreadTest, OperationsFollowTheDestructorInTheVirtualTable) {
    class Numbered : public Thread {
    public:
        Numbered() : Thread(0) {}
        Result GetExitCode() const override { return Result(4); }
        unsigned int GetPriority() const override { return 5; }
        unsigned long GetThreadID() const override { return 6; }
        bool IsRunning() const override { return true; }
        bool IsStopping() const override { return asked8 = true; }
        Result SetPriority(unsigned int aLevel) override { return Result(9 + aLevel); }
        Result StartThread() override { return Result(10); }
        Result StopThread() override { return Result(11); }
        Result Execute() override { return Result(12); }
        mutable bool asked8 = false;
    };
    Numbered thread;

    EXPECT_THAT(CallSlot<Result>(&thread, 4), IsBareCode(4));
    EXPECT_EQ(5u, CallSlot<unsigned int>(&thread, 5));
    EXPECT_EQ(6u, CallSlot<unsigned long>(&thread, 6));
    EXPECT_TRUE(CallSlot<bool>(&thread, 7));
    EXPECT_FALSE(thread.asked8);
    EXPECT_TRUE(CallSlot<bool>(&thread, 8));
    EXPECT_TRUE(thread.asked8);
    EXPECT_THAT(CallSlot<Result>(&thread, 9, 900U), IsBareCode(909));
    EXPECT_THAT(CallSlot<Result>(&thread, 10), IsBareCode(10));
    EXPECT_THAT(CallSlot<Result>(&thread, 11), IsBareCode(11));
    EXPECT_THAT(CallSlot<Result>(&thread, 12), IsBareCode(12));
}

}  // namespace
}  // namespace QvTests
