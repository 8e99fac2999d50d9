// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Progress.h"

#include <atomic>
#include <chrono>
#include <climits>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <type_traits>

#include "KernelObjects.h"
#include "SlotCalls.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

// How long an operation that must wait is watched.
constexpr std::chrono::milliseconds kWatch(50);

class ProgressTest : public testing::Test {
protected:
    // Any number of steps done, also beyond the total.
    void SetSteps(unsigned int aCompleted, unsigned int aTotal) {
        progress_.SetStepTotal(UINT_MAX);
        progress_.SetStepCompleted(aCompleted);
        progress_.SetStepTotal(aTotal);
    }

    unsigned int ComputedPercentage(unsigned int aCompleted, unsigned int aTotal) {
        SetSteps(aCompleted, aTotal);
        progress_.SetPercentage();
        return progress_.GetPercentage();
    }

    // The lock that guards the status is the first field, behind the virtual table's pointer.
    Gate& LockOfTheStatus() {
        return *reinterpret_cast<Gate*>(reinterpret_cast<char*>(&progress_) + sizeof(void*));
    }

    // Whether another thread's operation waits while this one holds the lock of the status.
    bool IsHeldBack(const std::function<void()>& aOperation) {
        std::future<void> other;
        const GateGuard guard(LockOfTheStatus());
        other = std::async(std::launch::async, aOperation);
        return other.wait_for(kWatch) == std::future_status::timeout;
    }

    Progress progress_;
};

TEST_F(ProgressTest, StartsEmptyAndAtZero) {
    EXPECT_TRUE(progress_.GetStatus().IsEmpty());
    EXPECT_EQ(0u, progress_.GetStepCompleted());
    EXPECT_EQ(0u, progress_.GetStepTotal());
    EXPECT_EQ(0u, progress_.GetPercentage());
}

TEST_F(ProgressTest, KeepsTheStatus) {
    progress_.SetStatus("Reading packets");
    EXPECT_STREQ("Reading packets", progress_.GetStatus().GetAscii());

    progress_.SetStatus(L"Pr\u00FCfung \u4E2D");
    EXPECT_STREQ(L"Pr\u00FCfung \u4E2D", progress_.GetStatus().GetUnicode());
}

TEST_F(ProgressTest, StatusIsACopyOfItsOwn) {
    progress_.SetStatus("before");
    const String status = progress_.GetStatus();

    progress_.SetStatus("after");

    EXPECT_STREQ("before", status.GetAscii());
}

TEST_F(ProgressTest, StatusDoesNotFollowTheTextThatItWasSetFrom) {
    String text("before");
    progress_.SetStatus(text);

    text += String(" and after");

    EXPECT_STREQ("before", progress_.GetStatus().GetAscii());
}

TEST_F(ProgressTest, StatusLeavesTheCountersAlone) {
    SetSteps(2, 5);
    progress_.SetPercentage(40);

    progress_.SetStatus("Reading packets");

    EXPECT_EQ(2u, progress_.GetStepCompleted());
    EXPECT_EQ(5u, progress_.GetStepTotal());
    EXPECT_EQ(40u, progress_.GetPercentage());
}

