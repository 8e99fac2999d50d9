// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Gate.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "TestSupport.h"

namespace QvTests {
namespace {

// How long a thread that must not get through is watched.
constexpr std::chrono::milliseconds kWatch(50);

// Locks and unlocks the gate on a thread of its own.
class OtherThread {
public:
    explicit OtherThread(Gate& aGate)
        : passed_(std::async(std::launch::async, [&aGate] { const GateGuard guard(aGate); })) {}

    bool IsHeldBack() const { return passed_.wait_for(kWatch) == std::future_status::timeout; }

    // Waits without limit: a gate that stays closed ends in the test's own.
    bool GetsThrough() const {
        passed_.wait();
        return true;
    }

private:
    std::future<void> passed_;
};

void ExpectHeldBackUntil(const std::function<void()>& aUnlock, Gate& aGate) {
    const OtherThread other(aGate);
    EXPECT_TRUE(other.IsHeldBack());

    aUnlock();
    EXPECT_TRUE(other.GetsThrough());
}

TEST(GateTest, HoldsBackOtherThreadsUntilItIsUnlocked) {
    Gate gate;
    gate.Lock();

    ExpectHeldBackUntil([&] { gate.Unlock(); }, gate);
}

TEST(GateTest, HoldingThreadMayLockAgainAndUnlocksAsOften) {
    Gate gate;
    gate.Lock();
    gate.Lock();
    gate.Lock();

    gate.Unlock();
    gate.Unlock();
    ExpectHeldBackUntil([&] { gate.Unlock(); }, gate);
}

TEST(GateTest, GuardHoldsTheGateForItsLife) {
    Gate gate;
    auto guard = std::make_unique<GateGuard>(gate);

    ExpectHeldBackUntil([&] { guard.reset(); }, gate);
}

TEST(GateTest, GuardsNestOnOneThread) {
    Gate gate;
    const GateGuard outer(gate);
    {
        const GateGuard inner(gate);
    }

    ExpectHeldBackUntil([&] { gate.Unlock(); }, gate);
    gate.Lock();
}

TEST(GateTest, GatesAreIndependent) {
    Gate gate;
    Gate another;
    const GateGuard guard(gate);

    EXPECT_TRUE(OtherThread(another).GetsThrough());
}

TEST(GateTest, LetsOneThreadInAtATime) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    Gate gate;
    long long count = 0;
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            const GateGuard guard(gate);
            ++count;
        }
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(static_cast<long long>(kThreads) * kRounds, count);
}

TEST(GateTest, HasRoomForItsLockOnly) { EXPECT_EQ(6 * sizeof(void*), sizeof(Gate)); }

TEST(GateTest, LockAndUnlockFollowTheDestructorInTheVirtualTable) {
    Gate gate;
    const auto lock = reinterpret_cast<void (*)(Gate*)>(VirtualSlot(&gate, 2));
    const auto unlock = reinterpret_cast<void (*)(Gate*)>(VirtualSlot(&gate, 3));

    lock(&gate);
    const OtherThread other(gate);
    EXPECT_TRUE(other.IsHeldBack());

    unlock(&gate);
    EXPECT_TRUE(other.GetsThrough());
}

TEST(GateTest, DeletionThroughTheBaseDestroysTheDerivedObject) {
    struct CountedGate : Gate {
        explicit CountedGate(int& aCount) : count(aCount) {}
        ~CountedGate() override { ++count; }
        int& count;
    };
    int destroyed = 0;
    Gate* const gate = new CountedGate(destroyed);

    delete gate;

    EXPECT_EQ(1, destroyed);
}

}  // namespace
}  // namespace QvTests
