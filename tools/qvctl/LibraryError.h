// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The library's error log as the tool uses it: to learn the reason of a failure in words, and to
// leave its own refusals there beside the library's.

#ifndef QVCTL_LIBRARYERROR_H
#define QVCTL_LIBRARYERROR_H

#include <string>

#include "Failure.h"
#include "QvUserLib/BaseTypes.h"

namespace Qvctl {

// Opens the process-wide error log; without a path it keeps its errors in memory only.
void OpenErrorLog(const std::string& aPath);

// The message that was logged with a failure; its code when it was reported without one.
std::string ReasonFor(const QvUserLib::Result& aResult);

// Records a refusal of the tool's own, and returns it as a result.
QvUserLib::Result Refuse(QvUserLib::Code aCode, unsigned long aLine, const char* aReason);

// The failure of a system call, with the system's words for its error.
Failure SystemFailure(const std::string& aWhat, unsigned long aError);
// The system's words for one of its error codes; empty when it has none.
std::string SystemText(unsigned long aCode);

// The failure of something that was asked of the driver, with the system's words for its code.
Failure DriverFailure(const std::string& aWhat, const QvUserLib::Result& aResult);

}  // namespace Qvctl

#endif
