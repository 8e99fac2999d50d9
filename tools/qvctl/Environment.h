// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The environment of the process.

#ifndef QVCTL_ENVIRONMENT_H
#define QVCTL_ENVIRONMENT_H

#include <string>

namespace Qvctl {

// The value of a variable in UTF-8; empty for a variable that is not set.
std::string EnvironmentVariable(const wchar_t* aName);

}  // namespace Qvctl

#endif
