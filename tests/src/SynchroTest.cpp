// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/Synchro.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "HandleLedger.h"
#include "ImportPatch.h"
#include "KernelObjects.h"
#include "LoggedErrors.h"
#include "SlotCalls.h"
#include "TestSupport.h"

namespace QvTests {
namespace {

using testing::ElementsAre;

constexpr char kNoHandle[] =
    "The constructor of object failed or application try to access deleted object";
constexpr char kAbandoned[] = "Wait returned because the object was abandonned";
constexpr char kTimedOut[] = "Wait returned because of a time-out";

constexpr DWORD kMomentMs = 30;

// How long a wait that must not end is watched.
constexpr std::chrono::milliseconds kWatch(50);

// A client's own class on the base: waits for whatever handle it was given.
class Waitable : public Synchro {
public:
    explicit Waitable(HANDLE aHandle = nullptr) { handle_ = aHandle; }
    ~Waitable() override = default;

    HANDLE Get() const { return handle_; }
};

HANDLE NewEvent(bool aSet) { return ::CreateEventA(nullptr, /*bManualReset=*/TRUE, aSet, nullptr); }

// A mutex whose owner has ended without giving it back.
HANDLE NewAbandonedMutex() {
    const HANDLE mutex = ::CreateMutexA(nullptr, /*bInitialOwner=*/FALSE, nullptr);
    std::thread([mutex] { ::WaitForSingleObject(mutex, INFINITE); }).join();
    return mutex;
}

// An event that the system lets nobody wait for.
HANDLE NewEventWithoutTheRightToWait() {
    const Handle event(NewEvent(/*aSet=*/false));
    HANDLE restricted = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), event.Get(), ::GetCurrentProcess(), &restricted,
                      EVENT_MODIFY_STATE, /*bInheritHandle=*/FALSE, /*dwOptions=*/0);
    return restricted;
}

// Both forms of the wait, which have to agree in everything but the limit and the line numbers.
struct Form {
    const char* name;
    std::function<Result(Synchro&)> wait;
};
const std::vector<Form>& BothForms() {
    static const std::vector<Form> forms = {
        {"without limit", [](Synchro& aObject) { return aObject.WaitUntilSignaled(); }},
        {"with a limit", [](Synchro& aObject) { return aObject.WaitUntilSignaled(kMomentMs); }},
    };
    return forms;
}

// Stands in for the system's wait: answers what the test wants, and remembers what was asked.
class ScriptedWait {
public:
    explicit ScriptedWait(DWORD aAnswer) {
        answer_ = aAnswer;
        calls_.clear();
    }

    using Call = std::pair<HANDLE, DWORD>;
    const std::vector<Call>& Calls() const { return calls_; }

private:
    static DWORD WINAPI Wait(HANDLE aHandle, DWORD aTimeout) {
        calls_.emplace_back(aHandle, aTimeout);
        return answer_;
    }

    inline static DWORD answer_ = 0;
    inline static std::vector<Call> calls_;

    ImportPatch patch_{"WaitForSingleObject", &Wait};
};

TEST(SynchroTest, HasNoHandleUntilADerivedClassStoresOne) {
    class Bare : public Synchro {
    public:
        HANDLE Get() const { return handle_; }
    };
    const Bare bare;

    EXPECT_EQ(nullptr, bare.Get());
}

TEST(SynchroTest, WaitWithoutAHandleIsRefused) {
    for (const Form& form : BothForms()) {
        SCOPED_TRACE(form.name);
        Waitable waitable;

        EXPECT_THAT(form.wait(waitable), IsBareCode(Code::InvalidHandle));
        EXPECT_EQ(kNoHandle, LastErrorText());
    }
}

TEST(SynchroTest, WaitWithoutAHandleMakesNoSystemCall) {
    const ScriptedWait system(WAIT_OBJECT_0);
    for (const Form& form : BothForms()) {
        SCOPED_TRACE(form.name);
        Waitable waitable;

        EXPECT_THAT(form.wait(waitable), IsBareCode(8));
    }
    EXPECT_TRUE(system.Calls().empty());
}

TEST(SynchroTest, WaitForASignalledHandleSucceeds) {
    for (const Form& form : BothForms()) {
        SCOPED_TRACE(form.name);
        Waitable waitable(NewEvent(/*aSet=*/true));
        const ErrorWatch watch;

        EXPECT_THAT(form.wait(waitable), IsBareCode(Code::Success));
        EXPECT_TRUE(watch.IsQuiet());
    }
}

