// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// How far a transfer has come, for another thread to see.

#ifndef QVCTL_TRANSFERPROGRESS_H
#define QVCTL_TRANSFERPROGRESS_H

#include <atomic>
#include <cstdint>

#include "QvUserLib/Progress.h"

namespace Qvctl {

// The steps are those of what was asked for, packets, bytes or milliseconds, when there is an end
// to it. Beside them stand the counts of what was moved. The thread that does the transfer writes,
// any other reads; the counters are not tied to each other.
class TransferProgress : public QvUserLib::Progress {
public:
    void SetCounts(std::uint64_t aItems, std::uint64_t aBytes, std::uint64_t aDropped) {
        items_.store(aItems, std::memory_order_relaxed);
        bytes_.store(aBytes, std::memory_order_relaxed);
        dropped_.store(aDropped, std::memory_order_relaxed);
    }

    std::uint64_t GetItems() const { return items_.load(std::memory_order_relaxed); }
    std::uint64_t GetBytes() const { return bytes_.load(std::memory_order_relaxed); }
    std::uint64_t GetDropped() const { return dropped_.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> items_{0};
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<std::uint64_t> dropped_{0};
};

}  // namespace Qvctl

#endif
