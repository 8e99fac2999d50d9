// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Kernel objects that belong to a test.

#ifndef QVTESTS_KERNELOBJECTS_H
#define QVTESTS_KERNELOBJECTS_H

#include "UniqueHandle.h"

namespace QvTests {

/// A handle, closed in the end.
class Handle : public QvBaseLib::KernelHandle {
public:
    using UniqueHandle::UniqueHandle;
    void Close() { Reset(); }
};

/// A vectored handler of exceptions, removed in the end.
using ExceptionHandler = QvBaseLib::UniqueHandle<void*, &::RemoveVectoredExceptionHandler>;

/// An event that stays set. A wait for it ends with the test's time limit at the latest.
class Event {
public:
    Event()
        : handle_(
              ::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr)) {}

    void Set() const { ::SetEvent(handle_.Get()); }
    void Wait() const { ::WaitForSingleObject(handle_.Get(), INFINITE); }
    bool IsSet() const { return ::WaitForSingleObject(handle_.Get(), 0) == WAIT_OBJECT_0; }
    HANDLE Get() const { return handle_.Get(); }

private:
    Handle handle_;
};

}  // namespace QvTests

#endif
