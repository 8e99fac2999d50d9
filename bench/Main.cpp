// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Runs every comparison and prints the table. scripts/bench.sh calls it.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

#include "Comparison.h"

namespace QvBench {

namespace {

struct Options {
    int rounds = 31;
    double secondsEach = 0.005;
    std::string filter;
    std::string statedCounts;
    bool check = false;
};

// The measurements of both sides of a row.
struct Outcome {
    double oursNs;
    double bareNs;
    // The same for the fastest rounds, which other programs on the machine disturb least.
    double quickestRatio;
    CallCounts ours;
    CallCounts bare;
};

// The most heap blocks and system calls that one operation may take, and the most heap bytes for
// each item, if they are stated.
struct StatedCounts {
    double allocations;
    double systemCalls;
    std::optional<double> bytes;
};

// Stores what the last run reported.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*aContext*/) override { return true; }

    void ReportRuns(const std::vector<Run>& aRuns) override {
        const Run& run = aRuns.front();
        Must(!run.error_occurred, run.error_message.c_str());
        timeNs = run.GetAdjustedRealTime();
        counts = {Value(run, "allocations"), Value(run, "systemCalls"), Value(run, "peakBytes")};
    }

    double timeNs = 0;
    CallCounts counts{};

private:
    static double Value(const Run& aRun, const char* aName) {
        const auto found = aRun.counters.find(aName);
        return found != aRun.counters.end() ? found->second.value : 0;
    }
};

// Each use gets a new name: a registered benchmark cannot be changed.
std::string NewName() {
    static int count = 0;
    return "run" + std::to_string(++count);
}

// Runs the body as a benchmark of so many iterations.
Collector RunOnce(const Comparison& aComparison, const Body& aBody,
                  benchmark::IterationCount aIterations) {
    const std::string name = NewName();
    auto* const added = benchmark::RegisterBenchmark(name.c_str(), aBody);
    added->Threads(aComparison.threads);
    if (aComparison.hasManualTime) {
        added->UseManualTime();
    } else {
        added->UseRealTime();
    }
    added->Iterations(aIterations);
    Collector collector;
    const std::size_t run = benchmark::RunSpecifiedBenchmarks(&collector, "^" + name + "(/.*)?$");
    benchmark::ClearRegisteredBenchmarks();
    Must(run == 1, "the benchmark did not run");
    return collector;
}

double Median(std::vector<double> aValues) {
    const auto middle = aValues.begin() + static_cast<std::ptrdiff_t>(aValues.size() / 2);
    std::nth_element(aValues.begin(), middle, aValues.end());
    return *middle;
}

CallCounts Count(const Comparison& aComparison, const Body& aBody) {
    const CallCounter counter;
    return RunOnce(aComparison, aBody, 1).counts;
}

// How many iterations take the wanted time. Tries more and more of them; the fastest of a few tries
// counts, since other programs disturb the slower ones.
benchmark::IterationCount Calibrate(const Comparison& aComparison, const Body& aBody,
                                    double aSeconds) {
    constexpr int kTries = 5;
    constexpr benchmark::IterationCount kGrowth = 8;
    constexpr double kLongNs = 1e8;
    const double wantedNs = aSeconds * aComparison.share * 1e9;
    for (benchmark::IterationCount iterations = 1;; iterations *= kGrowth) {
        double quickestNs = RunOnce(aComparison, aBody, iterations).timeNs;
        for (int tries = 1; tries < kTries && quickestNs < kLongNs; ++tries) {
            quickestNs = std::min(quickestNs, RunOnce(aComparison, aBody, iterations).timeNs);
        }
        if (quickestNs * static_cast<double>(iterations) >= wantedNs) {
            return std::max<benchmark::IterationCount>(
                1, static_cast<benchmark::IterationCount>(wantedNs / std::max(quickestNs, 0.1)));
        }
    }
}

// Each round does the same work, so that a disturbed round stands out and the median ignores it.
Outcome Measure(const Comparison& aComparison, const Options& aOptions) {
    Outcome outcome{};
    outcome.ours = Count(aComparison, aComparison.ours);
    outcome.bare = Count(aComparison, aComparison.bare);

    const double seconds = aOptions.secondsEach;
    const auto oursIterations = Calibrate(aComparison, aComparison.ours, seconds);
    const auto bareIterations = Calibrate(aComparison, aComparison.bare, seconds);
    std::vector<double> ours;
    std::vector<double> bare;
    // Other programs hardly disturb an iteration that is longer than a planned round.
    constexpr int kLongRounds = 7;
    const bool isLong = oursIterations == 1 || bareIterations == 1;
    const int rounds = isLong ? std::min(aOptions.rounds, kLongRounds) : aOptions.rounds;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(RunOnce(aComparison, aComparison.ours, oursIterations).timeNs);
        bare.push_back(RunOnce(aComparison, aComparison.bare, bareIterations).timeNs);
    }
    outcome.oursNs = Median(ours) / aComparison.batch;
    outcome.bareNs = Median(bare) / aComparison.batch;
    outcome.quickestRatio =
        *std::min_element(ours.begin(), ours.end()) / *std::min_element(bare.begin(), bare.end());
    return outcome;
}

