// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "RequestMemory.h"

#include <atomic>

#include "QvKit/Channel.h"

namespace QvKit {
namespace {

// Of the whole process: the memory has no other owner.
std::atomic<std::size_t> theCount{0};

void CALLBACK FreeMemory(PTP_CALLBACK_INSTANCE, void* aMemory, PTP_WAIT aWait, TP_WAIT_RESULT) {
    ::CloseThreadpoolWait(aWait);
    delete static_cast<RequestMemory*>(aMemory);
    --theCount;
}

}  // namespace

void LeaveToDriver(std::unique_ptr<RequestMemory> aMemory) {
    // `Request::Cancel` may have set the event. Reset first and look afterwards: a request that
    // completes later sets it again.
    ::ResetEvent(aMemory->event.Get());
    if (HasOverlappedIoCompleted(&aMemory->record)) return;

    ++theCount;
    // Without a wait the memory is lost. Freeing it would be worse.
    RequestMemory* const memory = aMemory.release();
    const PTP_WAIT wait = ::CreateThreadpoolWait(&FreeMemory, memory, nullptr);
    if (wait != nullptr) ::SetThreadpoolWait(wait, memory->event.Get(), nullptr);
}

std::size_t CountGivenUpRequests() { return theCount; }

}  // namespace QvKit
