// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The value of the variable PATH: directories, separated by semicolons.

#ifndef QVPATHENTRY_PATHLIST_H
#define QVPATHENTRY_PATHLIST_H

#include <string>

namespace QvPathEntry {

// The list with the directory at its end, or the list itself if it has the directory already. Case
// and backslashes at the end do not count.
std::wstring WithEntry(const std::wstring& aList, const std::wstring& aDirectory);

// The list without the directory; everything else stays as it is.
std::wstring WithoutEntry(const std::wstring& aList, const std::wstring& aDirectory);

}  // namespace QvPathEntry

#endif
