// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_THREAD_H
#define QVUSERLIB_THREAD_H

#include "QvUserLib/Synchro.h"

namespace QvUserLib {

struct ThreadState;

/// A system thread that runs the work of a derived class.
///
/// Stopping is cooperative: `StopThread` sets a flag, the work polls it with `IsStopping` and
/// returns, and `WaitUntilSignaled` waits for the end. One thread controls the object; any thread
/// may read the flags and the identifier.
///
/// Destroying a `Thread` waits for its work without limit. But by then the derived part, which the
/// work may still be using, is already destroyed. So stop the work and wait for it in the derived
/// class's destructor.
///
/// A thread needs the system's loader lock to end. So do not destroy or wait for a `Thread` while
/// that lock is held, as in `DllMain` or in the destructor of a DLL's static object: the wait never
/// returns. Give the DLL a function that ends its threads, and call it before the DLL is freed.
///
/// Failures go to the error log as `.\Thread`.
class QVUSERLIB_API Thread : public Synchro {
public:
    /// The levels of priority. Idle is below all others, despite its number.
    enum Priority : unsigned int {
        PriorityLowest = 0,
        PriorityBelowNormal = 1,
        PriorityIdle = 2,
        PriorityNormal = 3,
        PriorityAboveNormal = 4,
        PriorityHighest = 5,
        PriorityTimeCritical = 6
    };

    /// Starts no thread yet. The priority is only recorded: a thread starts with the normal one,
    /// and `SetPriority` changes it.
    explicit Thread(unsigned int aPriority);

    /// Waits, without limit, until the thread has ended. Must not be called under the loader lock.
    ~Thread() override;

    // The order of the virtual functions is part of the binary interface.

    /// Returns the thread's exit code as the code of the result, but only for a thread whose work
    /// threw. A thread whose work returned keeps its identifier, and the call fails with "Thread
    /// does not exist!".
    ///
    /// @retval NotAllowed  "Thread does not exist!" (the identifier is not 0); "Thread is still
    ///                     running!"; "Could not obtain thread exit code!" (such as before the
    ///                     first start).
    virtual Result GetExitCode() const;

    /// The level that was last set, even if it is not one of `Priority`.
    virtual unsigned int GetPriority() const;

    /// The identifier of the thread that was last started; 0 before the first start, and after the
    /// work threw.
    virtual unsigned long GetThreadID() const;

    /// Whether the work is running.
    virtual bool IsRunning() const;

    /// Whether the work was asked to return.
    virtual bool IsStopping() const;

    /// Sets one of `Priority`; any other level counts as normal. Without a thread it is only
    /// recorded.
    ///
    /// @retval SystemCallFailed  "Cannot set the thread priority": the level stays as it was.
    virtual Result SetPriority(unsigned int aLevel);

    /// Starts the thread. If the object already has one, the earlier handle is never closed: use
    /// one object for one run.
    ///
    /// @retval SystemCallFailed  "Cannot start system thread".
    virtual Result StartThread();

    /// Asks the work to return and does not wait for it.
    ///
    /// @retval SystemCallFailed  No thread was started, or it has ended.
    virtual Result StopThread();

    /// The work, which runs on the new thread. If it throws, the thread's exit code is
    /// `SystemCallFailed`; otherwise the exit code is the low 16 bits of the result's code.
    virtual Result Execute() = 0;

    /// The body of the thread: runs the work and maintains the flags.
    ///
    /// @return what the work returned; `SystemCallFailed` when it threw.
    Result ThreadFunction();

    /// Names the thread for an attached debugger. Harmless without one.
    void SetThreadName(const char* aName);

    // System services for the calling thread.

    /// A pseudo-handle of the calling thread, which need not be closed.
    static void* GetCurrentThreadHandle();
    /// The identifier of the calling thread.
    static unsigned long GetCurrentThreadID();

    /// Suspends the calling thread for `aTime` milliseconds.
    static void Sleep(unsigned long aTime);

    /// Milliseconds since the system was started; starts again from 0 after 49.7 days.
    static long long GetTickCount();

private:
    friend struct ThreadState;

    // This field is part of the binary interface.
    ThreadState* state_;
};

}  // namespace QvUserLib

#endif
