// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SYNCHRO_H
#define QVUSERLIB_SYNCHRO_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"

namespace QvUserLib {

/// A base for classes that own one waitable Win32 handle: an event, a mutex, a thread.
///
/// Failures go to the error log as `.\Synchro`.
class QVUSERLIB_API Synchro {
public:
    Synchro(const Synchro&) = delete;
    Synchro& operator=(const Synchro&) = delete;

    // The order of the virtual functions is part of the binary interface. MSVC lays out overloads
    // of one name in reverse order of declaration; GCC and Clang do not. To get the same order from
    // all of them, overloads are declared next to each other, and in reverse for MSVC.

#ifndef _MSC_VER
    /// Waits until the handle is signalled.
    ///
    /// If the system refuses the wait, for instance because the handle is invalid, the call
    /// succeeds.
    ///
    /// @param aTimeout  The longest wait in milliseconds; 0 checks without waiting.
    /// @retval InvalidHandle     "The constructor of object failed or application try to access
    ///                           deleted object": there is no handle yet.
    /// @retval SystemCallFailed  "Wait returned because the object was abandonned": the thread that
    ///                           held the mutex has ended. The caller now owns the mutex.
    /// @retval TimedOut          "Wait returned because of a time-out".
    virtual Result WaitUntilSignaled(unsigned long aTimeout);

    /// As the other overload, without a limit.
    virtual Result WaitUntilSignaled();
#else
    virtual Result WaitUntilSignaled();
    virtual Result WaitUntilSignaled(unsigned long aTimeout);
#endif

protected:
    Synchro();

    /// Closes the handle, if there is one.
    virtual ~Synchro();

    /// The handle; null until a derived class stores one, which this object then owns. This field
    /// is part of the binary interface.
    void* handle_;
};

}  // namespace QvUserLib

#endif
