// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceRequestQueue.h"

#include <cstdlib>

#include "QvUserLib/DeviceConnection.h"
#include "ReportError.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr char kSource[] = ".\\DeviceRequestQueue";

constexpr char kAllocateFirst[] = "Allocate first";

Result Fail(Code aCode, unsigned long aLine, const char* aMessage) {
    return ReportError(Result(aCode), kSource, aLine, "%s", aMessage);
}

// Waits, without limit, until the system has written the outcome of a request to its record. Unlike
// the connection's wait this needs no open device.
void WaitUntilCompleted(OVERLAPPED& aRequest) {
    if (HasOverlappedIoCompleted(&aRequest)) return;
    if (aRequest.hEvent != nullptr) ::WaitForSingleObject(aRequest.hEvent, INFINITE);
    // Without an event, poll for the outcome.
    while (!HasOverlappedIoCompleted(&aRequest)) ::Sleep(/*dwMilliseconds=*/1);
}

}  // namespace

DeviceRequestQueue::DeviceRequestQueue()
    : requests_(nullptr),
      count_(0),
      connection_(nullptr),
      nextToHandOut_(0),
      nextToComplete_(0),
      processed_(0) {}

DeviceRequestQueue::~DeviceRequestQueue() {
    // The driver may write to the records until it has completed them. Their outcomes do not
    // matter.
    (void)Wait();
    for (unsigned long index = 0; index < count_; ++index) {
        // If the device was closed, neither Wait nor earlier collections waited for the request.
        WaitUntilCompleted(requests_[index]);
        if (requests_[index].hEvent != nullptr) ::CloseHandle(requests_[index].hEvent);
    }
    std::free(requests_);
    if (connection_ != nullptr) connection_->Unlock();
}

Result DeviceRequestQueue::Allocate(unsigned int aCount, DeviceConnection* aConnection) {
    if (aCount == 0) return Fail(Code::InvalidArgument, __LINE__, "Length must be grater than 0");
    if (aConnection == nullptr) {
        return Fail(Code::InvalidArgument, __LINE__, "A connection must be specified");
    }
    if (requests_ != nullptr) return Fail(Code::NotAllowed, __LINE__, "Already allcated");

    auto* const requests = static_cast<OVERLAPPED*>(std::calloc(aCount, sizeof(OVERLAPPED)));
    if (requests == nullptr) return Fail(Code::OutOfMemory, __LINE__, "Not enough memory");
    for (unsigned int index = 0; index < aCount; ++index) {
        // If no event can be created, the connection polls.
        requests[index].hEvent = ::CreateEventA(nullptr, /*bManualReset=*/TRUE,
                                                /*bInitialState=*/FALSE, nullptr);
    }

    requests_ = requests;
    count_ = aCount;
    connection_ = aConnection;
    connection_->Lock();
    return Result(Code::Success);
}

void* DeviceRequestQueue::GetNextAvailableRequest() {
    if (requests_ == nullptr) {
        (void)Fail(Code::NotAllowed, __LINE__, kAllocateFirst);  // The caller gets null.
        return nullptr;
    }
    const unsigned long next = (nextToHandOut_ + 1) % count_;
    if (next == nextToComplete_) {
        lastResult_ = GetNextResult(&processed_);
        if (lastResult_.IsFailure()) return nullptr;
    }
    OVERLAPPED& request = requests_[nextToHandOut_];
    // If it was collected while the device was closed, it may still be in flight.
    WaitUntilCompleted(request);
    // If the next request never reaches the driver, the last one's outcome must not count as its
    // outcome.
    request.Internal = 0;
    request.InternalHigh = 0;
    nextToHandOut_ = next;
    return &request;
}

Result DeviceRequestQueue::GetNextResult(unsigned long* aProcessed) {
    if (aProcessed == nullptr) {
        return Fail(
            Code::InvalidArgument, __LINE__,
            "The caller must specify an address where to put the number of processed bytes");
    }
    if (requests_ == nullptr) return Fail(Code::NotAllowed, __LINE__, kAllocateFirst);
    if (IsEmpty()) return Fail(Code::NotAllowed, __LINE__, "No pending request");
    return CompleteOldest(aProcessed);
}

Result DeviceRequestQueue::Wait() {
    Result combined(Code::Success);
    while (!IsEmpty()) combined |= CompleteOldest(&processed_);
    lastResult_ = combined;
    return combined;
}

Result DeviceRequestQueue::CompleteOldest(unsigned long* aProcessed) {
    const Result result = connection_->GetOverlappedResult(&requests_[nextToComplete_], aProcessed,
                                                           /*aWait=*/true);
    nextToComplete_ = (nextToComplete_ + 1) % count_;
    return result;
}

bool DeviceRequestQueue::IsEmpty() const { return nextToComplete_ == nextToHandOut_; }

}  // namespace QvUserLib
