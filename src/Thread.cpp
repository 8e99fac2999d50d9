// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Thread.h"

#include <process.h>

#include <atomic>
#include <iterator>

#include "ReportError.h"
#include "WindowsApi.h"

namespace QvUserLib {

// Written by the controlling thread and the one it started, read by any. Release and acquire make
// what was written before a stop request visible to the work that sees the request.
struct ThreadState {
    explicit ThreadState(unsigned int aPriority)
        : priority(aPriority), isRunning(false), isStopping(false), idWord_(0) {}

    // The start routine of the system thread.
    static unsigned __stdcall Run(void* aThread);

    unsigned int GetId() const {
        return static_cast<unsigned int>(idWord_.load(std::memory_order_acquire));
    }
    void SetId(unsigned int aId) { idWord_.store(aId, std::memory_order_release); }

    // Between these two calls the new thread may set the identifier, and clear it again when its
    // work throws. EndStart must not overwrite that: the C runtime returns the identifier so late
    // that the thread may have ended.
    void BeginStart() { idWord_.store(kStarting | GetId(), std::memory_order_release); }
    void EndStart(unsigned int aId) {
        unsigned long long expected = kStarting | GetId();
        (void)idWord_.compare_exchange_strong(expected, aId, std::memory_order_acq_rel);
    }

    std::atomic<unsigned int> priority;
    std::atomic<bool> isRunning;
    std::atomic<bool> isStopping;

private:
    static constexpr unsigned long long kStarting = 1ULL << 32;

    // The identifier in the low half; `kStarting` until the thread or its starter has set it.
    std::atomic<unsigned long long> idWord_;
};

namespace {

constexpr char kSource[] = ".\\Thread";

// Tools recognise the line numbers in the error log, so they stay the same when the code moves.
Result Fail(Code aCode, unsigned long aLine, const char* aMessage) {
    const DWORD error = ::GetLastError();
    return ReportError(Result(aCode), kSource, aLine, aMessage, error);
}

int SystemPriority(unsigned int aLevel) {
    // In the order of Thread::Priority.
    constexpr int kLevels[] = {THREAD_PRIORITY_LOWEST,       THREAD_PRIORITY_BELOW_NORMAL,
                               THREAD_PRIORITY_IDLE,         THREAD_PRIORITY_NORMAL,
                               THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST,
                               THREAD_PRIORITY_TIME_CRITICAL};
    return aLevel < std::size(kLevels) ? kLevels[aLevel] : THREAD_PRIORITY_NORMAL;
}

// The exception that tells Windows debuggers the name of a thread, and its arguments.
constexpr DWORD kThreadNaming = 0x406D1388;
struct ThreadNaming {
    DWORD type;  // Always 0x1000.
    const char* name;
    DWORD thread;
    DWORD flags;  // Always 0.
};
static_assert(sizeof(ThreadNaming) == 3 * sizeof(ULONG_PTR), "debuggers read three words");

// A debugger sees the exception before this handler, which stops it here.
LONG CALLBACK IgnoreThreadNaming(EXCEPTION_POINTERS* aException) {
    return aException->ExceptionRecord->ExceptionCode == kThreadNaming
               ? EXCEPTION_CONTINUE_EXECUTION
               : EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

unsigned __stdcall ThreadState::Run(void* aThread) {
    auto* const thread = static_cast<Thread*>(aThread);
    thread->state_->SetId(::GetCurrentThreadId());
    return thread->ThreadFunction().GetCode() & 0xFFFF;
}

Thread::Thread(unsigned int aPriority) : state_(new ThreadState(aPriority)) {}

Thread::~Thread() {
    // The destructor cannot do more if the wait fails.
    if (handle_ != nullptr) (void)Thread::WaitUntilSignaled();
    delete state_;
}

Result Thread::GetExitCode() const {
    if (state_->GetId() != 0) {
        return Fail(Code::NotAllowed, /*aLine=*/539, "Thread does not exist!");
    }
    if (IsRunning()) return Fail(Code::NotAllowed, /*aLine=*/540, "Thread is still running!");

    DWORD exitCode = 0;
    if (!::GetExitCodeThread(handle_, &exitCode)) {
        return Fail(Code::NotAllowed, /*aLine=*/552, "Could not obtain thread exit code!");
    }
    return Result(exitCode);
}

unsigned int Thread::GetPriority() const {
    return state_->priority.load(std::memory_order_acquire);
}

unsigned long Thread::GetThreadID() const { return state_->GetId(); }

bool Thread::IsRunning() const { return state_->isRunning.load(std::memory_order_acquire); }

bool Thread::IsStopping() const { return state_->isStopping.load(std::memory_order_acquire); }

Result Thread::SetPriority(unsigned int aLevel) {
    if (handle_ != nullptr && !::SetThreadPriority(handle_, SystemPriority(aLevel))) {
        return Fail(Code::SystemCallFailed, /*aLine=*/488, "Cannot set the thread priority");
    }
    state_->priority.store(aLevel, std::memory_order_release);
    return Result(Code::Success);
}

Result Thread::StartThread() {
    state_->isStopping.store(false, std::memory_order_release);
    const unsigned int earlierId = state_->GetId();
    unsigned int id = 0;
    state_->BeginStart();
    const auto handle = _beginthreadex(nullptr, /*stack_size=*/0, ThreadState::Run, this,
                                       /*initflag=*/0, &id);
    state_->EndStart(handle != 0 ? id : earlierId);
    if (handle == 0) {
        return Fail(Code::SystemCallFailed, /*aLine=*/316, "Cannot start system thread");
    }
    handle_ =
        reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr): as documented.
    return Result(Code::Success);
}

Result Thread::StopThread() {
    if (handle_ == nullptr) return Result(Code::SystemCallFailed);
    if (WaitUntilSignaled(0).GetCode() != Code::TimedOut) return Result(Code::SystemCallFailed);
    state_->isStopping.store(true, std::memory_order_release);
    return Result(Code::Success);
}

Result Thread::ThreadFunction() {
    state_->isRunning.store(true, std::memory_order_release);
    try {
        const Result result = Execute();
        state_->isRunning.store(false, std::memory_order_release);
        state_->isStopping.store(false, std::memory_order_release);
        return result;
    } catch (...) {
        state_->isRunning.store(false, std::memory_order_release);
        state_->SetId(0);
        return Result(Code::SystemCallFailed);
    }
}

void Thread::SetThreadName(const char* aName) {
    const ThreadNaming naming = {0x1000, aName != nullptr ? aName : "", state_->GetId(), 0};
    void* const handler = ::AddVectoredExceptionHandler(/*First=*/1, IgnoreThreadNaming);
    if (handler == nullptr) return;
    ::RaiseException(kThreadNaming, /*dwExceptionFlags=*/0, sizeof naming / sizeof(ULONG_PTR),
                     reinterpret_cast<const ULONG_PTR*>(&naming));
    ::RemoveVectoredExceptionHandler(handler);
}

void* Thread::GetCurrentThreadHandle() { return ::GetCurrentThread(); }

unsigned long Thread::GetCurrentThreadID() { return ::GetCurrentThreadId(); }

void Thread::Sleep(unsigned long aTime) { ::Sleep(aTime); }

long long Thread::GetTickCount() { return ::GetTickCount(); }

}  // namespace QvUserLib
