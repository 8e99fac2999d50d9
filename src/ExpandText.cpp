// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ExpandText.h"

#include <algorithm>
#include <cstdio>

namespace QvUserLib {

std::size_t ExpandText(char* aOut, std::size_t aSize, const char* aFormat, va_list aArguments) {
    const int length = std::vsnprintf(aOut, aSize, aFormat, aArguments);
    if (length < 0) {
        aOut[0] = '\0';
        return 0;
    }
    return std::min(static_cast<std::size_t>(length), aSize - 1);
}

}  // namespace QvUserLib
