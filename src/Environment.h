// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_ENVIRONMENT_H
#define QVUSERLIB_SRC_ENVIRONMENT_H

#include <optional>
#include <string>
#include <variant>

// The process has an environment, and the C library has a copy of it. They can differ:
// SetEnvironmentVariable changes only the first, and a copy in the code page has question marks for
// the characters that the code page lacks. A program may also use another C library than this one.
namespace QvUserLib {

// Copies the value of a variable of the C library's environment. False, and no change to *aValue,
// when there is no such variable.
bool ReadEnvironment(const char* aName, std::string* aValue);

// The value of a variable of the process's environment. Nothing when there is no such variable.
std::optional<std::wstring> ReadProcessVariable(const wchar_t* aName);

// The value of PATH in the C library's environment, in the form that it has there: 8-bit, or UTF-16
// in a program with a wide main, or one that has asked for wide variables. Empty when there is
// none.
using RuntimePath = std::variant<std::string, std::wstring>;
RuntimePath ReadRuntimePath();

// Sets PATH in the C library's environment, and so in the process's. An empty value removes it.
void SetRuntimePath(const RuntimePath& aValue);

}  // namespace QvUserLib

#endif