TEST(SynchroTest, WaitWithoutLimitAsksForNone) {
    const ScriptedWait system(WAIT_OBJECT_0);
    Waitable waitable(NewEvent(/*aSet=*/false));

    EXPECT_THAT(waitable.WaitUntilSignaled(), IsBareCode(Code::Success));

    EXPECT_THAT(system.Calls(), ElementsAre(std::make_pair(waitable.Get(), INFINITE)));
}

TEST(SynchroTest, WaitWithALimitAsksForThatManyMilliseconds) {
    const ScriptedWait system(WAIT_OBJECT_0);
    Waitable waitable(NewEvent(/*aSet=*/false));

    EXPECT_THAT(waitable.WaitUntilSignaled(1234), IsBareCode(Code::Success));
    EXPECT_THAT(waitable.WaitUntilSignaled(0), IsBareCode(Code::Success));

    EXPECT_THAT(system.Calls(), ElementsAre(std::make_pair(waitable.Get(), 1234),
                                            std::make_pair(waitable.Get(), 0)));
}

TEST(SynchroTest, LimitOfZeroOnlyAsks) {
    Waitable waitable(NewEvent(/*aSet=*/false));

    EXPECT_THAT(waitable.WaitUntilSignaled(0), IsBareCode(Code::TimedOut));
    EXPECT_EQ(kTimedOut, LastErrorText());

    ::SetEvent(waitable.Get());
    EXPECT_THAT(waitable.WaitUntilSignaled(0), IsBareCode(Code::Success));
}

TEST(SynchroTest, WaitLastsAsLongAsItsLimit) {
    Waitable waitable(NewEvent(/*aSet=*/false));
    const auto start = std::chrono::steady_clock::now();

    EXPECT_THAT(waitable.WaitUntilSignaled(kMomentMs), IsBareCode(30));

    // Clocks may differ by a tick of the system.
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(kMomentMs / 2));
}

TEST(SynchroTest, WaitWithoutLimitLastsUntilTheSignal) {
    Waitable waitable(NewEvent(/*aSet=*/false));

    auto waited =
        std::async(std::launch::async, [&waitable] { return waitable.WaitUntilSignaled(); });
    EXPECT_EQ(std::future_status::timeout, waited.wait_for(kWatch));

    ::SetEvent(waitable.Get());
    EXPECT_THAT(waited.get(), IsBareCode(Code::Success));
}

TEST(SynchroTest, AbandonedMutexIsReported) {
    for (const Form& form : BothForms()) {
        SCOPED_TRACE(form.name);
        Waitable waitable(NewAbandonedMutex());

        EXPECT_THAT(form.wait(waitable), IsBareCode(Code::SystemCallFailed));
        EXPECT_EQ(kAbandoned, LastErrorText());
    }
}

TEST(SynchroTest, AbandonedMutexIsTheWaitersAfterwards) {
    Waitable waitable(NewAbandonedMutex());
    EXPECT_THAT(waitable.WaitUntilSignaled(), IsBareCode(29));

    EXPECT_THAT(waitable.WaitUntilSignaled(), IsBareCode(Code::Success));
    EXPECT_TRUE(::ReleaseMutex(waitable.Get()));
}

TEST(SynchroTest, WaitThatTheSystemRefusesCountsAsSuccess) {
    for (const Form& form : BothForms()) {
        SCOPED_TRACE(form.name);
        Waitable waitable(NewEventWithoutTheRightToWait());
        ASSERT_NE(nullptr, waitable.Get());
        ASSERT_EQ(WAIT_FAILED, ::WaitForSingleObject(waitable.Get(), 0));
        const ErrorWatch watch;

        EXPECT_THAT(form.wait(waitable), IsBareCode(Code::Success));
        EXPECT_TRUE(watch.IsQuiet());
    }
}

TEST(SynchroTest, EveryOtherResultOfTheSystemCountsAsSuccess) {
    for (const DWORD answer : {DWORD{1}, DWORD{63}, DWORD{0x81}, DWORD{WAIT_IO_COMPLETION},
                               DWORD{257}, DWORD{259}, DWORD{WAIT_FAILED}}) {
        SCOPED_TRACE(answer);
        const ScriptedWait system(answer);
        Waitable waitable(NewEvent(/*aSet=*/false));
        const ErrorWatch watch;

        EXPECT_THAT(waitable.WaitUntilSignaled(), IsBareCode(Code::Success));
        EXPECT_THAT(waitable.WaitUntilSignaled(0), IsBareCode(Code::Success));
        EXPECT_TRUE(watch.IsQuiet());
    }
}

