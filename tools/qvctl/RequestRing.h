// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Requests in flight on a device, each with a buffer of its own, collected in their order.

#ifndef QVCTL_REQUESTRING_H
#define QVCTL_REQUESTRING_H

#include <cstddef>
#include <vector>

#include "Event.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceRequestQueue.h"
#include "WindowsApi.h"

namespace Qvctl {

// The library's queue, with what a program that must be able to stop needs besides: a wait for the
// oldest request that can be given up, and the cancelling of all. Nothing is allocated for a
// request. For one thread.
class RequestRing {
public:
    // What became of a request. The bytes are valid until the next request is sent.
    struct Outcome {
        unsigned long error;  // Of the system or the library; 0 for a success.
        const unsigned char* bytes;
        std::size_t size;
    };

    // `aDepth` requests can be in flight, each of at most `aSize` bytes. The connection is
    // borrowed. Throws `Failure` when the library refuses.
    RequestRing(QvUserLib::DeviceConnection& aConnection, unsigned int aDepth, std::size_t aSize);

    // Cancels what is pending, and waits until the device has let go of it.
    ~RequestRing();

    RequestRing(const RequestRing&) = delete;
    RequestRing& operator=(const RequestRing&) = delete;

    bool IsEmpty() const { return pending_ == 0; }
    bool IsFull() const { return pending_ == records_.size(); }
    unsigned int GetPending() const { return pending_; }

    // Sends a request; there must be room for it. A refusal is the outcome that is collected later.
    void Read();
    // The first bytes of the next buffer are written.
    void Write(std::size_t aSize);
    unsigned char* GetNextBuffer();

    // Waits until the oldest request has been completed: answers false when the event was set or
    // the time, in ms, was over before.
    bool WaitForOldest(const Event& aStop, DWORD aTimeoutMs) const;

    // Collects the oldest request, waiting for it without limit.
    Outcome TakeOldest();

    // Cancels every request that is pending. They still have to be collected; no other can be sent
    // from now on, as the connection has given the device away.
    void CancelAll();

private:
    void* HandOut();
    unsigned char* BufferOf(unsigned int aSlot) { return buffers_.data() + aSlot * size_; }
    Outcome Collect(unsigned int aSlot);

    QvUserLib::DeviceConnection& connection_;
    std::size_t size_;
    std::vector<unsigned char> buffers_;
    std::vector<OVERLAPPED*> records_;  // Those of the pending requests, borrowed from the queue.
    unsigned int next_ = 0;             // The slot of the next request.
    unsigned int oldest_ = 0;
    unsigned int pending_ = 0;
    HANDLE released_ = nullptr;  // The device, once requests have been cancelled.
    // Goes first: it waits for its requests, which use the buffers.
    QvUserLib::DeviceRequestQueue queue_;
};

}  // namespace Qvctl

#endif
