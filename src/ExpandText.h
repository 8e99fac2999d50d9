// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_EXPANDTEXT_H
#define QVUSERLIB_SRC_EXPANDTEXT_H

#include <cstdarg>
#include <cstddef>

namespace QvUserLib {

// Expands a printf-style format into a buffer of aSize bytes, at least one, and returns the length
// of the text. The text is cut to the buffer; it is empty if the format cannot be expanded.
std::size_t ExpandText(char* aOut, std::size_t aSize, const char* aFormat, va_list aArguments);

}  // namespace QvUserLib

#endif