TEST_F(ProgressTest, StepsDoneAreAtMostAll) {
    progress_.SetStepTotal(5);

    progress_.SetStepCompleted(4);
    EXPECT_EQ(4u, progress_.GetStepCompleted());
    progress_.SetStepCompleted(5);
    EXPECT_EQ(5u, progress_.GetStepCompleted());
    progress_.SetStepCompleted(6);
    EXPECT_EQ(5u, progress_.GetStepCompleted());
    progress_.SetStepCompleted(UINT_MAX);
    EXPECT_EQ(5u, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, StepsDoneMayBeSetBack) {
    SetSteps(5, 5);

    progress_.SetStepCompleted(1);

    EXPECT_EQ(1u, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, WithoutATotalNoStepIsDone) {
    progress_.SetStepCompleted(3);
    EXPECT_EQ(0u, progress_.GetStepCompleted());

    progress_.StepIncrement();
    EXPECT_EQ(0u, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, IncrementCountsOneStepUpToTheTotal) {
    progress_.SetStepTotal(2);

    progress_.StepIncrement();
    EXPECT_EQ(1u, progress_.GetStepCompleted());
    progress_.StepIncrement();
    EXPECT_EQ(2u, progress_.GetStepCompleted());
    progress_.StepIncrement();
    EXPECT_EQ(2u, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, IncrementAtTheLargestTotalStaysThere) {
    SetSteps(UINT_MAX - 1, UINT_MAX);

    progress_.StepIncrement();
    EXPECT_EQ(UINT_MAX, progress_.GetStepCompleted());
    progress_.StepIncrement();
    EXPECT_EQ(UINT_MAX, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, SmallerTotalLeavesTheStepsDone) {
    SetSteps(5, 10);

    progress_.SetStepTotal(2);

    EXPECT_EQ(2u, progress_.GetStepTotal());
    EXPECT_EQ(5u, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, StepsBeyondASmallerTotalAreCutByTheNextChange) {
    SetSteps(5, 2);
    progress_.SetStepCompleted(5);
    EXPECT_EQ(2u, progress_.GetStepCompleted());

    SetSteps(5, 2);
    progress_.StepIncrement();
    EXPECT_EQ(2u, progress_.GetStepCompleted());
}

TEST_F(ProgressTest, PercentageIsStoredAsGiven) {
    for (const unsigned int percentage : {0u, 42u, 100u, 101u, UINT_MAX}) {
        progress_.SetPercentage(percentage);
        EXPECT_EQ(percentage, progress_.GetPercentage());
    }
}

TEST_F(ProgressTest, PercentageOfNoStepsIsZero) {
    progress_.SetPercentage(42);

    progress_.SetPercentage();

    EXPECT_EQ(0u, progress_.GetPercentage());
}

TEST_F(ProgressTest, PercentageOfStepsBeyondATotalOfZeroIsZero) {
    EXPECT_EQ(0u, ComputedPercentage(5, 0));
}

TEST_F(ProgressTest, PercentageIsRoundedHalfUp) {
    EXPECT_EQ(33u, ComputedPercentage(1, 3));
    EXPECT_EQ(67u, ComputedPercentage(2, 3));
    EXPECT_EQ(1u, ComputedPercentage(1, 200));
    EXPECT_EQ(0u, ComputedPercentage(1, 201));
    EXPECT_EQ(100u, ComputedPercentage(199, 200));
    EXPECT_EQ(99u, ComputedPercentage(198, 200));
    EXPECT_EQ(0u, ComputedPercentage(0, 7));
    EXPECT_EQ(100u, ComputedPercentage(7, 7));
}

TEST_F(ProgressTest, PercentageOfLargeNumbersDoesNotWrap) {
    EXPECT_EQ(100u, ComputedPercentage(UINT_MAX, UINT_MAX));
    EXPECT_EQ(50u, ComputedPercentage(0x80000000u, UINT_MAX));
    EXPECT_EQ(1u, ComputedPercentage(42949673u, UINT_MAX));
}

TEST_F(ProgressTest, PercentageOfStepsBeyondTheTotalExceedsAHundred) {
    EXPECT_EQ(250u, ComputedPercentage(5, 2));
    EXPECT_EQ(200u, ComputedPercentage(100000000u, 50000000u));
    EXPECT_EQ(4000000000u, ComputedPercentage(40000000u, 1));
}

TEST_F(ProgressTest, StepsDoNotMoveThePercentage) {
    progress_.SetStepTotal(4);
    progress_.SetStepCompleted(1);
    progress_.SetPercentage();
    ASSERT_EQ(25u, progress_.GetPercentage());

    progress_.SetStepCompleted(2);
    progress_.StepIncrement();
    progress_.SetStepTotal(3);

    EXPECT_EQ(25u, progress_.GetPercentage());
}

TEST_F(ProgressTest, PercentageDoesNotMoveTheSteps) {
    SetSteps(1, 4);

    progress_.SetPercentage(99);
    progress_.SetPercentage();

    EXPECT_EQ(1u, progress_.GetStepCompleted());
    EXPECT_EQ(4u, progress_.GetStepTotal());
}

TEST_F(ProgressTest, ResetGoesBackToTheStart) {
    progress_.SetStatus("Reading packets");
    SetSteps(2, 5);
    progress_.SetPercentage();

    progress_.Reset();

    EXPECT_TRUE(progress_.GetStatus().IsEmpty());
    EXPECT_EQ(0u, progress_.GetStepCompleted());
    EXPECT_EQ(0u, progress_.GetStepTotal());
    EXPECT_EQ(0u, progress_.GetPercentage());
}

TEST_F(ProgressTest, CanBeUsedAgainAfterAReset) {
    SetSteps(2, 5);
    progress_.Reset();

    EXPECT_EQ(75u, ComputedPercentage(3, 4));
    progress_.SetStatus("once more");
    EXPECT_STREQ("once more", progress_.GetStatus().GetAscii());
}

TEST_F(ProgressTest, ReaderOnAnotherThreadSeesWholeTextsAndGrowingCounts) {
    constexpr unsigned int kSteps = 20000;
    const std::string shortText(7, 'a');
    const std::string longText(200, 'b');
    progress_.SetStepTotal(kSteps);
    progress_.SetStatus(shortText.c_str());

    std::atomic<bool> isDone{false};
    const Event readerRuns;
    std::thread writer([&] {
        readerRuns.Wait();
        for (unsigned int step = 0; step < kSteps; ++step) {
            progress_.SetStatus((step % 2 == 0 ? longText : shortText).c_str());
            progress_.StepIncrement();
            progress_.SetPercentage();
        }
        isDone = true;
    });

    unsigned int completed = 0;
    unsigned int percentage = 0;
    int torn = 0;
    int backwards = 0;
    while (!isDone) {
        const std::string status = progress_.GetStatus().GetAscii();
        if (status != shortText && status != longText) ++torn;
        const unsigned int nowCompleted = progress_.GetStepCompleted();
        const unsigned int nowPercentage = progress_.GetPercentage();
        if (nowCompleted < completed || nowPercentage < percentage) ++backwards;
        completed = nowCompleted;
        percentage = nowPercentage;
        readerRuns.Set();
    }
    writer.join();

    EXPECT_EQ(0, torn);
    EXPECT_EQ(0, backwards);
    EXPECT_EQ(kSteps, progress_.GetStepCompleted());
    EXPECT_EQ(100u, progress_.GetPercentage());
}

TEST_F(ProgressTest, OperationsOnTheStatusWaitForItsLock) {
    EXPECT_TRUE(IsHeldBack([this] { progress_.SetStatus("another"); }));
    EXPECT_TRUE(IsHeldBack([this] { (void)progress_.GetStatus(); }));  // Only its return counts.
    EXPECT_TRUE(IsHeldBack([this] { progress_.Reset(); }));
}

TEST_F(ProgressTest, CountersDoNotWaitForTheLockOfTheStatus) {
    unsigned int completed = 0;
    unsigned int total = 0;
    unsigned int percentage = 0;
    const GateGuard guard(LockOfTheStatus());

    // Without limit: a counter that waits ends in the test's own.
    std::async(std::launch::async, [&] {
        progress_.SetStepTotal(4);
        progress_.SetStepCompleted(1);
        progress_.StepIncrement();
        progress_.SetPercentage(99);
        progress_.SetPercentage();
        completed = progress_.GetStepCompleted();
        total = progress_.GetStepTotal();
        percentage = progress_.GetPercentage();
    }).wait();

    EXPECT_EQ(2u, completed);
    EXPECT_EQ(4u, total);
    EXPECT_EQ(50u, percentage);
}

TEST_F(ProgressTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible<Progress>::value);
    EXPECT_FALSE(std::is_copy_assignable<Progress>::value);
}

TEST_F(ProgressTest, DestructorIsVirtualAndFirst) { ExpectDestructorIsVirtualAndFirst<Progress>(); }

TEST_F(ProgressTest, HoldsTheLockTheStatusAndThreeCounters) {
    constexpr std::size_t kPointer = sizeof(void*);

    EXPECT_EQ(kPointer + sizeof(QvUserLib::Gate) + sizeof(String) + 2 * kPointer, sizeof(Progress));
}

}  // namespace
}  // namespace QvTests
