// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/SingleInstance.h"

#include <future>
#include <memory>
#include <string>

#include "KernelObjects.h"
#include "TestSupport.h"
#include "WindowsApi.h"

namespace QvTests {
namespace {

// The probe program, run with some arguments.
class Probe {
public:
    explicit Probe(const std::string& aArguments) {
        char self[MAX_PATH] = {};
        ::GetModuleFileNameA(nullptr, self, MAX_PATH);
        std::string program(self);
        program.replace(program.rfind('\\') + 1, std::string::npos, "SingleInstanceProbe.exe");
        std::string command = "\"" + program + "\" " + aArguments;

        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        if (!::CreateProcessA(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                              nullptr, &startup, &process)) {
            ADD_FAILURE() << "cannot start " << program;
            return;
        }
        ::CloseHandle(process.hThread);
        process_ = std::make_unique<Handle>(process.hProcess);
    }

    // Waits until it ends, without limit but for the test's own.
    int GetAnswer() const {
        DWORD code = ~0u;
        if (process_ != nullptr) {
            ::WaitForSingleObject(process_->Get(), INFINITE);
            ::GetExitCodeProcess(process_->Get(), &code);
        }
        return static_cast<int>(code);
    }

    // False when the process ended before it signalled the event.
    bool WaitUntilReady(const Handle& aReady) const {
        if (process_ == nullptr) return false;
        const HANDLE either[] = {aReady.Get(), process_->Get()};
        return ::WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0;
    }

private:
    std::unique_ptr<Handle> process_;
};

class SingleInstanceTest : public testing::Test {
protected:
    // A name that no one else uses.
    const std::string name_ = "QvUserLib-test-" + std::to_string(::GetCurrentProcessId()) + "-" +
                              std::to_string(::GetTickCount());
};

TEST_F(SingleInstanceTest, FirstHolderFindsNoOther) {
    SingleInstance first(name_.c_str());

    EXPECT_EQ(0, first.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, SecondProcessFindsTheFirst) {
    SingleInstance first(name_.c_str());

    EXPECT_EQ(1, Probe(name_).GetAnswer());
    EXPECT_EQ(0, first.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, ThisProcessFindsAnotherThatWasFirst) {
    const std::string readyName = name_ + "-ready";
    const std::string releaseName = name_ + "-release";
    const Handle ready(::CreateEventA(nullptr, TRUE, FALSE, readyName.c_str()));
    const Handle release(::CreateEventA(nullptr, TRUE, FALSE, releaseName.c_str()));
    const Probe probe(name_ + " " + readyName + " " + releaseName);
    ASSERT_TRUE(probe.WaitUntilReady(ready));

    SingleInstance second(name_.c_str());
    EXPECT_EQ(1, second.IsAnyOtherInstance());

    ::SetEvent(release.Get());
    EXPECT_EQ(0, probe.GetAnswer());
    EXPECT_EQ(1, second.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, ProcessesWithOtherNamesDoNotMeet) {
    SingleInstance first(name_.c_str());

    EXPECT_EQ(0, Probe(name_ + "-other").GetAnswer());
}

TEST_F(SingleInstanceTest, SecondHolderInTheSameProcessFindsTheFirst) {
    SingleInstance first(name_.c_str());
    SingleInstance second(name_.c_str());

    EXPECT_EQ(0, first.IsAnyOtherInstance());
    EXPECT_EQ(1, second.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, NameIsFreeOnceItsHoldersAreGone) {
    auto first = std::make_unique<SingleInstance>(name_.c_str());
    auto second = std::make_unique<SingleInstance>(name_.c_str());

    first.reset();
    EXPECT_EQ(1, second->IsAnyOtherInstance());
    EXPECT_EQ(1, SingleInstance(name_.c_str()).IsAnyOtherInstance());

    second.reset();
    EXPECT_EQ(0, SingleInstance(name_.c_str()).IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, EarlierSystemErrorIsNotTakenForAnotherInstance) {
    ::SetLastError(ERROR_ALREADY_EXISTS);

    SingleInstance first(name_.c_str());

    EXPECT_EQ(0, first.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, NameThatCannotBeCreatedReadsAsNoOtherInstance) {
    const Handle event(::CreateEventA(nullptr, TRUE, FALSE, name_.c_str()));
    ASSERT_NE(nullptr, event.Get());

    SingleInstance instance(name_.c_str());

    EXPECT_EQ(0, instance.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, HoldersWithoutNameDoNotMeet) {
    SingleInstance first(nullptr);
    SingleInstance second(nullptr);

    EXPECT_EQ(0, first.IsAnyOtherInstance());
    EXPECT_EQ(0, second.IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, HolderDoesNotOwnTheMutex) {
    const SingleInstance instance(name_.c_str());
    const Handle mutex(::OpenMutexA(SYNCHRONIZE, FALSE, name_.c_str()));
    ASSERT_NE(nullptr, mutex.Get());

    // Another thread: the owner itself would get it again.
    auto waited = std::async(std::launch::async, [&mutex] {
        const DWORD result = ::WaitForSingleObject(mutex.Get(), /*dwMilliseconds=*/0);
        ::ReleaseMutex(mutex.Get());
        return result;
    });

    EXPECT_EQ(WAIT_OBJECT_0, waited.get());
}

TEST_F(SingleInstanceTest, DestructorIsInTheFirstSlots) {
    auto* const first = new SingleInstance(name_.c_str());

    const auto destroyAndFree = reinterpret_cast<void (*)(void*)>(VirtualSlot(first, 1));
    destroyAndFree(first);

    EXPECT_EQ(0, SingleInstance(name_.c_str()).IsAnyOtherInstance());
}

TEST_F(SingleInstanceTest, KeepsAHandleAndTheErrorOfItsCreation) {
    EXPECT_EQ(3 * sizeof(void*), sizeof(SingleInstance));
}

}  // namespace
}  // namespace QvTests
