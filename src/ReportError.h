// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_REPORTERROR_H
#define QVUSERLIB_SRC_REPORTERROR_H

#include "QvUserLib/BaseTypes.h"

namespace QvUserLib {

// Writes a failure to the process-wide error log and returns its bare code, for the operation to
// return.
//
// aFile is the label of the reporting source, such as ".\Parameter". Arguments that the format does
// not use do no harm: system error codes are passed this way.
Result ReportError(const Result& aResult, const char* aFile, unsigned long aLine,
                   const char* aFormat, ...);

}  // namespace QvUserLib

#endif
