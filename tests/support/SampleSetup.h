// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Creates and removes devices of the sample driver.

#ifndef QVTESTS_SAMPLESETUP_H
#define QVTESTS_SAMPLESETUP_H

#include <string>

#include "ProgramRun.h"

namespace QvTests {

/// Makes sure that there are at least so many.
inline Outcome InstallSampleDevices(std::size_t aCount) {
    return RunProgram(L"qvctl.exe", {"driver", "install", OwnDirectory() + "\\QvSampleDriver.inf",
                                     "--devices", std::to_string(aCount)});
}

/// @param aDevice  Its number, or its instance id.
inline Outcome RemoveSampleDevice(const std::string& aDevice) {
    return RunProgram(L"qvctl.exe",
                      {"driver", "remove", "--id", "ROOT\\QVSAMPLE", "--device", aDevice});
}

}  // namespace QvTests

#endif