std::string Format(const char* aFormat, double aValue) {
    char text[64];
    std::snprintf(text, sizeof text, aFormat, aValue);
    return text;
}

std::string TimeText(double aNs) {
    if (aNs >= 1e6) return Format("%.1f ms", aNs / 1e6);
    if (aNs >= 1e4) return Format("%.1f us", aNs / 1e3);
    return Format(aNs < 100 ? "%.1f ns" : "%.0f ns", aNs);
}

std::string CountText(double aOurs, double aBare) {
    return Format("%.4g", aOurs) + " / " + Format("%.4g", aBare);
}

bool IsMet(const Comparison& aRow, const Outcome& aOutcome) {
    if (aRow.extraNs > 0) return aOutcome.oursNs <= aOutcome.bareNs + aRow.extraNs;
    return aRow.goal <= 0 || aOutcome.oursNs <= aOutcome.bareNs * aRow.goal;
}

std::string GoalText(const Comparison& aRow) {
    if (aRow.extraNs > 0) return Format("+%.0f ns", aRow.extraNs);
    return aRow.goal > 0 ? Format("%.2f", aRow.goal) : "";
}

void PrintHeading() {
    std::puts(
        "| what | against | ours | bare | ratio | quickest | goal | allocations | system calls |\n"
        "|---|---|---:|---:|---:|---:|---:|---:|---:|");
}

void PrintRow(const Comparison& aRow, const Outcome& aOutcome) {
    std::printf("| %s | %s | %s | %s | %.2f | %.2f | %s%s | %s | %s |\n", aRow.what.c_str(),
                aRow.against.c_str(), TimeText(aOutcome.oursNs).c_str(),
                TimeText(aOutcome.bareNs).c_str(), aOutcome.oursNs / aOutcome.bareNs,
                aOutcome.quickestRatio, GoalText(aRow).c_str(),
                IsMet(aRow, aOutcome) ? "" : " (missed)",
                CountText(aOutcome.ours.allocations, aOutcome.bare.allocations).c_str(),
                CountText(aOutcome.ours.systemCalls, aOutcome.bare.systemCalls).c_str());
    std::fflush(stdout);
}

// Lines of three or four columns, separated by tabs: the row, its heap blocks, its system calls,
// and its bytes for each item.
std::map<std::string, StatedCounts> ReadStatedCounts(const std::string& aPath) {
    std::ifstream file(aPath);
    Must(static_cast<bool>(file), "the file of the stated counts cannot be read");
    std::map<std::string, StatedCounts> stated;
    for (std::string line; std::getline(file, line);) {
        const std::size_t tab = line.find('\t');
        if (line.empty() || line[0] == '#' || tab == std::string::npos) continue;
        std::istringstream numbers(line.substr(tab + 1));
        StatedCounts counts{};
        Must(static_cast<bool>(numbers >> counts.allocations >> counts.systemCalls),
             "a line of the stated counts does not read as two numbers");
        double bytes = 0;
        if (numbers >> bytes) counts.bytes = bytes;
        stated[line.substr(0, tab)] = counts;
    }
    return stated;
}

