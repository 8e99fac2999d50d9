// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A device that comes and goes beside the two that all tests have.

#ifndef QVTESTS_THIRDDEVICE_H
#define QVTESTS_THIRDDEVICE_H

#include "SampleSetup.h"
#include "TestSupport.h"

namespace QvTests {

class ThirdDevice {
public:
    ThirdDevice() = default;
    ~ThirdDevice() {
        if (isThere_) Remove();
    }
    ThirdDevice(const ThirdDevice&) = delete;
    ThirdDevice& operator=(const ThirdDevice&) = delete;

    void Add() { isThere_ = HasWorked(InstallSampleDevices(3)); }
    void Remove() {
        isThere_ = false;
        (void)HasWorked(RemoveSampleDevice("2"));  // It has failed the test.
    }

private:
    static bool HasWorked(const Outcome& aSetup) {
        EXPECT_EQ(0u, aSetup.exitCode) << aSetup.out << aSetup.err;
        return aSetup.exitCode == 0;
    }

    bool isThere_ = false;
};

}  // namespace QvTests

#endif
