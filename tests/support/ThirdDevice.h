// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A device that comes and goes beside the two that all tests have.

#ifndef QVTESTS_THIRDDEVICE_H
#define QVTESTS_THIRDDEVICE_H

#include <string>
#include <vector>

#include "ProgramRun.h"
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

    void Add() { isThere_ = RunSetup({"install", "--devices", "3"}); }
    void Remove() {
        isThere_ = false;
        (void)RunSetup({"remove", "--device", "2"});  // It has failed the test.
    }

private:
    static bool RunSetup(const std::vector<std::string>& aArguments) {
        const Outcome outcome = RunProgram(L"QvSampleSetup.exe", aArguments);
        EXPECT_EQ(0u, outcome.exitCode) << outcome.out << outcome.err;
        return outcome.exitCode == 0;
    }

    bool isThere_ = false;
};

}  // namespace QvTests

#endif
