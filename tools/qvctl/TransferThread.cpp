// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "TransferThread.h"

#include <exception>

#include "LibraryError.h"

namespace Qvctl {

using QvUserLib::Code;
using QvUserLib::Result;

TransferThread::TransferThread() : Thread(PriorityNormal) {}

void TransferThread::Start() {
    const Result started = StartThread();
    if (started.IsFailure()) throw DriverFailure("cannot start the transfer", started);
}

void TransferThread::RequestStop() {
    (void)StopThread();  // It fails when the thread has ended already.
    stop_.Set();
}

void TransferThread::StopAndWait() {
    if (handle_ == nullptr) return;
    RequestStop();
    ::WaitForSingleObject(handle_, INFINITE);
}

void TransferThread::Fail(const Failure& aFailure) {
    if (!failure_) failure_ = aFailure;
}

void TransferThread::CountCompletion() {
    const std::uint64_t now = stopwatch_.GetNanoseconds();
    if (lastCompletion_) intervals_.Add(now - *lastCompletion_);
    lastCompletion_ = now;
}

Result TransferThread::Execute() {
    stopwatch_ = Stopwatch();
    try {
        Transfer();
    } catch (const Failure& failure) {
        Fail(failure);
    } catch (const std::exception& exception) {
        Fail(Failure(ExitCode::Failed, exception.what()));
    }
    StopTheClock();
    return failure_ ? Result(Code::SystemCallFailed) : Result(Code::Success);
}

}  // namespace Qvctl
