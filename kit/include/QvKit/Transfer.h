// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_TRANSFER_H
#define QVKIT_TRANSFER_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <optional>

#include "QvKit/Clock.h"
#include "QvKit/Error.h"
#include "QvKit/IntervalStatistics.h"
#include "QvKit/StopSignal.h"

namespace QvKit {

/// How far a transfer has come. The transfer's thread writes, any other reads; the numbers are not
/// tied to each other.
class TransferProgress {
public:
    /// How many packets or requests were moved so far.
    std::uint64_t GetItems() const { return items_.load(std::memory_order_relaxed); }
    /// How many bytes were moved so far.
    std::uint64_t GetBytes() const { return bytes_.load(std::memory_order_relaxed); }

    /// The driver's count of packets it dropped.
    std::uint64_t GetDropped() const { return dropped_.load(std::memory_order_relaxed); }

    /// How much of what was asked for is done, from 0 to 1; nothing when there is no end to it.
    std::optional<double> GetDone() const;

    /// Whether the transfer is on its way to its end, as it has to be stopped or is complete.
    bool IsStopping() const { return isStopping_.load(std::memory_order_relaxed); }

    /// @name For the transfer
    /// @{

    /// Stores the three counts.
    void SetCounts(std::uint64_t aItems, std::uint64_t aBytes, std::uint64_t aDropped);
    /// Stores how much is done, from 0 to 1.
    void SetDone(double aDone) { done_.store(aDone, std::memory_order_relaxed); }
    /// Says that the transfer is on its way to its end.
    void SetStopping() { isStopping_.store(true, std::memory_order_relaxed); }

    /// @}

private:
    std::atomic<std::uint64_t> items_{0};
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<std::uint64_t> dropped_{0};
    std::atomic<double> done_{-1};  // Negative for a transfer without an end.
    std::atomic<bool> isStopping_{false};
};

/// A transfer between a device and this program, on a thread of its own. Start it, wait for its
/// end, and read what it achieved. To stop it early, request its stop signal.
class Transfer {
public:
    /// Stops the transfer, if it runs, and waits for its end.
    virtual ~Transfer();

    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// To be called once.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the system has no thread left.
    void Start();

    /// Waits for the end of a transfer that was started. Returns whether it came before the time
    /// was over.
    bool WaitFor(std::chrono::milliseconds aLimit) const;

    /// How far it has come. May be read at any time.
    const TransferProgress& GetProgress() const { return progress_; }

    /// @name What may be read when the transfer has ended
    /// @{

    /// Why the transfer could not go on; nothing when it ended as it should or was stopped.
    const std::optional<Error>& GetError() const { return error_; }

    /// From the start to the moment from which no more requests were sent.
    std::chrono::nanoseconds GetTime() const { return time_; }

    /// The times between completed requests.
    const IntervalStatistics& GetIntervals() const { return intervals_; }

    /// @}

protected:
    /// Both are borrowed.
    Transfer(const StopSignal& aStop, const Clock& aClock);

    /// To be called first by the destructor of a derived class: the work uses its members.
    void StopAndWait();

    /// The work. An `Error` that it throws, or leaves with `Fail`, is how the transfer failed.
    virtual void Run() = 0;

    /// Keeps an error; the first one stays.
    void Fail(const Error& aError);

    /// Whether the work has to end.
    bool MustEnd() const { return error_ || stop_.IsRequested(); }
    /// Stops the work early.
    const StopSignal& GetStopSignal() const { return stop_; }
    /// The time since the start.
    std::chrono::nanoseconds GetElapsed() const { return stopwatch_.GetTime(); }
    /// For the work, which writes how far it has come.
    TransferProgress& ChangeProgress() { return progress_; }

    /// To be called for each request that the device has completed.
    void CountCompletion();

    /// To be called when no more requests are sent; otherwise the end of the work counts.
    void StopTheClock();

private:
    void Execute();

    const StopSignal& stop_;
    const Clock& clock_;
    TransferProgress progress_;
    std::future<void> end_;
    // The rest belongs to the thread until it has ended.
    Stopwatch stopwatch_;
    bool isClockStopped_ = false;
    std::chrono::nanoseconds time_{0};
    std::optional<std::chrono::nanoseconds> lastCompletion_;
    IntervalStatistics intervals_;
    std::optional<Error> error_;
};

}  // namespace QvKit

#endif
