// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What programs do with the library, in short. One call of a scenario can be made to fail.

#ifndef QVTESTS_CALLSCENARIOS_H
#define QVTESTS_CALLSCENARIOS_H

#include <functional>
#include <iosfwd>
#include <new>
#include <vector>

#include "FailingCalls.h"
#include "QvUserLib/BaseTypes.h"

namespace QvTests {

/// One run of a scenario, in which one call fails, or none.
class Attempt {
public:
    /// Notes which functions are called. Nothing fails.
    Attempt() = default;
    /// The `aNumber`-th call of the function fails, counted from 1.
    Attempt(FailingCall& aCall, long aNumber) : call_(&aCall), number_(aNumber) {}

    /// Runs the operations of the scenario. Nothing fails before and after them.
    void Try(const std::function<QvUserLib::Result()>& aOperations) {
        if (call_ != nullptr) {
            call_->Arm(number_);
        } else {
            FailingCall::Watch();
        }
        try {
            result_ = aOperations();
        } catch (const std::bad_alloc&) {
            hasThrown_ = true;
        }
        FailingCall::Disarm();
    }

    unsigned long ResultCode() const { return result_.GetCode(); }
    bool HasThrown() const { return hasThrown_; }

private:
    FailingCall* call_ = nullptr;
    long number_ = 0;
    QvUserLib::Result result_;
    bool hasThrown_ = false;
};

/// Makes its objects, lets the attempt use them, and then checks that they still work, or can at
/// least be destroyed.
struct Scenario {
    const char* name;
    void (*run)(Attempt& aAttempt);
    bool mayThrow;  // Whether a lack of memory may reach the caller as std::bad_alloc.
};

std::vector<Scenario> AllScenarios();

/// GoogleTest prints scenarios with this.
void PrintTo(const Scenario& aScenario, std::ostream* aOut);

}  // namespace QvTests

#endif
