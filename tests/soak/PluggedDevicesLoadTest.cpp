// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Devices that come and go many times, under load, with a watch that has to report each time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "PluggedDevices.h"
#include "QvKit/QvKit.h"
#include "QvSample/QvSampleDevice.h"
#include "TestScale.h"
#include "kit/EventRecorder.h"

namespace QvTests {
namespace {

// Threads that list, open and read devices as fast as they can.
class Load {
public:
    explicit Load(std::size_t aThreads) {
        for (std::size_t thread = 0; thread < aThreads; ++thread) {
            threads_.emplace_back([this] { UseDevices(); });
        }
    }
    ~Load() { Stop(); }

    unsigned long Stop() {
        stop_ = true;
        for (std::thread& thread : threads_) thread.join();
        threads_.clear();
        return rounds_;
    }

private:
    void UseDevices() {
        for (; !stop_; ++rounds_) {
            try {
                for (const auto& address : QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE)) {
                    (void)QvKit::Device(address).LoadParameters().GetSnapshot();
                }
            } catch (const QvKit::Error&) {
                continue;  // It went away meanwhile.
            }
        }
    }

    std::atomic<bool> stop_{false};
    std::atomic<unsigned long> rounds_{0};
    std::vector<std::thread> threads_;
};

// The events of each device by its path, in their order.
using Events = std::map<std::string, std::vector<std::string>>;

Events ByDevice(const std::vector<std::string>& aTexts) {
    Events events;
    for (const std::string& text : aTexts) {
        const std::size_t blank = text.find(' ');
        events[text.substr(blank + 1)].push_back(text.substr(0, blank));
    }
    return events;
}

TEST(PluggedDevicesLoadTest, EveryArrivalAndRemovalIsReportedOnceAndInOrder) {
    constexpr std::size_t kAtOnce = 10;
    const unsigned long times = Scaled("QVTEST_PLUG_TIMES", 100);
    EventRecorder recorder;
    QvKit::DeviceWatcher watcher(&GUID_DEVINTERFACE_QVSAMPLE, recorder.Callback());
    std::vector<std::string> expected;
    for (const auto& address : watcher.GetPresent()) expected.push_back("present " + address.path);
    watcher.Start();

    Load load(2);
    for (unsigned long time = 0; time < times && !HasFailure(); time += kAtOnce) {
        const PluggedDevices devices(kAtOnce);
        EXPECT_EQ(kAtOnce, devices.GetPaths().size());
        for (const std::string& path : devices.GetPaths()) {
            expected.push_back("arrival " + path);
            expected.push_back("removal " + path);
        }
    }
    std::printf("%lu arrivals and removals, %lu rounds of use meanwhile\n", times, load.Stop());
    recorder.Await(expected.size());
    watcher.Stop();

    EXPECT_EQ(ByDevice(expected), ByDevice(recorder.Get()));
}

}  // namespace
}  // namespace QvTests
