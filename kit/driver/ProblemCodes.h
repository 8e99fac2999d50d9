// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the system's codes mean to someone who installs a driver.

#ifndef QVKIT_DRIVER_PROBLEMCODES_H
#define QVKIT_DRIVER_PROBLEMCODES_H

#include <string>

namespace QvKit {

// The device manager's problem code in words, as in "problem 28: no driver is installed".
std::string ProblemText(unsigned long aProblem);

// What the user can do about a failure; empty when the system's message is enough.
std::string AdviceFor(unsigned long aCode);

}  // namespace QvKit

#endif