TEST(SynchroTest, WaitWithoutLimitReportsItsOwnLines) {
    Waitable none;
    Waitable abandoned(NewAbandonedMutex());
    Waitable unset(NewEvent(/*aSet=*/false));

    EXPECT_THAT(LoggedErrors([&] {
                    (void)none.WaitUntilSignaled();  // Here and below the log is what counts.
                    (void)abandoned.WaitUntilSignaled();
                    const ScriptedWait system(WAIT_TIMEOUT);
                    (void)unset.WaitUntilSignaled();
                }),
                ElementsAre(std::string("[0x8] .\\Synchro(52) ERR  - ") + kNoHandle,
                            std::string("[0x1d] .\\Synchro(60) ERR  - ") + kAbandoned,
                            std::string("[0x1e] .\\Synchro(65) ERR  - ") + kTimedOut));
}

TEST(SynchroTest, WaitWithALimitReportsItsOwnLines) {
    Waitable none;
    Waitable abandoned(NewAbandonedMutex());
    Waitable unset(NewEvent(/*aSet=*/false));

    EXPECT_THAT(LoggedErrors([&] {
                    (void)none.WaitUntilSignaled(0);  // Here and below the log is what counts.
                    (void)abandoned.WaitUntilSignaled(0);
                    (void)unset.WaitUntilSignaled(0);
                }),
                ElementsAre(std::string("[0x8] .\\Synchro(88) ERR  - ") + kNoHandle,
                            std::string("[0x1d] .\\Synchro(96) ERR  - ") + kAbandoned,
                            std::string("[0x1e] .\\Synchro(101) ERR  - ") + kTimedOut));
}

TEST(SynchroTest, WaitLeavesTheHandleOpen) {
    Waitable waitable(NewEvent(/*aSet=*/true));
    const HandleLedger ledger;

    (void)waitable.WaitUntilSignaled();  // What counts is what it does to the handle.
    (void)waitable.WaitUntilSignaled(0);

    EXPECT_EQ(0, ledger.Closes());
}

TEST(SynchroTest, DestructionClosesTheHandleOnce) {
    const HANDLE event = NewEvent(/*aSet=*/false);
    auto waitable = std::make_unique<Waitable>(event);
    const HandleLedger ledger;

    waitable.reset();

    EXPECT_EQ(1, ledger.ClosesOf(event));
    EXPECT_EQ(1, ledger.Closes());
}

TEST(SynchroTest, DestructionWithoutAHandleClosesNothing) {
    auto waitable = std::make_unique<Waitable>();
    const HandleLedger ledger;

    waitable.reset();

    EXPECT_EQ(0, ledger.Closes());
}

TEST(SynchroTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible<Waitable>::value);
    EXPECT_FALSE(std::is_copy_assignable<Waitable>::value);
}

TEST(SynchroTest, HoldsAHandleAndNothingElse) { EXPECT_EQ(2 * sizeof(void*), sizeof(Synchro)); }

TEST(SynchroTest, WaitWithALimitComesFirstInTheVirtualTable) {
    Waitable waitable(NewEvent(/*aSet=*/false));

    EXPECT_THAT(CallSlot<Result>(&waitable, 0, 0UL), IsBareCode(Code::TimedOut));
}

TEST(SynchroTest, WaitWithoutLimitComesSecondInTheVirtualTable) {
    const ScriptedWait system(WAIT_OBJECT_0);
    Waitable waitable(NewEvent(/*aSet=*/false));

    EXPECT_THAT(CallSlot<Result>(&waitable, 1), IsBareCode(Code::Success));
    EXPECT_THAT(system.Calls(), ElementsAre(std::make_pair(waitable.Get(), INFINITE)));
}

// In the Itanium ABI it has two entries: the second also frees the memory.
TEST(SynchroTest, DestructorFollowsTheWaitsInTheVirtualTable) {
    const HANDLE event = NewEvent(/*aSet=*/false);
    auto* const waitable = new Waitable(event);
    const HandleLedger ledger;

    CallSlot<void>(waitable, 3);

    EXPECT_EQ(1, ledger.ClosesOf(event));
}

TEST(SynchroTest, DerivedClassMayReplaceTheWaits) {
    class Replaced : public Waitable {
    public:
        Result WaitUntilSignaled(unsigned long aTimeout) override { return Result(aTimeout); }
        Result WaitUntilSignaled() override { return Result(77); }
    };
    Replaced replaced;
    Synchro& base = replaced;

    EXPECT_THAT(base.WaitUntilSignaled(5), IsBareCode(5));
    EXPECT_THAT(base.WaitUntilSignaled(), IsBareCode(77));
}

}  // namespace
}  // namespace QvTests
