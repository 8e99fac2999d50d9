// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Channel.h"

#include <utility>
#include <vector>

#include "Event.h"
#include "OpenDevice.h"

namespace QvKit {
namespace {

using QvBaseLib::KernelHandle;
using DeviceHandle = std::shared_ptr<const KernelHandle>;

class HandleRequest final : public Request {
public:
    HandleRequest(DeviceHandle aDevice, std::size_t aCapacity)
        : device_(std::move(aDevice)), event_(CreateManualEvent()), buffer_(aCapacity) {}

    ~HandleRequest() override {
        if (!isPending_) return;
        Cancel();
        (void)Take();  // That the device has let go of the memory is all that counts.
    }

    unsigned char* GetBuffer() override { return buffer_.data(); }
    std::size_t GetCapacity() const override { return buffer_.size(); }

    void Read(std::size_t aSize) override {
        Begin();
        Note(::ReadFile(device_->Get(), buffer_.data(), static_cast<DWORD>(aSize), nullptr,
                        &record_));
    }

    void Write(std::size_t aSize) override {
        Begin();
        Note(::WriteFile(device_->Get(), buffer_.data(), static_cast<DWORD>(aSize), nullptr,
                         &record_));
    }

    void Control(unsigned long aCode, std::size_t aInSize, std::size_t aOutSize) override {
        Begin();
        Note(::DeviceIoControl(device_->Get(), aCode, buffer_.data(), static_cast<DWORD>(aInSize),
                               buffer_.data(), static_cast<DWORD>(aOutSize), nullptr, &record_));
    }

    bool WaitFor(std::chrono::milliseconds aLimit, const StopSignal* aStop) override {
        // Spares the system's wait when the device is faster than this program.
        if (!isPending_ || HasOverlappedIoCompleted(&record_)) return true;
        const HANDLE events[] = {event_.Get(), aStop == nullptr ? nullptr : aStop->GetEvent()};
        return ::WaitForMultipleObjects(aStop == nullptr ? 1 : 2, events, /*bWaitAll=*/FALSE,
                                        ToSystemWait(aLimit)) == WAIT_OBJECT_0;
    }

    void Cancel() override { ::CancelIoEx(device_->Get(), &record_); }

    Outcome Take() override {
        if (!isPending_) return {error_, 0};
        DWORD size = 0;
        const BOOL done = ::GetOverlappedResult(device_->Get(), &record_, &size, /*bWait=*/TRUE);
        const DWORD error = ::GetLastError();
        isPending_ = false;
        error_ = done ? ERROR_SUCCESS : error;
        return {error_, size};
    }

private:
    void Begin() {
        record_ = {};
        record_.hEvent = event_.Get();
    }

    // To be called with what the system returned, before anything else is asked of it.
    void Note(BOOL aDone) {
        const DWORD error = aDone ? ERROR_SUCCESS : ::GetLastError();
        // Also what is complete already is taken from the record.
        isPending_ = error == ERROR_SUCCESS || error == ERROR_IO_PENDING;
        error_ = error;
    }

    DeviceHandle device_;
    KernelHandle event_;
    std::vector<unsigned char> buffer_;
    OVERLAPPED record_ = {};
    bool isPending_ = false;
    DWORD error_ = ERROR_SUCCESS;  // Of a request that was refused, or has been taken.
};

class HandleChannel final : public Channel {
public:
    explicit HandleChannel(KernelHandle aDevice)
        : device_(std::make_shared<const KernelHandle>(std::move(aDevice))) {}

    std::unique_ptr<Request> MakeRequest(std::size_t aCapacity) override {
        return std::make_unique<HandleRequest>(device_, aCapacity);
    }

    void CancelAll() override { ::CancelIoEx(device_->Get(), /*lpOverlapped=*/nullptr); }

private:
    DeviceHandle device_;
};

}  // namespace

std::unique_ptr<Channel> OpenChannel(const DeviceAddress& aDevice) {
    OpenedDevice opened = OpenDevice(aDevice);
    if (!opened.handle.IsValid()) {
        throw aDevice.isListed
            ? SystemError(ErrorKind::DeviceFailed, "cannot open '" + aDevice.path + "'",
                          opened.error)
            : SystemError(ErrorKind::NoSuchDevice, "there is no device '" + aDevice.path + "'",
                          opened.error);
    }
    return std::make_unique<HandleChannel>(std::move(opened.handle));
}

}  // namespace QvKit
