// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_EXPANDTEXT_H
#define QVUSERLIB_SRC_EXPANDTEXT_H

#include <cstdarg>
#include <cstddef>

namespace QvUserLib {

// Expands a printf-style format into a buffer of aSize bytes, at least one, and returns how many
// characters stand in it before the terminator. What does not fit is cut; a format that cannot be
// expanded gives an empty text.
std::size_t ExpandText(char* aOut, std::size_t aSize, const char* aFormat, va_list aArguments);

}  // namespace QvUserLib

#endif
