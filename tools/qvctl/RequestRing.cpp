// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "RequestRing.h"

#include "LibraryError.h"

namespace Qvctl {

using QvUserLib::Result;

RequestRing::RequestRing(QvUserLib::DeviceConnection& aConnection, unsigned int aDepth,
                         std::size_t aSize)
    : connection_(aConnection), size_(aSize), buffers_(aDepth * aSize), records_(aDepth) {
    // The queue keeps one record back.
    const Result allocated = queue_.Allocate(aDepth + 1, &aConnection);
    if (allocated.IsFailure()) throw DriverFailure("cannot queue requests", allocated);
}

RequestRing::~RequestRing() {
    CancelAll();
    while (!IsEmpty()) (void)TakeOldest();  // That they are over is all that counts.
    if (released_ != nullptr) ::CloseHandle(released_);
}

void RequestRing::Read() {
    unsigned char* const buffer = GetNextBuffer();
    unsigned long size = 0;
    // The record reports a refusal when it is collected.
    (void)connection_.Read(buffer, static_cast<unsigned int>(size_), &size, HandOut());
}

void RequestRing::Write(std::size_t aSize) {
    const unsigned char* const buffer = GetNextBuffer();
    unsigned long size = 0;
    // As for a read.
    (void)connection_.Write(buffer, static_cast<unsigned int>(aSize), &size, HandOut());
}

unsigned char* RequestRing::GetNextBuffer() { return BufferOf(next_); }

void* RequestRing::HandOut() {
    // Never null, as one record at least is not pending.
    void* const record = queue_.GetNextAvailableRequest();
    records_[next_] = static_cast<OVERLAPPED*>(record);
    next_ = (next_ + 1) % static_cast<unsigned int>(records_.size());
    ++pending_;
    return record;
}

bool RequestRing::WaitForOldest(const Event& aStop, DWORD aTimeoutMs) const {
    const OVERLAPPED* const record = records_[oldest_];
    // Spares the system's wait when the device is faster than this program.
    if (HasOverlappedIoCompleted(record)) return true;
    const HANDLE events[] = {record->hEvent, aStop.GetHandle()};
    return ::WaitForMultipleObjects(ARRAYSIZE(events), events, /*bWaitAll=*/FALSE, aTimeoutMs) ==
           WAIT_OBJECT_0;
}

RequestRing::Outcome RequestRing::TakeOldest() {
    const Outcome outcome = Collect(oldest_);
    oldest_ = (oldest_ + 1) % static_cast<unsigned int>(records_.size());
    --pending_;
    return outcome;
}

RequestRing::Outcome RequestRing::Collect(unsigned int aSlot) {
    unsigned long size = 0;
    if (released_ == nullptr) {
        const Result result = queue_.GetNextResult(&size);
        return {result.IsFailure() ? result.GetCode() : 0, BufferOf(aSlot), size};
    }
    const BOOL done = ::GetOverlappedResult(released_, records_[aSlot], &size, /*bWait=*/TRUE);
    const DWORD error = ::GetLastError();
    // Only strikes it off: what became of it is known.
    unsigned long ignored = 0;
    (void)queue_.GetNextResult(&ignored);
    return {done ? 0 : error, BufferOf(aSlot), size};
}

void RequestRing::CancelAll() {
    if (IsEmpty() || released_ != nullptr) return;
    // A connection shows its handle only to whom it gives it for good.
    released_ = connection_.ReleaseHandle();
    // The queue asks its connection about requests, even about those that are over, and a
    // connection with nothing open would report an error for each. This changes nothing about the
    // requests.
    (void)connection_.Connect("NUL");
    ::CancelIoEx(released_, /*lpOverlapped=*/nullptr);
}

}  // namespace Qvctl
