// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Synchro.h"

#include "ReportError.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr char kSource[] = ".\\Synchro";

// The line numbers in the error log for each outcome. Tools recognise them, so they stay the same
// when the code moves.
struct WaitLines {
    unsigned long noHandle;
    unsigned long abandoned;
    unsigned long timedOut;
};
constexpr WaitLines kLines = {52, 60, 65};
constexpr WaitLines kTimedLines = {88, 96, 101};

Result Fail(Code aCode, unsigned long aLine, const char* aMessage) {
    const DWORD error = ::GetLastError();
    return ReportError(Result(aCode), kSource, aLine, aMessage, error);
}

Result WaitFor(HANDLE aHandle, DWORD aTimeout, const WaitLines& aLines) {
    if (aHandle == nullptr) {
        return Fail(Code::InvalidHandle, aLines.noHandle,
                    "The constructor of object failed or application try to access deleted object");
    }
    switch (::WaitForSingleObject(aHandle, aTimeout)) {
        case WAIT_ABANDONED:
            return Fail(Code::SystemCallFailed, aLines.abandoned,
                        "Wait returned because the object was abandonned");
        case WAIT_TIMEOUT:
            return Fail(Code::TimedOut, aLines.timedOut, "Wait returned because of a time-out");
        default:
            return Result(Code::Success);
    }
}

}  // namespace

Synchro::Synchro() : handle_(nullptr) {}

Synchro::~Synchro() {
    if (handle_ != nullptr) ::CloseHandle(handle_);
    handle_ = nullptr;
}

Result Synchro::WaitUntilSignaled(unsigned long aTimeout) {
    return WaitFor(handle_, aTimeout, kTimedLines);
}

Result Synchro::WaitUntilSignaled() { return WaitFor(handle_, INFINITE, kLines); }

}  // namespace QvUserLib
