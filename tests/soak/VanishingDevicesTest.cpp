// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Devices that are removed and come back while eight threads use whatever devices there are.

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <map>
#include <mutex>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "HandleLedger.h"
#include "KernelObjects.h"
#include "OpenHandles.h"
#include "QvUserLib/DeviceEnumerator.h"
#include "QvUserLib/DeviceRequestQueue.h"
#include "SampleDevice.h"
#include "TestScale.h"
#include "ThirdDevice.h"

namespace QvTests {
namespace {

// The codes with which a request fails while its device is removed, and afterwards.
const std::set<unsigned long> kGone = {
    ERROR_SUCCESS,        ERROR_INVALID_FUNCTION,  ERROR_ACCESS_DENIED, ERROR_NOT_READY,
    ERROR_DELETE_PENDING, ERROR_OPERATION_ABORTED, ERROR_DEVICE_REMOVED};
const std::set<unsigned long> kNotThere = {Code::Success, Code::NoSuchDevice,
                                           Code::InvalidArgument};

constexpr DWORD kPauseMs = 5;

// The system opens an event, which stays open, when one of its locks is waited for the first time.
// So many locks may be waited for.
constexpr std::size_t kLocks = 4;

// Threads that use the devices, and the results that they get.
class Users {
public:
    void Enumerate() {
        DeviceEnumerator enumerator;
        Note("Enumerate", enumerator.Enumerate(&GUID_DEVINTERFACE_QVSAMPLE), {Code::Success});
        String link;
        for (unsigned int index = 0;; ++index) {
            const Result result = enumerator.GetSymLink(index, &link);
            Note("GetSymLink", result, {Code::Success, Code::NoSuchDevice});
            if (result.IsFailure()) break;
            DeviceConnection connection;
            Note("Connect", connection.Connect(reinterpret_cast<const char*>(link.GetUnicode())),
                 {Code::Success, Code::InvalidArgument});
        }
    }

    void Load() {
        DeviceConnection connection;
        if (!Open(connection)) return;
        DeviceParameterRepository parameters;
        for (int time = 0; time < 5; ++time) {
            const Result result =
                time == 0 ? parameters.Connect(&connection) : parameters.Refresh();
            NoteUse("load", result);
            const unsigned long count = result.IsSuccess() ? QV_SAMPLE_PARAMETER_COUNT : 0;
            if (parameters.GetCount() != count) NoteStrange("number of parameters");
        }
    }

    void Apply() {
        DeviceConnection connection;
        DeviceParameterRepository parameters;
        if (!Open(connection)) return;
        if (parameters.Connect(&connection).IsFailure()) return;
        for (int time = 0; time < 10; ++time) {
            Parameter* const marker = parameters.GetByID(QV_SAMPLE_ID_MARKER);
            Note("SetInt", marker->SetInt(marker->GetInt() + 1), {Code::Success});
            NoteUse("Apply", parameters.Apply());
        }
    }

    void Stream() {
        constexpr unsigned int kSize = 4096;
        constexpr unsigned int kPending = 8;
        std::vector<unsigned char> buffer(std::size_t{kSize} * (kPending + 1));
        DeviceConnection connection;
        if (!Open(connection)) return;
        DeviceRequestQueue queue;
        Note("Allocate", queue.Allocate(kPending + 1, &connection), {Code::Success});
        for (unsigned int packet = 0; packet < 50; ++packet) {
            void* const request = queue.GetNextAvailableRequest();
            if (request == nullptr) continue;  // The oldest one failed, and was noted.
            unsigned long size = 0;
            const Result read = connection.Read(
                &buffer[std::size_t{packet % (kPending + 1)} * kSize], kSize, &size, request);
            if (read.GetCode() != Code::Pending) NoteUse("Read", read);
        }
        NoteUse("Wait", queue.Wait());
    }

    // Runs the work on a thread until all are to stop.
    void Start(void (Users::*aWork)()) {
        threads_.emplace_back([this, aWork] {
            // The short pause lets the setup program have its turn.
            do {
                (this->*aWork)();
                ++rounds_;
            } while (::WaitForSingleObject(stop_.Get(), kPauseMs) == WAIT_TIMEOUT);
        });
    }
    void Stop() {
        stop_.Set();
        for (std::thread& thread : threads_) thread.join();
        threads_.clear();
    }

    unsigned long Rounds() const { return rounds_; }
    unsigned long Failures() const { return failures_; }
    /// Those of devices that were open: they went away while they were used.
    unsigned long FailuresInUse() const { return failuresInUse_; }
    const std::map<std::string, int>& Strange() const { return strange_; }

private:
    bool Open(DeviceConnection& aConnection) {
        const Result result = aConnection.Connect(GUID_DEVINTERFACE_QVSAMPLE, ++next_ % 3);
        Note("Connect by class", result, kNotThere);
        return result.IsSuccess();
    }