// Whether the counts stay within the stated ones. A small excess is allowed: single events, such as
// a growing heap, are spread over the operations.
bool CheckCounts(const Comparison& aRow, const Outcome& aOutcome,
                 const std::map<std::string, StatedCounts>& aStated) {
    constexpr double kTolerance = 0.1;
    const auto found = aStated.find(aRow.what);
    if (found == aStated.end()) {
        std::fprintf(stderr, "error: no counts are stated for: %s\n", aRow.what.c_str());
        return false;
    }
    const StatedCounts& stated = found->second;
    const auto isWithin = [&](const char* aUnit, double aCount, double aStatedCount) {
        if (aCount <= aStatedCount + kTolerance) return true;
        std::fprintf(stderr, "error: %s: %.4g %s, stated are %.4g\n", aRow.what.c_str(), aCount,
                     aUnit, aStatedCount);
        return false;
    };
    bool isMet = isWithin("allocations", aOutcome.ours.allocations, stated.allocations);
    isMet &= isWithin("system calls", aOutcome.ours.systemCalls, stated.systemCalls);
    if (stated.bytes) {
        isMet &=
            isWithin("bytes for each item", aOutcome.ours.peakBytes / aRow.peakPer, *stated.bytes);
    }
    return isMet;
}

Options ReadOptions(int aCount, char** aArguments) {
    Options options;
    for (int index = 1; index < aCount; ++index) {
        const std::string argument = aArguments[index];
        const auto value = [&](const char* aName) -> std::optional<std::string> {
            const std::size_t length = std::strlen(aName);
            if (argument.compare(0, length, aName) != 0) return std::nullopt;
            return argument.substr(length);
        };
        if (argument == "--check") {
            options.check = true;
        } else if (const auto rounds = value("--rounds=")) {
            options.rounds = std::max(1, std::atoi(rounds->c_str()));
        } else if (const auto seconds = value("--seconds=")) {
            options.secondsEach = std::atof(seconds->c_str());
        } else if (const auto filter = value("--filter=")) {
            options.filter = *filter;
        } else if (const auto counts = value("--stated=")) {
            options.statedCounts = *counts;
        } else {
            Give(
                "usage: QvBench [--check] [--stated=FILE] [--rounds=N] [--seconds=S] "
                "[--filter=TEXT]");
        }
    }
    return options;
}

int Run(const Options& aOptions) {
    Table table;
    AddDeviceConnectionRows(table);
    AddDeviceRequestQueueRows(table);
    AddDeviceParameterRepositoryRows(table);
    AddParameterRepositoryRows(table);
    AddParameterRows(table);
    AddStringRows(table);
    AddErrorLogRows(table);
    AddLogRows(table);
#ifdef QVBENCH_HAS_LOG4CXX
    AddLoggerRows(table);
#endif
    AddLibraryRows(table);
    AddSettingsRows(table);

    const auto stated = aOptions.check ? ReadStatedCounts(aOptions.statedCounts)
                                       : std::map<std::string, StatedCounts>();
    bool isWithinStated = true;
    std::string peaks;
    PrintHeading();
    for (const Comparison& row : table.Rows()) {
        if (row.what.find(aOptions.filter) == std::string::npos) continue;
        const Outcome outcome = Measure(row, aOptions);
        PrintRow(row, outcome);
        if (outcome.ours.peakBytes > 0 && row.peakPer > 0) {
            peaks += "| " + row.what + Format(" | %.0f", outcome.ours.peakBytes / row.peakPer) +
                     Format(" | %.0f |\n", outcome.bare.peakBytes / row.peakPer);
        }
        if (aOptions.check) isWithinStated &= CheckCounts(row, outcome, stated);
    }
    if (!peaks.empty()) {
        std::printf("\n| peak memory | bytes for each parameter | bare |\n|---|---:|---:|\n%s",
                    peaks.c_str());
    }
    return isWithinStated ? 0 : 1;
}

}  // namespace

void Give(const char* aWhat) {
    std::fprintf(stderr, "error: %s\n", aWhat);
    std::fflush(stderr);
    std::_Exit(2);
}

void Report(benchmark::State& aState, const CallCounts& aCounts) {
    aState.counters["allocations"] = aCounts.allocations;
    aState.counters["systemCalls"] = aCounts.systemCalls;
    aState.counters["peakBytes"] = aCounts.peakBytes;
}

}  // namespace QvBench

int main(int aCount, char** aArguments) {
    int one = 1;
    benchmark::Initialize(&one, aArguments);
    return QvBench::Run(QvBench::ReadOptions(aCount, aArguments));
}
