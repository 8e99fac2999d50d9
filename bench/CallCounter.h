// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What an operation asks of the heap and of the system. Times taken in Wine are mostly those of its
// server; these counts are exact, and the same on every machine.

#ifndef QVBENCH_CALLCOUNTER_H
#define QVBENCH_CALLCOUNTER_H

namespace QvBench {

struct CallCounts {
    /// Blocks taken from the heap, by whatever module.
    double allocations;
    /// Calls from user mode into the system, by whatever module.
    double systemCalls;
    /// How much more the heap held at its fullest than at the start.
    double peakBytes;
};

/// Watches the heap functions and the system calls of this process as long as it lives; one object
/// at a time. Only calls of the thread between its `Start` and `Stop` are counted.
class CallCounter {
public:
    CallCounter();
    ~CallCounter();

    CallCounter(const CallCounter&) = delete;
    CallCounter& operator=(const CallCounter&) = delete;

    /// Whether there is a counter.
    static bool IsActive();

    /// Counts from here, on the calling thread.
    static void Start();

    /// What was counted since `Start`, for each of so many operations; the peak is that of all of
    /// them together.
    static CallCounts Stop(double aOperations);
};

}  // namespace QvBench

#endif
