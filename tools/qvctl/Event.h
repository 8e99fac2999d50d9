// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// An event of the system that stays set.

#ifndef QVCTL_EVENT_H
#define QVCTL_EVENT_H

#include "Failure.h"
#include "WindowsApi.h"

namespace Qvctl {

// Any thread may set it and wait for it.
class Event {
public:
    // Throws `Failure` when the system has no event to give.
    Event()
        : handle_(
              ::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr)) {
        if (handle_ == nullptr) {
            throw Failure(ExitCode::Failed, "the system cannot create an event", ::GetLastError());
        }
    }
    ~Event() { ::CloseHandle(handle_); }

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set() const { ::SetEvent(handle_); }

    // Whether it was set before the time, in ms, was over.
    bool Wait(DWORD aTimeoutMs) const {
        return ::WaitForSingleObject(handle_, aTimeoutMs) == WAIT_OBJECT_0;
    }
    bool IsSet() const { return Wait(0); }

    HANDLE GetHandle() const { return handle_; }

private:
    HANDLE handle_;
};

}  // namespace Qvctl

#endif
