// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Counts an operation's heap blocks and system calls. Times in Wine are mostly those of its server;
// these counts are exact and the same on every machine.

#ifndef QVBENCH_CALLCOUNTER_H
#define QVBENCH_CALLCOUNTER_H

namespace QvBench {

struct CallCounts {
    /// Blocks taken from the heap, by any module.
    double allocations;
    /// Calls from user mode into the system, by any module.
    double systemCalls;
    /// The peak of heap memory in use, compared to the start.
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

    /// Starts counting, on the calling thread.
    static void Start();

    /// The counts since `Start`, divided by the number of operations; the peak is that of all of
    /// them together.
    static CallCounts Stop(double aOperations);
};

}  // namespace QvBench

#endif
