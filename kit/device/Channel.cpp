// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Channel.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "OpenDevice.h"
#include "QvKit/Clock.h"
#include "QvUserLib/ErrorLog.h"
#include "RequestMemory.h"
#include "SlimLock.h"

namespace QvKit {
namespace {

using QvBaseLib::KernelHandle;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using DeviceHandle = std::shared_ptr<const KernelHandle>;

class HandleRequest final : public Request {
public:
    HandleRequest(DeviceHandle aDevice, std::size_t aCapacity, milliseconds aCancelLimit)
        : device_(std::move(aDevice)),
          capacity_(aCapacity),
          cancelLimit_(aCancelLimit),
          memory_(std::make_unique<RequestMemory>(aCapacity)) {}

    ~HandleRequest() override;
    unsigned char* GetBuffer() override { return Memory().buffer.data(); }
    std::size_t GetCapacity() const override { return capacity_; }

    void Read(std::size_t aSize) override;
    void Write(std::size_t aSize) override;
    void Control(unsigned long aCode, std::size_t aInSize, std::size_t aOutSize) override;
    bool WaitFor(milliseconds aLimit, const StopSignal* aStop, const StopSignal* aOther) override;
    void Cancel() override;
    Outcome Take() override;

private:
    static nanoseconds Now() { return Clock::GetSystemClock().GetTime(); }

    // Whether a status of the kernel is neither a success nor a warning, so that no bytes came.
    static bool IsError(ULONG_PTR aStatus) { return static_cast<ULONG>(aStatus) >> 30 == 3; }

    RequestMemory& Memory();
    RequestMemory& Begin();

    // To be called with what the system returned, before anything else is asked of it.
    void Note(BOOL aDone);

    // The limit, or what is left of it for a request that was cancelled.
    milliseconds Bound(milliseconds aLimit) const;
    bool AwaitCompletion(milliseconds aLimit, const StopSignal* aStop, const StopSignal* aOther);
    Outcome GiveUp();

