// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Devices of the sample driver that are plugged in beside the two that all tests have.

#ifndef QVTESTS_PLUGGEDDEVICES_H
#define QVTESTS_PLUGGEDDEVICES_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "QvKit/DeviceList.h"
#include "QvSample/QvSampleDevice.h"
#include "SampleSetup.h"
#include "UniqueDeviceSet.h"

namespace QvTests {

/// The device of an interface path: of \\?\root#name#0000#{…} it is root\name\0000.
inline std::string InstancePathOf(const std::string& aPath) {
    constexpr std::size_t kPrefix = 4;
    std::string instance = aPath.substr(kPrefix, aPath.rfind('#') - kPrefix);
    std::replace(instance.begin(), instance.end(), '#', '\\');
    return instance;
}

class PluggedDevices {
public:
    explicit PluggedDevices(std::size_t aCount) {
        const Outcome setup = InstallSampleDevices(kOthers + aCount);
        EXPECT_EQ(0u, setup.exitCode) << setup.out << setup.err;
        const auto devices = QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE);
        for (std::size_t index = kOthers; index < devices.size(); ++index) {
            paths_.push_back(devices[index].path);
        }
    }
    ~PluggedDevices() {
        for (const std::string& path : paths_) Unplug(path);
    }

    PluggedDevices(const PluggedDevices&) = delete;
    PluggedDevices& operator=(const PluggedDevices&) = delete;

    const std::vector<std::string>& GetPaths() const { return paths_; }

private:
    static constexpr std::size_t kOthers = 2;

    // Without the setup program, which takes its time.
    static void Unplug(const std::string& aPath) {
        const QvBaseLib::UniqueDeviceSet set(::SetupDiCreateDeviceInfoList(nullptr, nullptr));
        SP_DEVINFO_DATA device = {};
        device.cbSize = sizeof device;
        EXPECT_TRUE(::SetupDiOpenDeviceInfoW(set.Get(), Widen(InstancePathOf(aPath)).c_str(),
                                             nullptr, 0, &device))
            << ::GetLastError();
        EXPECT_TRUE(::SetupDiCallClassInstaller(DIF_REMOVE, set.Get(), &device))
            << ::GetLastError();
    }

    std::vector<std::string> paths_;
};

}  // namespace QvTests

#endif
