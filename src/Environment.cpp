// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Environment.h"

#include <stdlib.h>

#include <vector>

namespace QvUserLib {

bool ReadEnvironment(const char* aName, std::string* aValue) {
    // The C library takes an empty name for a programming error.
    if (aName[0] == '\0') return false;

    // getenv_s copies under the C library's own lock, so that another thread's _putenv does no
    // harm. The value may grow between the two calls: then measure again.
    for (;;) {
        size_t size = 0;
        // Without a buffer some C libraries call the value too long for it: only the size counts.
        (void)getenv_s(&size, nullptr, 0, aName);
        if (size == 0) return false;
        std::vector<char> value(size);
        const errno_t error = getenv_s(&size, value.data(), value.size(), aName);
        if (error == ERANGE) continue;
        if (error != 0 || size == 0) return false;
        *aValue = value.data();
        return true;
    }
}

}  // namespace QvUserLib
