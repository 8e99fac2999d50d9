// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvBaseLib/Shareable.h"

#include <atomic>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

#include "TestSupport.h"

namespace QvTests {
namespace {

constexpr int kThreads = 8;

// Counts what happens to it in places that outlive it.
class Probe : public Shareable {
public:
    Probe(std::atomic<int>& aReleased, std::atomic<int>& aDestroyed)
        : released_(aReleased), destroyed_(aDestroyed) {}
    ~Probe() override { ++destroyed_; }

protected:
    void OnRelease() override { ++released_; }

private:
    std::atomic<int>& released_;
    std::atomic<int>& destroyed_;
};

// Lives until its last reference is given back.
class SelfDeleting : public Shareable {
public:
    explicit SelfDeleting(std::atomic<int>& aDestroyed) : destroyed_(aDestroyed) {}

protected:
    ~SelfDeleting() override { ++destroyed_; }
    void OnRelease() override { delete this; }

private:
    std::atomic<int>& destroyed_;
};

class Plain : public Shareable {
public:
    Plain() = default;
    ~Plain() override = default;
};

static_assert(!std::is_default_constructible<Shareable>::value, "it is a base");
static_assert(!std::is_destructible<Shareable>::value,
              "who has a pointer to it does not delete through that");

class ShareableTest : public testing::Test {
protected:
    std::atomic<int> released_{0};
    std::atomic<int> destroyed_{0};
};

template <typename Work>
void RunOnEightThreads(Work aWork) {
    std::atomic<int> waiting(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            // All start together, because the work takes less time than the start of a thread.
            --waiting;
            while (waiting > 0) std::this_thread::yield();
            aWork();
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(ShareableTest, CountStartsWithTheCreatorsOwnReference) {
    const Probe probe(released_, destroyed_);

    EXPECT_EQ(1, probe.GetRefCount());
}

TEST_F(ShareableTest, LockAddsAReferenceAndUnlockGivesItBack) {
    Probe probe(released_, destroyed_);

    probe.Lock();
    probe.Lock();
    EXPECT_EQ(3, probe.GetRefCount());

    probe.Unlock();
    EXPECT_EQ(2, probe.GetRefCount());
    EXPECT_EQ(0, released_);
}

TEST_F(ShareableTest, UnlockToZeroCallsOnReleaseOnce) {
    Probe probe(released_, destroyed_);
    probe.Lock();

    probe.Unlock();
    EXPECT_EQ(0, released_);

    probe.Unlock();
    EXPECT_EQ(1, released_);
    EXPECT_EQ(0, probe.GetRefCount());
}

TEST_F(ShareableTest, CountNeverDestroysTheObjectByItself) {
    Probe probe(released_, destroyed_);

    probe.Unlock();

    EXPECT_EQ(0, destroyed_);
}

TEST_F(ShareableTest, OnReleaseDoesNothingUnlessADerivedClassSaysOtherwise) {
    Plain plain;

    plain.Unlock();
    EXPECT_EQ(0, plain.GetRefCount());

    plain.Lock();
    EXPECT_EQ(1, plain.GetRefCount());
}

TEST_F(ShareableTest, DerivedClassMayDeleteItselfOnRelease) {
    auto* const object = new SelfDeleting(destroyed_);
    object->Lock();

    object->Unlock();
    EXPECT_EQ(0, destroyed_);

    object->Unlock();
    EXPECT_EQ(1, destroyed_);
}

TEST_F(ShareableTest, IsHeldAndGivenBackThroughTheLockInterface) {
    Probe probe(released_, destroyed_);
    ILockable& lockable = probe;

    lockable.Lock();
    EXPECT_EQ(2, probe.GetRefCount());

    lockable.Unlock();
    EXPECT_EQ(1, probe.GetRefCount());
}

TEST_F(ShareableTest, CountIsExactWithEightThreads) {
    Probe probe(released_, destroyed_);

    RunOnEightThreads([&probe] {
        for (int i = 0; i < 100000; ++i) {
            probe.Lock();
            probe.Lock();
            probe.Unlock();
            probe.Unlock();
        }
    });

    EXPECT_EQ(1, probe.GetRefCount());
    EXPECT_EQ(0, released_);
}

TEST_F(ShareableTest, LastOfEightThreadsReleasesAndNoOther) {
    constexpr int kReferencesPerThread = 1000;
    auto* const object = new SelfDeleting(destroyed_);
    for (int i = 0; i < kThreads * kReferencesPerThread - 1; ++i) object->Lock();

    RunOnEightThreads([object] {
        for (int i = 0; i < kReferencesPerThread; ++i) object->Unlock();
    });

    EXPECT_EQ(1, destroyed_);
}

TEST_F(ShareableTest, EndsOnAnEightByteBoundary) { EXPECT_EQ(16u, sizeof(Shareable)); }

TEST_F(ShareableTest, DestructorComesFirstInTheVirtualTable) {
    auto* const probe = new Probe(released_, destroyed_);

    const auto destroyAndFree = reinterpret_cast<void (*)(void*)>(VirtualSlot(probe, 1));
    destroyAndFree(probe);

    EXPECT_EQ(1, destroyed_);
}

TEST_F(ShareableTest, OperationsFollowTheDestructorInTheVirtualTable) {
    Probe probe(released_, destroyed_);
    const auto lock = reinterpret_cast<void (*)(Shareable*)>(VirtualSlot(&probe, 2));
    const auto unlock = reinterpret_cast<void (*)(Shareable*)>(VirtualSlot(&probe, 3));
    const auto getRefCount = reinterpret_cast<long (*)(const Shareable*)>(VirtualSlot(&probe, 4));
    const auto onRelease = reinterpret_cast<void (*)(Shareable*)>(VirtualSlot(&probe, 5));

    lock(&probe);
    lock(&probe);
    unlock(&probe);
    EXPECT_EQ(2, probe.GetRefCount());
    EXPECT_EQ(2, getRefCount(&probe));

    onRelease(&probe);
    EXPECT_EQ(1, released_);
}

}  // namespace
}  // namespace QvTests
