// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_CHANNEL_H
#define QVKIT_CHANNEL_H

#include <chrono>
#include <cstddef>
#include <memory>

#include "QvKit/DeviceList.h"
#include "QvKit/RequestLimits.h"
#include "QvKit/StopSignal.h"

namespace QvKit {

/// One request to a device, with its memory: submitted, completed in its own time, and then used
/// again. Nothing is allocated between. A channel makes it; it may outlive the channel.
///
/// A driver that ignores cancelling cannot hold up the program. When the channel's limit is over,
/// the request is given up: its memory stays there for the driver, which may still write to it, and
/// is freed when the driver completes the request.
///
/// | which thread | what it may do |
/// |---|---|
/// | one at a time | Everything but `Cancel`. It submits only when nothing is pending. |
/// | any | Calls `Cancel`. A thread that waits then does so for the channel's limit at most. |
/// | the one that submitted | Ends when its requests have ended. The system cancels the others. |
class Request {
public:
    /// How a request ended.
    struct Outcome {
        unsigned long error;  ///< The system's; 0 for a success.
        /// How many bytes were moved. Not 0 also for a warning, such as 234 (ERROR_MORE_DATA).
        std::size_t size;
        bool isRefused = false;  ///< The system refused the request, which was never pending.
        bool isGivenUp = false;  ///< The driver has ignored that the request was cancelled.
    };

    Request() = default;
    /// Cancels the request if it is pending, and takes it. So this waits for the channel's limit at
    /// most.
    virtual ~Request() = default;

    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// The memory, as large as it was asked for: what is written or sent to the device, and what
    /// was read. The device may change it while the request is pending. A request that was given up
    /// has new memory.
    ///
    /// After such a request this throws `Error`, `ErrorKind::SystemFailed`, when the system has no
    /// event left. So does submitting.
    virtual unsigned char* GetBuffer() = 0;
    /// The size of the memory in bytes.
    virtual std::size_t GetCapacity() const = 0;

    /// @name Submitting
    ///
    /// Each returns at once. If the device refuses the request, that is its outcome.
    ///
    /// @{

    /// Reads at most `aSize` bytes into the buffer.
    virtual void Read(std::size_t aSize) = 0;

    /// Writes the first `aSize` bytes of the buffer.
    virtual void Write(std::size_t aSize) = 0;

    /// Sends an I/O-control request whose input is the first `aInSize` bytes of the buffer. The
    /// `aOutSize` bytes from `GetOutputOffset` on are for its output, and are sent with requests
    /// that are not buffered.
    virtual void Control(unsigned long aCode, std::size_t aInSize, std::size_t aOutSize) = 0;

    /// Where the output of an I/O-control request with so much input begins: 0 without input.
    static constexpr std::size_t GetOutputOffset(std::size_t aInSize) {
        constexpr std::size_t kAlignment = 16;
        return (aInSize + kAlignment - 1) / kAlignment * kAlignment;
    }

    /// @}

    /// Waits until the request is complete. Returns false when a signal was requested or the time
    /// was over before, or the channel's limit for a request that was cancelled. Signals may be
    /// null.
    virtual bool WaitFor(std::chrono::milliseconds aLimit, const StopSignal* aStop,
                         const StopSignal* aOther) = 0;
    /// The same with one signal.
    bool WaitFor(std::chrono::milliseconds aLimit, const StopSignal* aStop) {
        return WaitFor(aLimit, aStop, /*aOther=*/nullptr);
    }

    /// Asks the device to end the request early. It still has to be taken; it ends with error 995
    /// (ERROR_OPERATION_ABORTED), or as it would have ended without this.
    virtual void Cancel() = 0;

    /// Takes the outcome. The request may be submitted again then.
    ///
    /// Waits without limit for a request that was not cancelled. One that was cancelled is given up
    /// when the channel's limit is over, counted from `Cancel` on. Its outcome is 995.
    virtual Outcome Take() = 0;
};

/// What a program and a device exchange: requests. The one seam at which a device can be replaced,
/// recorded or disturbed.
///
/// Any thread may use a channel.
class Channel {
public:
    Channel() = default;
    /// Requests that were made keep the device open.
    virtual ~Channel() = default;

    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// @param aCapacity  The size of the request's memory in bytes, 1 at least.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no event left.
    virtual std::unique_ptr<Request> MakeRequest(std::size_t aCapacity) = 0;

    /// Asks the device to end all requests that are pending. The channel can be used as before.
    /// This limits no wait: only `Request::Cancel` does.
    virtual void CancelAll() = 0;
};

/// Opens a device for requests, with a handle of its own. The system opens devices without a limit:
/// a driver that blocks there blocks the calling thread.
///
/// @param aCancelLimit  How long a request that was cancelled is waited for before it is given up.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice` when a path that is not from the list does not open;
/// `ErrorKind::DeviceFailed` when a listed device does not open.
std::unique_ptr<Channel> OpenChannel(const DeviceAddress& aDevice,
                                     std::chrono::milliseconds aCancelLimit = kCancelLimit);

/// How many requests of this process were given up and have not been completed by their drivers
/// since. Any thread may call it.
std::size_t CountGivenUpRequests();

}  // namespace QvKit

#endif
