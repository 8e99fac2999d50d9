// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/// @file
/// Small queries about the system.

#ifndef QVUSERLIB_SYSTEM_H
#define QVUSERLIB_SYSTEM_H

#include "QvUserLib/Export.h"

namespace QvUserLib {

/// The number of logical processors, as `GetSystemInfo` reports it.
QVUSERLIB_API int GetNumberOfCPU();

/// Builds the path of a special folder, a folder in it, and a file in that. Creates the missing
/// folders, but not the file.
///
/// @param aFolder     The special folder, a CSIDL number as for `SHGetFolderPath`.
/// @param aDirectory  A folder in it; null for none.
/// @param aFile       A file name; null for none.
/// @param aOut        Receives the path in the ANSI code page, zero-terminated. If there is no such
///                    special folder, it receives only `aFile`, a name relative to the current
///                    directory. If the path does not fit, it receives an empty text and
///                    `aDirectory` is not created.
/// @param aOutSize    The size of `aOut` in bytes; MAX_PATH (260) is always enough for the special
///                    folder itself.
QVUSERLIB_API void GetPath(int aFolder, const char* aDirectory, const char* aFile, char* aOut,
                           int aOutSize);

/// Writes the local date and time as the 24 characters of the C library's `asctime`, such as
/// `Thu Jan 15 12:00:00 1970`. The day always takes two characters: C libraries write the first day
/// of a month as ` 1` or as `01`.
///
/// @param aOut      Receives the zero-terminated text.
/// @param aOutSize  The size of `aOut` in bytes, at least 26; below that it receives an empty text.
QVUSERLIB_API void GetDateTime(char* aOut, int aOutSize);

}  // namespace QvUserLib

#endif
