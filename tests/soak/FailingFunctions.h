// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The imported functions that can fail.

#ifndef QVTESTS_FAILINGFUNCTIONS_H
#define QVTESTS_FAILINGFUNCTIONS_H

#include <memory>
#include <vector>

#include "FailingCalls.h"

namespace QvTests {

/// An imported function that can fail, and the codes with which an operation may fail because of
/// it.
struct FailingFunction {
    std::unique_ptr<FailingCall> call;
    std::vector<unsigned long> codes;
};

std::vector<FailingFunction> MakeFailingFunctions();

}  // namespace QvTests

#endif