    const DeviceHandle device_;
    const std::size_t capacity_;
    const milliseconds cancelLimit_;
    // Only the request's own thread changes it, with the lock. So only `Cancel` needs the lock to
    // read it.
    SlimLock lock_;
    std::unique_ptr<RequestMemory> memory_;       // Null after the request was given up.
    std::atomic<nanoseconds::rep> cancelled_{0};  // When; 0 for a request that was not.
    bool isPending_ = false;
    bool isRefused_ = false;
    DWORD error_ = ERROR_SUCCESS;  // Of a request that was refused, or has been taken.
};

HandleRequest::~HandleRequest() {
    if (!isPending_) return;
    Cancel();
    (void)Take();  // That the device has let go of the memory is all that counts.
}

void HandleRequest::Read(std::size_t aSize) {
    RequestMemory& memory = Begin();
    Note(::ReadFile(device_->Get(), memory.buffer.data(), static_cast<DWORD>(aSize), nullptr,
                    &memory.record));
}

void HandleRequest::Write(std::size_t aSize) {
    RequestMemory& memory = Begin();
    Note(::WriteFile(device_->Get(), memory.buffer.data(), static_cast<DWORD>(aSize), nullptr,
                     &memory.record));
}

void HandleRequest::Control(unsigned long aCode, std::size_t aInSize, std::size_t aOutSize) {
    RequestMemory& memory = Begin();
    unsigned char* const bytes = memory.buffer.data();
    Note(::DeviceIoControl(device_->Get(), aCode, bytes, static_cast<DWORD>(aInSize),
                           bytes + GetOutputOffset(aInSize), static_cast<DWORD>(aOutSize), nullptr,
                           &memory.record));
}

bool HandleRequest::WaitFor(milliseconds aLimit, const StopSignal* aStop,
                            const StopSignal* aOther) {
    return !isPending_ || AwaitCompletion(aLimit, aStop, aOther);
}

void HandleRequest::Cancel() {
    const std::lock_guard<SlimLock> guard(lock_);
    if (memory_ == nullptr) return;
    nanoseconds::rep never = 0;
    cancelled_.compare_exchange_strong(never, Now().count());
    ::CancelIoEx(device_->Get(), &memory_->record);
    // A thread that waits without limit has one now.
    ::SetEvent(memory_->event.Get());
}

auto HandleRequest::Take() -> Outcome {
    if (!isPending_) return {error_, 0, isRefused_};
    isPending_ = false;
    if (!AwaitCompletion(kNoLimit, /*aStop=*/nullptr, /*aOther=*/nullptr)) return GiveUp();

    OVERLAPPED& record = memory_->record;
    DWORD size = 0;
    const BOOL done = ::GetOverlappedResult(device_->Get(), &record, &size, /*bWait=*/FALSE);
    const DWORD error = ::GetLastError();
    error_ = done ? ERROR_SUCCESS : error;
    return {error_, IsError(record.Internal) ? 0 : size};
}

RequestMemory& HandleRequest::Memory() {
    if (memory_ == nullptr) {
        auto memory = std::make_unique<RequestMemory>(capacity_);
        const std::lock_guard<SlimLock> guard(lock_);
        memory_ = std::move(memory);
    }
    return *memory_;
}

RequestMemory& HandleRequest::Begin() {
    RequestMemory& memory = Memory();
    memory.record = {};
    memory.record.hEvent = memory.event.Get();
    cancelled_ = 0;
    return memory;
}

void HandleRequest::Note(BOOL aDone) {
    const DWORD error = aDone ? ERROR_SUCCESS : ::GetLastError();
    // Also what is complete already is taken from the record.
    isPending_ = error == ERROR_SUCCESS || error == ERROR_IO_PENDING || error == ERROR_MORE_DATA;
    isRefused_ = !isPending_;
    error_ = error;
    // Somebody may have cancelled it before it was there to be cancelled.
    if (cancelled_ != 0) ::CancelIoEx(device_->Get(), &memory_->record);
}

milliseconds HandleRequest::Bound(milliseconds aLimit) const {
    const nanoseconds cancelled(cancelled_);
    if (cancelled.count() == 0) return aLimit;
    return std::min(aLimit, std::chrono::ceil<milliseconds>(cancelled - Now()) + cancelLimit_);
}

bool HandleRequest::AwaitCompletion(milliseconds aLimit, const StopSignal* aStop,
                                    const StopSignal* aOther) {
    const HANDLE event = memory_->event.Get();
    HANDLE events[3] = {event};
    DWORD count = 1;
    for (const StopSignal* const stop : {aStop, aOther}) {
        if (stop != nullptr) events[count++] = stop->GetEvent();
    }
    // Looked at first, to spare the system's wait when the device is faster than this program.
    while (!HasOverlappedIoCompleted(&memory_->record)) {
        if (::WaitForMultipleObjects(count, events, /*bWaitAll=*/FALSE,
                                     ToSystemWait(Bound(aLimit))) != WAIT_OBJECT_0) {
            return HasOverlappedIoCompleted(&memory_->record);
        }
        if (HasOverlappedIoCompleted(&memory_->record)) return true;
        // `Cancel` has set the event. Reset first and look afterwards: a request that completes
        // later sets it again.
        ::ResetEvent(event);
    }
    return true;
}

auto HandleRequest::GiveUp() -> Outcome {
    {
        const std::lock_guard<SlimLock> guard(lock_);
        LeaveToDriver(std::move(memory_));
    }
    error_ = ERROR_OPERATION_ABORTED;
    return {error_, 0, /*isRefused=*/false, /*isGivenUp=*/true};
}

class HandleChannel final : public Channel {
public:
    HandleChannel(KernelHandle aDevice, milliseconds aCancelLimit)
        : device_(std::make_shared<const KernelHandle>(std::move(aDevice))),
          cancelLimit_(aCancelLimit) {}

    std::unique_ptr<Request> MakeRequest(std::size_t aCapacity) override {
        return std::make_unique<HandleRequest>(device_, aCapacity, cancelLimit_);
    }

    void CancelAll() override { ::CancelIoEx(device_->Get(), /*lpOverlapped=*/nullptr); }

private:
    const DeviceHandle device_;
    const milliseconds cancelLimit_;
};

}  // namespace

std::unique_ptr<Channel> OpenChannel(const DeviceAddress& aDevice, milliseconds aCancelLimit) {
    OpenedDevice opened = OpenDevice(aDevice);
    if (!opened.handle.IsValid()) {
        // In the words of the library's own connection. Without a file the log keeps nothing.
        (void)QvUserLib::ErrorLog::GetErrorLog().WriteError(QvUserLib::Result(opened.error),
                                                            ".\\DeviceConnection", __LINE__, "%s",
                                                            "CreateFile failed");
        throw ExplainOpening(aDevice, opened.error);
    }
    return std::make_unique<HandleChannel>(std::move(opened.handle), aCancelLimit);
}

}  // namespace QvKit
