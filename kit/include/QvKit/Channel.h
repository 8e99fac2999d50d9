// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_CHANNEL_H
#define QVKIT_CHANNEL_H

#include <chrono>
#include <cstddef>
#include <memory>

#include "QvKit/DeviceList.h"
#include "QvKit/StopSignal.h"

namespace QvKit {

/// One request to a device, with its memory: submitted, completed in its own time, and then used
/// again. Nothing is allocated between. A channel makes it; it may outlive the channel.
///
/// Submit it from one thread at a time, and only when it is not pending. Any thread may cancel it
/// meanwhile.
class Request {
public:
    struct Outcome {
        unsigned long error;  ///< The system's; 0 for a success.
        std::size_t size;     ///< How many bytes were moved.
    };

    Request() = default;
    /// Cancels the request if it is pending, and waits until the device has let go of its memory.
    virtual ~Request() = default;

    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// The memory, as large as it was asked for: what is written or sent to the device, and what
    /// was read. The device may change it while the request is pending.
    virtual unsigned char* GetBuffer() = 0;
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

    /// Sends an I/O-control request whose input is the first `aInSize` bytes of the buffer. Its
    /// output, of at most `aOutSize` bytes, replaces them.
    virtual void Control(unsigned long aCode, std::size_t aInSize, std::size_t aOutSize) = 0;

    /// @}

    /// Waits until the request is complete. Returns false when `aStop` was requested or the time
    /// was over before. `aStop` may be null.
    virtual bool WaitFor(std::chrono::milliseconds aLimit, const StopSignal* aStop) = 0;

    /// Asks the device to end the request early. It still has to be taken; it ends with error 995
    /// (ERROR_OPERATION_ABORTED), or as it would have ended without this.
    virtual void Cancel() = 0;

    /// Takes the outcome, waiting for it without limit. The request may be submitted again then.
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

    /// Cancels all requests that are pending. The channel can be used as before.
    virtual void CancelAll() = 0;
};

/// Opens a device for requests, with a handle of its own.
///
/// Throws `Error`: `ErrorKind::NoSuchDevice` when a path that is not from the list does not open;
/// `ErrorKind::DeviceFailed` when a listed device does not open.
std::unique_ptr<Channel> OpenChannel(const DeviceAddress& aDevice);

}  // namespace QvKit

#endif
