// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/Transfer.h"

#include <exception>
#include <system_error>

namespace QvKit {

std::optional<double> TransferProgress::GetDone() const {
    const double done = done_.load(std::memory_order_relaxed);
    if (done < 0) return std::nullopt;
    return done;
}

void TransferProgress::SetCounts(std::uint64_t aItems, std::uint64_t aBytes,
                                 std::uint64_t aDropped) {
    items_.store(aItems, std::memory_order_relaxed);
    bytes_.store(aBytes, std::memory_order_relaxed);
    dropped_.store(aDropped, std::memory_order_relaxed);
}

Transfer::Transfer(const StopSignal& aStop, const Clock& aClock)
    : stop_(aStop), clock_(aClock), stopwatch_(aClock) {}

Transfer::~Transfer() = default;

void Transfer::Start() {
    try {
        end_ = std::async(std::launch::async, [this] { Execute(); });
    } catch (const std::system_error& error) {
        throw Error(ErrorKind::SystemFailed,
                    std::string("cannot start the transfer: ") + error.what());
    }
}

bool Transfer::WaitFor(std::chrono::milliseconds aLimit) const {
    if (aLimit == kNoLimit) {
        end_.wait();
        return true;
    }
    return end_.wait_for(aLimit) == std::future_status::ready;
}

void Transfer::StopAndWait() {
    if (!end_.valid() || WaitFor(std::chrono::milliseconds::zero())) return;
    stop_.Request();
    end_.wait();
}

void Transfer::Fail(const Error& aError) {
    if (!error_) error_ = aError;
}

void Transfer::CountCompletion() {
    const std::chrono::nanoseconds now = GetElapsed();
    if (lastCompletion_) {
        intervals_.Add(static_cast<std::uint64_t>((now - *lastCompletion_).count()));
    }
    lastCompletion_ = now;
}

void Transfer::StopTheClock() {
    if (!isClockStopped_) time_ = GetElapsed();
    isClockStopped_ = true;
}

void Transfer::Execute() {
    stopwatch_ = Stopwatch(clock_);
    try {
        Run();
    } catch (const Error& error) {
        Fail(error);
    } catch (const std::exception& exception) {
        Fail(Error(ErrorKind::SystemFailed, exception.what()));
    }
    StopTheClock();
}

}  // namespace QvKit
