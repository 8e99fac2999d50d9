// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Progress.h"

#include <algorithm>

namespace QvUserLib {

namespace {

// The counters are independent of each other, so relaxed order is enough.
unsigned int Get(const std::atomic<unsigned int>& aCounter) {
    return aCounter.load(std::memory_order_relaxed);
}

void Set(std::atomic<unsigned int>& aCounter, unsigned int aValue) {
    aCounter.store(aValue, std::memory_order_relaxed);
}

}  // namespace

Progress::Progress() : stepCompleted_(0), stepTotal_(0), percentage_(0) {}

Progress::~Progress() = default;

String Progress::GetStatus() {
    const GateGuard guard(gate_);
    return status_;
}

void Progress::SetStatus(const String& aStatus) {
    const GateGuard guard(gate_);
    status_ = aStatus;
}

unsigned int Progress::GetStepCompleted() { return Get(stepCompleted_); }

unsigned int Progress::GetStepTotal() { return Get(stepTotal_); }

unsigned int Progress::GetPercentage() { return Get(percentage_); }

void Progress::SetStepTotal(unsigned int aTotal) { Set(stepTotal_, aTotal); }

void Progress::SetStepCompleted(unsigned int aCompleted) {
    Set(stepCompleted_, std::min(aCompleted, Get(stepTotal_)));
}

void Progress::StepIncrement() {
    const unsigned int completed = Get(stepCompleted_);
    const unsigned int total = Get(stepTotal_);
    Set(stepCompleted_, completed < total ? completed + 1 : total);
}

void Progress::SetPercentage(unsigned int aPercentage) { Set(percentage_, aPercentage); }

void Progress::SetPercentage() {
    const unsigned int total = Get(stepTotal_);
    if (total == 0) {
        Set(percentage_, 0);
        return;
    }
    // More steps may be done than the total: the result may be large, but is defined.
    const double percentage = Get(stepCompleted_) * 100.0 / total + 0.5;
    Set(percentage_, static_cast<unsigned int>(static_cast<long long>(percentage)));
}

void Progress::Reset() {
    {
        const GateGuard guard(gate_);
        status_ = String("");
    }
    Set(stepCompleted_, 0);
    Set(stepTotal_, 0);
    Set(percentage_, 0);
}

}  // namespace QvUserLib
