// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Work on a separate thread, which reports its progress and can be asked to stop.

#include <cstdio>

#include "QvUserLib/QvUserLib.h"

namespace {

/// Adds up the numbers below a limit, in steps.
class Summation : public QvUserLib::Thread {
public:
    Summation(unsigned int aSteps, QvUserLib::Progress& aProgress)
        : Thread(PriorityNormal), steps_(aSteps), progress_(aProgress) {}

    /// The work uses this object, so it must end before any part of the object is destroyed.
    ~Summation() override {
        (void)StopThread();         // Fails when the work is done, or never began.
        (void)WaitUntilSignaled();  // Fails when it never began.
    }

    Summation(const Summation&) = delete;
    Summation& operator=(const Summation&) = delete;

    /// Valid after the thread has ended.
    unsigned long long Sum() const { return sum_; }

private:
    QvUserLib::Result Execute() override {
        SetThreadName("Summation");
        progress_.SetStatus("adding");
        progress_.SetStepTotal(steps_);
        for (unsigned int step = 0; step < steps_ && !IsStopping(); ++step) {
            for (unsigned int i = 0; i < 1000; ++i) sum_ += step * 1000ULL + i;
            progress_.StepIncrement();
            progress_.SetPercentage();
        }
        progress_.SetStatus(IsStopping() ? "stopped" : "done");
        return QvUserLib::Result(QvUserLib::Code::Success);
    }

    unsigned int steps_;
    QvUserLib::Progress& progress_;
    unsigned long long sum_ = 0;
};

void Show(std::FILE* aOut, QvUserLib::Progress& aProgress) {
    std::fprintf(aOut, "%s, %u%%\n", aProgress.GetStatus().GetAscii(), aProgress.GetPercentage());
}

}  // namespace

int main() {
    QvUserLib::Progress progress;
    Summation work(1000, progress);
    if (work.StartThread().IsFailure()) return 1;

    // Check ten times a second until it has ended.
    while (work.WaitUntilSignaled(100).GetCode() == QvUserLib::Code::TimedOut) {
        Show(stderr, progress);
    }
    Show(stdout, progress);
    std::printf("The sum is %llu\n", work.Sum());

    QvUserLib::Progress ofLongWork;
    Summation longWork(4000000000U, ofLongWork);
    if (longWork.StartThread().IsFailure() || longWork.StopThread().IsFailure()) return 1;
    if (longWork.WaitUntilSignaled().IsFailure()) return 1;
    std::printf("The long one was %s\n", ofLongWork.GetStatus().GetAscii());
}
