// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_RAWREQUEST_H
#define QVKIT_RAWREQUEST_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

#include "QvKit/BoundedConnection.h"
#include "QvKit/Error.h"

namespace QvKit {

/// What became of one request of any kind to any device.
struct RawAnswer {
    std::vector<unsigned char> bytes;  ///< What the device returned.
    std::size_t size = 0;  ///< The device's count; more than were there room for, perhaps.
    std::chrono::nanoseconds time{0};  ///< From sending the request to the answer.

    /// Why it failed: `ErrorKind::DeviceFailed`, with the system's code, `ErrorKind::TimedOut`,
    /// `ErrorKind::Cancelled` or `ErrorKind::Closed`. There may be bytes all the same, as with 234
    /// (ERROR_MORE_DATA).
    std::optional<Error> error;
};

// Each sends one request, within the limits of the connection. Any thread may call them.

/// Sends an I/O-control request with this input and room for so much output, in bytes.
RawAnswer SendControl(BoundedConnection& aConnection, unsigned long aCode,
                      const std::vector<unsigned char>& aInput, std::size_t aOutputSize);

/// Reads at most `aSize` bytes, 1 at least.
RawAnswer ReadBytes(BoundedConnection& aConnection, std::size_t aSize);

/// Writes the bytes, one at least. None come back; `RawAnswer::size` is how many the device took.
RawAnswer WriteBytes(BoundedConnection& aConnection, const std::vector<unsigned char>& aBytes);

}  // namespace QvKit

#endif
