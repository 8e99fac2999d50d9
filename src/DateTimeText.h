// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_DATETIMETEXT_H
#define QVUSERLIB_SRC_DATETIMETEXT_H

namespace QvUserLib {

// As GetDateTime, for a time in seconds since 1970 instead of now.
void WriteDateTime(long long aTime, char* aOut, int aOutSize);

}  // namespace QvUserLib

#endif
