// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_THREAD_H
#define QVUSERLIB_THREAD_H

#include "QvUserLib/Synchro.h"

namespace QvUserLib {

struct ThreadState;

/// A system thread that runs the work of a derived class.
///
/// Stopping is cooperative: `StopThread` asks, the work polls `IsStopping` and returns, and whoever
/// wants to know waits with `WaitUntilSignaled`. One thread controls the object; the flags and the
/// identifier may be read by any.
///
/// Destroying a `Thread` waits for its work without limit. By then the derived part is gone, which
/// the work may still be using: stop it and wait for it in the derived class's own destructor.
///
/// A thread needs the system's loader lock to end. So do not destroy or wait for a `Thread` while
/// that lock is held, as in `DllMain` or in the destructor of a DLL's static object: the wait never
/// returns. Give a DLL a function of its own that ends its threads, and call it before the DLL is
/// freed.
///
/// Failures go to the error log as `.\Thread`.
class QVUSERLIB_API Thread : public Synchro {
public:
    /// The levels of priority. Idle lies below the others, whatever its number.
    enum Priority : unsigned int {
        PriorityLowest = 0,
        PriorityBelowNormal = 1,
        PriorityIdle = 2,
        PriorityNormal = 3,
        PriorityAboveNormal = 4,
        PriorityHighest = 5,
        PriorityTimeCritical = 6
    };

    /// No thread exists yet. The priority is recorded only: a thread starts with the normal one,
    /// and `SetPriority` gives it another.
    explicit Thread(unsigned int aPriority);

    /// Waits until the thread has ended, without limit; not under the loader lock.
    ~Thread() override;

    // The order of the virtual functions is part of the binary interface.

    /// Gives the thread's exit code as the code of the result. It is to be had from a thread whose
    /// work threw, or from one that was never started, which has none; a thread whose work returned
    /// keeps its identifier and reports that it does not exist.
    ///
    /// @retval NotAllowed  "Thread does not exist!" (the identifier is not 0); "Thread is still
    ///                     running!"; "Could not obtain thread exit code!".
    virtual Result GetExitCode() const;

    /// The level that was last set, also when it is none of `Priority`.
    virtual unsigned int GetPriority() const;

    /// The identifier of the thread that was last started; 0 before, and after its work threw.
    virtual unsigned long GetThreadID() const;

    /// Whether the work is being done.
    virtual bool IsRunning() const;

    /// Whether the work was asked to return.
    virtual bool IsStopping() const;

    /// Sets one of `Priority`; any other level counts as normal. Without a thread it is recorded
    /// only.
    ///
    /// @retval SystemCallFailed  "Cannot set the thread priority": the level stays as it was.
    virtual Result SetPriority(unsigned int aLevel);

    /// Starts the thread. On an object that has a thread already the earlier handle is given up
    /// without being closed: use one object for one run.
    ///
    /// @retval SystemCallFailed  "Cannot start system thread".
    virtual Result StartThread();

    /// Asks the work to return, and does not wait for it.
    ///
    /// @retval SystemCallFailed  No thread was started, or it has ended.
    virtual Result StopThread();

    /// The work, done on the new thread. Whatever it throws ends it with the exit code
    /// `SystemCallFailed`; otherwise the exit code is the low 16 bits of the result's code.
    virtual Result Execute() = 0;

    /// The body of the thread: does the work and keeps the flags.
    ///
    /// @return what the work returned; `SystemCallFailed` when it threw.
    Result ThreadFunction();

    /// Names the thread for a debugger that is attached. Harmless without one.
    void SetThreadName(const char* aName);

    // What the system offers to the calling thread.

    /// A pseudo-handle, which need not be closed.
    static void* GetCurrentThreadHandle();
    /// The identifier of the calling thread.
    static unsigned long GetCurrentThreadID();

    /// Does nothing for a time in milliseconds.
    static void Sleep(unsigned long aTime);

    /// Milliseconds since the system was started; starts anew from 0 after 49.7 days.
    static long long GetTickCount();

private:
    friend struct ThreadState;

    // This field is part of the binary interface.
    ThreadState* state_;
};

}  // namespace QvUserLib

#endif
