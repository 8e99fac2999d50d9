// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Pairs of benchmarks, ours and the bare alternative. They run in turn and become one row of a
// table.

#ifndef QVBENCH_COMPARISON_H
#define QVBENCH_COMPARISON_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "CallCounter.h"
#include "QvUserLib/BaseTypes.h"

namespace QvBench {

/// Stops the program: a benchmark of something that fails is worthless.
[[noreturn]] void Give(const char* aWhat);

inline void Must(bool aHolds, const char* aWhat) {
    if (!aHolds) Give(aWhat);
}

/// May be used inside the measured part: it costs only a comparison.
inline void Must(const QvUserLib::Result& aResult) {
    if (aResult.GetCode() != 0) Give("an operation failed");
}

/// Adds the counts to what a benchmark reports.
void Report(benchmark::State& aState, const CallCounts& aCounts);

/// Runs the operation as often as the benchmark wants. An iteration is one call. If calls are
/// counted, the first thread first makes `aCounted` further calls and counts those.
template <typename Operation>
void Repeat(benchmark::State& aState, Operation aOperation, int aCounted = 64) {
    if (CallCounter::IsActive() && aState.thread_index() == 0) {
        aOperation();
        CallCounter::Start();
        for (int index = 0; index < aCounted; ++index) aOperation();
        Report(aState, CallCounter::Stop(aCounted));
    }
    for (auto _ : aState) aOperation();
}

using Body = std::function<void(benchmark::State&)>;

/// One row of the table.
struct Comparison {
    std::string what;
    std::string against;
    Body ours;
    Body bare;
    /// The most that our time may be, as a multiple of the bare one's; 0 for no goal. If `extraNs`
    /// is not 0, the goal is instead how much longer ours may take.
    double goal;
    double extraNs = 0;
    /// How many threads run the body at once.
    int threads = 1;
    /// The bodies measure the time themselves.
    bool hasManualTime = false;
    /// The share of the usual measuring time, for rows whose iterations are long.
    double share = 1;
    /// How many operations an iteration contains: times are reported for one of them.
    int batch = 1;
    /// How many items an iteration makes, if the memory for each is of interest.
    double peakPer = 0;
};

class Table {
public:
    void Add(Comparison aComparison) { rows_.push_back(std::move(aComparison)); }
    const std::vector<Comparison>& Rows() const { return rows_; }

private:
    std::vector<Comparison> rows_;
};

// Each file's rows.
void AddStringRows(Table& aTable);
void AddParameterRows(Table& aTable);
void AddParameterRepositoryRows(Table& aTable);
void AddDeviceParameterRepositoryRows(Table& aTable);
void AddDeviceConnectionRows(Table& aTable);
void AddDeviceRequestQueueRows(Table& aTable);
void AddErrorLogRows(Table& aTable);
void AddLogRows(Table& aTable);
void AddLoggerRows(Table& aTable);
void AddLibraryRows(Table& aTable);
void AddSettingsRows(Table& aTable);

}  // namespace QvBench

#endif
