// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Runs a test program's tests on the guarded heap. What a test takes and does not free fails it,
// and so does a mismatched release. An access to memory that is not the program's ends it, with a
// line that names the test.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "AllocationCounter.h"
#include "GuardedHeap.h"
#include "ImportPatch.h"
#include "ImportSlot.h"
#include "QvUserLib/ErrorLog.h"

namespace {

using QvTests::GuardedHeap;

std::string theRunningTest = "no test";

void FailRunningTest(const char* aText) { ADD_FAILURE() << "guarded heap: " << aText; }

const char* RunningTest() { return theRunningTest.c_str(); }

void** FindSlot(const char* aDll, const char* aName) {
    const ImportSlot* slot = nullptr;
    if (std::strcmp(aDll, "QvUserLib64.dll") == 0) slot = qv_user_slots;
    if (std::strcmp(aDll, "QvBaseLib64.dll") == 0) slot = qv_base_slots;
    for (; slot != nullptr && slot->name != nullptr; ++slot) {
        if (std::strcmp(slot->name, aName) == 0) return slot->address;
    }
    return nullptr;
}

// The error log keeps the texts of the latest errors; later errors take their places.
void PushErrorsOut() {
    constexpr int kMoreThanKept = 1000;
    for (int error = 0; error < kMoreThanKept; ++error) {
        // Only the record counts.
        (void)QvUserLib::ErrorLog::GetErrorLog().WriteError(QvUserLib::Result(0), "", 0, "-");
    }
}

/// Compares what is allocated after each test with what was before it. A first run of a test may
/// leave behind what is made once and kept, so only those that leave something in a second run too
/// have failed.
class LeakListener : public testing::EmptyTestEventListener {
public:
    /// The tests that left something, as a filter.
    const std::string& Suspects() const { return suspects_; }
    void FailSuspects() { isSecondRun_ = true; }

private:
    void OnTestStart(const testing::TestInfo& aTest) override {
        theRunningTest = std::string(aTest.test_suite_name()) + "." + aTest.name();
        start_ = GuardedHeap::Now();
    }

    void OnTestEnd(const testing::TestInfo& aTest) override {
        // A test that failed, or was skipped, keeps the reasons.
        if (aTest.result()->Passed()) CheckLeaks();
        theRunningTest = "after " + theRunningTest;
    }

    void CheckLeaks() {
        if (GuardedHeap::LiveSince(start_).empty()) return;
        PushErrorsOut();
        const std::string leaks = GuardedHeap::LiveSince(start_);
        if (leaks.empty()) return;
        if (isSecondRun_) {
            ADD_FAILURE() << "guarded heap: " << theRunningTest << " leaks: " << leaks;
        } else {
            suspects_ += (suspects_.empty() ? "" : ":") + theRunningTest;
        }
    }

    std::size_t start_ = 0;
    std::string suspects_;
    bool isSecondRun_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    GuardedHeap::DescribeCrashes(&RunningTest);
    GuardedHeap::SetReporter(&FailRunningTest);
    QvTests::ImportPatch::findSlotInProgram = &FindSlot;
    QvTests::AllocationCounter::programTotals = {&GuardedHeap::TakenCount, &GuardedHeap::FreedCount,
                                                 &GuardedHeap::LiveBytes};
    testing::InitGoogleMock(&argc, argv);
    auto* const leaks = new LeakListener;  // GoogleTest owns it.
    testing::UnitTest::GetInstance()->listeners().Append(leaks);
    int outcome = RUN_ALL_TESTS();
    if (!leaks->Suspects().empty()) {
        leaks->FailSuspects();
        GTEST_FLAG_SET(filter, leaks->Suspects());
        outcome |= RUN_ALL_TESTS();
    }
    // What objects of the program still do at its end has no test to fail.
    GuardedHeap::SetReporter(nullptr);
    return outcome;
}
