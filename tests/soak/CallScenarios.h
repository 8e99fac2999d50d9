// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What programs do with the library and the kit, in short. One call of a scenario can be made to
// fail.

#ifndef QVTESTS_CALLSCENARIOS_H
#define QVTESTS_CALLSCENARIOS_H

#include <cstdio>
#include <functional>
#include <iosfwd>
#include <new>
#include <optional>
#include <vector>

#include "FailingCalls.h"
#include "QvKit/Error.h"
#include "QvUserLib/BaseTypes.h"

namespace QvTests {

/// What a scenario returns when success is reported without the work having been done.
constexpr unsigned long kWrong = 0x7FFF;

/// What an error of the kit says, without memory of its own: what is left of that counts as lost.
struct KitError {
    explicit KitError(const QvKit::Error& aError) : kind(aError.GetKind()), code(aError.GetCode()) {
        std::snprintf(message, sizeof message, "%s", aError.what());
    }

    QvKit::ErrorKind kind;
    std::optional<unsigned long> code;
    char message[128];
};

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

    /// The same with operations of the kit, which throw and return whether all is right. Only the
    /// kit's own calls fail.
    void TryKit(const std::function<bool()>& aOperations) {
        const KitsCallsOnly only;
        Try([&] {
            try {
                return QvUserLib::Result(aOperations() ? QvUserLib::Code::Success : kWrong);
            } catch (const QvKit::Error& error) {
                FailingCall::Disarm();
                kitError_.emplace(error);
                return QvUserLib::Result();
            }
        });
    }

    /// What the operations returned, if they did not throw.
    unsigned long ResultCode() const { return result_.GetCode(); }
    /// What the kit threw.
    const std::optional<KitError>& GetKitError() const { return kitError_; }
    bool HasThrown() const { return hasThrown_; }
    bool HasSucceeded() const {
        return !hasThrown_ && !kitError_ && ResultCode() == QvUserLib::Code::Success;
    }

private:
    FailingCall* call_ = nullptr;
    long number_ = 0;
    QvUserLib::Result result_;
    std::optional<KitError> kitError_;
    bool hasThrown_ = false;
};

/// Makes its objects, lets the attempt use them, and then checks that they still work, or can at
/// least be destroyed.
struct Scenario {
    const char* name;
    void (*run)(Attempt& aAttempt);
    bool mayThrow;         // Whether a lack of memory may reach the caller as std::bad_alloc.
    int mostOfAPlace = 0;  // How many of a function's calls at one place fail; 0 for all of them.
};

/// Calls that are made hundreds of times fail so often at each place.
int MostOfAPlace();

std::vector<Scenario> LibraryScenarios();
std::vector<Scenario> KitScenarios();
std::vector<Scenario> AllScenarios();

/// GoogleTest prints scenarios with this.
void PrintTo(const Scenario& aScenario, std::ostream* aOut);

}  // namespace QvTests

#endif
