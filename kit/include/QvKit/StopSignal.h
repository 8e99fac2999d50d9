// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_STOPSIGNAL_H
#define QVKIT_STOPSIGNAL_H

#include <chrono>
#include <memory>

namespace QvKit {

/// The limit of a wait that has none.
constexpr std::chrono::milliseconds kNoLimit = std::chrono::milliseconds::max();

/// Asks whatever waits for it to stop. Once requested it stays so. Any thread may use it at any
/// time, also a handler of Ctrl-C.
class StopSignal {
public:
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no event left.
    StopSignal();
    ~StopSignal();

    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Requests to stop.
    void Request() const;
    /// Whether that was requested.
    bool IsRequested() const;

    /// Waits for a request. Returns whether there was one before the time was over.
    bool WaitFor(std::chrono::milliseconds aLimit) const;

    /// Waits for a request of this signal or the other one. Returns whether there was one before
    /// the time was over.
    bool WaitForEither(const StopSignal& aOther, std::chrono::milliseconds aLimit) const;

    /// The Win32 event, for an implementation of `Request` that waits for more than this.
    void* GetEvent() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace QvKit

#endif
