// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_REQUESTLIMITS_H
#define QVKIT_REQUESTLIMITS_H

#include <chrono>

#include "QvKit/StopSignal.h"

namespace QvKit {

/// How long a request that was cancelled is waited for, unless a channel is opened with another
/// limit.
constexpr std::chrono::milliseconds kCancelLimit = std::chrono::seconds(1);

/// How long a program waits for its device.
struct RequestLimits {
    /// For a request; `kNoLimit` for any time.
    std::chrono::milliseconds request = std::chrono::seconds(5);
    /// For a request that was cancelled. With a channel of your own: what it was opened with.
    std::chrono::milliseconds cancel = kCancelLimit;
    /// Ends every request, also those that begin later. Borrowed; may be null.
    const StopSignal* stop = nullptr;
};

}  // namespace QvKit

#endif
