// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_OWNMODULE_H
#define QVUSERLIB_SRC_OWNMODULE_H

#include "WindowsApi.h"

// The linker's symbol for the start of the module that contains this code.
extern "C" unsigned char __ImageBase[];

namespace QvUserLib {

inline HMODULE OwnModule() { return reinterpret_cast<HMODULE>(__ImageBase); }

}  // namespace QvUserLib

#endif
