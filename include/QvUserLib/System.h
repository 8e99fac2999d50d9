// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/// @file
/// Small queries of the system.

#ifndef QVUSERLIB_SYSTEM_H
#define QVUSERLIB_SYSTEM_H

#include "QvUserLib/Export.h"

namespace QvUserLib {

/// The number of logical processors, as `GetSystemInfo` tells it.
QVUSERLIB_API int GetNumberOfCPU();

/// Composes the path of a special folder, a folder in it, and a file in that, and creates the
/// folders that are missing, but not the file.
///
/// @param aFolder     The special folder, a CSIDL number as of `SHGetFolderPath`.
/// @param aDirectory  A folder in it; null for none.
/// @param aFile       A file name; null for none.
/// @param aOut        Receives the path in the ANSI code page, zero-terminated. When there is no
///                    such special folder it receives `aFile` alone, a name relative to the current
///                    directory. When the path does not fit it receives an empty text, and
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
