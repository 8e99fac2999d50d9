// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "CtrlC.h"

#include <atomic>

#include "WindowsApi.h"

namespace Qvctl {
namespace {

// The system calls the handler without an argument of ours, on a thread of its own.
std::atomic<const CtrlC*> receiver{nullptr};

BOOL WINAPI HandleConsoleEvent(DWORD aEvent) {
    if (aEvent != CTRL_C_EVENT && aEvent != CTRL_BREAK_EVENT) return FALSE;
    const CtrlC* const ctrlC = receiver.load();
    return ctrlC != nullptr && ctrlC->Press() ? TRUE : FALSE;
}

}  // namespace

CtrlC::CtrlC() {
    receiver.store(this);
    // A process of a new process group is started with Ctrl-C ignored.
    ::SetConsoleCtrlHandler(nullptr, /*Add=*/FALSE);
    ::SetConsoleCtrlHandler(HandleConsoleEvent, /*Add=*/TRUE);
}

CtrlC::~CtrlC() {
    ::SetConsoleCtrlHandler(HandleConsoleEvent, /*Add=*/FALSE);
    receiver.store(nullptr);
}

bool CtrlC::Press() const {
    if (stop_.IsRequested()) return false;
    stop_.Request();
    return true;
}

QvKit::Error Interrupted() { return QvKit::Error(QvKit::ErrorKind::Cancelled, "interrupted"); }

}  // namespace Qvctl
