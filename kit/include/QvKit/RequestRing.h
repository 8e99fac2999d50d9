// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_REQUESTRING_H
#define QVKIT_REQUESTRING_H

#include <cstddef>
#include <memory>
#include <vector>

#include "QvKit/Channel.h"

namespace QvKit {

/// Requests in flight on a channel, taken in the order in which they were submitted. Nothing is
/// allocated for a request. For one thread.
class RequestRing {
public:
    /// What became of a request. The bytes are valid until the next request is submitted.
    struct Outcome {
        unsigned long error;         ///< The system's; 0 for a success.
        const unsigned char* bytes;  ///< What was read.
        std::size_t size;            ///< How many bytes were moved.
    };

    /// `aDepth` requests can be in flight, each of at most `aSize` bytes; both are 1 at least.
    ///
    /// Throws what `Channel::MakeRequest` throws.
    RequestRing(Channel& aChannel, unsigned int aDepth, std::size_t aSize);

    /// Cancels what is pending, and waits until the device has let go of it.
    ~RequestRing() { CancelAll(); }

    RequestRing(const RequestRing&) = delete;
    RequestRing& operator=(const RequestRing&) = delete;

    /// Whether no request is in flight.
    bool IsEmpty() const { return pending_ == 0; }
    /// Whether no more request can be submitted before one is taken.
    bool IsFull() const { return pending_ == requests_.size(); }
    /// How many requests are in flight.
    unsigned int GetPending() const { return pending_; }

    /// Submits a read; the ring must not be full. A refusal is the outcome that is taken later.
    void Read();
    /// Submits a write of the first `aSize` bytes of the next buffer, in the same way.
    void Write(std::size_t aSize);

    /// What the next `Write` writes.
    unsigned char* GetNextBuffer() { return requests_[next_]->GetBuffer(); }

    /// Waits until the oldest request is complete; the ring must not be empty. Returns false when
    /// `aStop` was requested or the time was over before.
    bool WaitForOldest(std::chrono::milliseconds aLimit, const StopSignal& aStop) {
        return requests_[oldest_]->WaitFor(aLimit, &aStop);
    }

    /// Takes the oldest request, waiting for it without limit; the ring must not be empty.
    Outcome TakeOldest();

    /// Cancels every request of this ring that is pending. They still have to be taken.
    void CancelAll();

private:
    Request& Advance();

    std::vector<std::unique_ptr<Request>> requests_;
    unsigned int next_ = 0;
    unsigned int oldest_ = 0;
    unsigned int pending_ = 0;
};

}  // namespace QvKit

#endif
