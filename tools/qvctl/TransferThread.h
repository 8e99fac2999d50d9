// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A transfer between a device and this program, on a thread of its own.

#ifndef QVCTL_TRANSFERTHREAD_H
#define QVCTL_TRANSFERTHREAD_H

#include <cstdint>
#include <optional>

#include "Event.h"
#include "Failure.h"
#include "IntervalStatistics.h"
#include "QvUserLib/Thread.h"
#include "Stopwatch.h"
#include "TransferProgress.h"
#include "WindowsApi.h"

namespace Qvctl {

// Start it, ask it to stop when there is need to, and wait for its handle. What it achieved, failed
// or not, may be read when it has ended.
class TransferThread : public QvUserLib::Thread {
public:
    // Throws `Failure` when the system gives no thread.
    void Start();

    // Asks the transfer to end, and wakes it if it waits.
    void RequestStop();

    // Is set when the transfer has ended.
    HANDLE GetHandle() const { return handle_; }

    TransferProgress& GetProgress() { return progress_; }

    // Why the transfer could not go on; nothing when it ended as it should or was asked to.
    const std::optional<Failure>& GetFailure() const { return failure_; }

    double GetSeconds() const { return seconds_; }
    const IntervalStatistics& GetIntervals() const { return intervals_; }

protected:
    TransferThread();

    // To be called by the destructor of a derived class: the work uses its members.
    void StopAndWait();

    // The work. What it throws as a `Failure`, or leaves with `Fail`, is how the transfer failed.
    virtual void Transfer() = 0;

    // Keeps a failure; the first one stays.
    void Fail(const Failure& aFailure);

    // For the work: whether it has to end.
    bool MustEnd() const { return failure_ || IsStopping() || stop_.IsSet(); }
    const Event& GetStopEvent() const { return stop_; }
    const Stopwatch& GetStopwatch() const { return stopwatch_; }

    // To be called for each request that the device has completed.
    void CountCompletion();

    // To be called when no more requests are sent; otherwise the end of the work counts.
    void StopTheClock() {
        if (seconds_ == 0) seconds_ = stopwatch_.GetSeconds();
    }

private:
    QvUserLib::Result Execute() final;

    Event stop_;
    TransferProgress progress_;
    // The rest belongs to the thread until it has ended.
    Stopwatch stopwatch_;
    double seconds_ = 0;
    std::optional<std::uint64_t> lastCompletion_;  // In ns of the stopwatch.
    IntervalStatistics intervals_;
    std::optional<Failure> failure_;
};

}  // namespace Qvctl

#endif