    void Note(const char* aWhat, const Result& aResult, const std::set<unsigned long>& aExpected) {
        if (aResult.IsFailure()) ++failures_;
        if (aExpected.count(aResult.GetCode()) > 0) return;
        NoteStrange(aWhat + (": " + std::to_string(aResult.GetCode())));
    }

    // Of a device that was there when it was opened.
    void NoteUse(const char* aWhat, const Result& aResult) {
        if (aResult.IsFailure()) ++failuresInUse_;
        Note(aWhat, aResult, kGone);
    }

    void NoteStrange(const std::string& aWhat) {
        const std::lock_guard<std::mutex> guard(lock_);
        ++strange_[aWhat];
    }

    std::vector<std::thread> threads_;
    Event stop_;
    std::atomic<unsigned int> next_{0};
    std::atomic<unsigned long> rounds_{0};
    std::atomic<unsigned long> failures_{0};
    std::atomic<unsigned long> failuresInUse_{0};
    std::mutex lock_;  // Guards what follows.
    std::map<std::string, int> strange_;
};

struct Scenario {
    const char* name;
    unsigned long quarters;  // Of the time.
    std::vector<void (Users::*)()> uses;
};

const std::vector<Scenario> kScenarios = {
    {"Parameters", 1, {&Users::Load, &Users::Apply}},
    {"Streams", 1, {&Users::Stream}},
    {"Everything", 2, {&Users::Enumerate, &Users::Load, &Users::Apply, &Users::Stream}},
};

// GoogleTest prints scenarios with this.
void PrintTo(const Scenario& aScenario, std::ostream* aOut) { *aOut << aScenario.name; }

constexpr std::size_t kThreads = 8;

class VanishingDevicesTest : public SampleDeviceTest, public testing::WithParamInterface<Scenario> {
protected:
    // What the system opens at the first use stays open.
    void UseOnce() {
        device_.Add();
        Users users;
        for (const auto use : GetParam().uses) (users.*use)();
        device_.Remove();
    }

    // Returns how often the device was removed.
    unsigned long RemoveAndAdd() {
        const ULONGLONG seconds = Scaled("QVTEST_VANISH_SECONDS", 4);
        const ULONGLONG end = ::GetTickCount64() + seconds * 1000 * GetParam().quarters / 4;
        unsigned long removals = 0;
        while (::GetTickCount64() < end && !HasFailure()) {
            device_.Add();
            device_.Remove();
            if (++removals % 100 == 0) std::cout << removals << " removals" << std::endl;
        }
        return removals;
    }

    // Removes the device again and again while threads use it.
    void UseWhileRemoving() {
        Users users;
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            users.Start(GetParam().uses[thread % GetParam().uses.size()]);
        }
        removals_ = RemoveAndAdd();
        users.Stop();
        strange_ = users.Strange();
        failuresInUse_ = users.FailuresInUse();
        std::printf(
            "%lu removals, %lu rounds of use, %lu failures, each with a code, %lu while in use\n",
            removals_, users.Rounds(), users.Failures(), failuresInUse_);
    }

    ThirdDevice device_;
    unsigned long removals_ = 0;
    unsigned long failuresInUse_ = 0;
    std::map<std::string, int> strange_;
};

TEST_P(VanishingDevicesTest, NothingCrashesHangsOrIsLost) {
    UseOnce();
    const std::size_t handles = CountOpenHandles();
    const std::size_t threads = CountThreads();
    ASSERT_GT(handles, 0u);

    const HandleLedger ledger;
    UseWhileRemoving();

    // Both before the first failure, for which the test framework starts a thread.
    const std::size_t handlesAfter = CountOpenHandles();
    const std::size_t threadsAfter = CountThreads();
    EXPECT_EQ(0, ledger.Unbalanced());
    EXPECT_LE(handlesAfter, handles + kLocks);
    EXPECT_EQ(threads, threadsAfter);
    EXPECT_THAT(strange_, testing::IsEmpty());
    EXPECT_GT(removals_, 0u);
    // A few removals may all find the device at rest.
    EXPECT_TRUE(failuresInUse_ > 0 || removals_ < 10) << removals_;
}

INSTANTIATE_TEST_SUITE_P(, VanishingDevicesTest, testing::ValuesIn(kScenarios),
                         [](const auto& aInfo) { return std::string(aInfo.param.name); });

}  // namespace
}  // namespace QvTests
