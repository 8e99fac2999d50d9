// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_ENVIRONMENT_H
#define QVUSERLIB_SRC_ENVIRONMENT_H

#include <string>

namespace QvUserLib {

// Copies the value of a variable of the C library's environment. False, and no change to *aValue,
// when there is no such variable.
bool ReadEnvironment(const char* aName, std::string* aValue);

}  // namespace QvUserLib

#endif
