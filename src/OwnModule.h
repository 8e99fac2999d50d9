// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_SRC_OWNMODULE_H
#define QVUSERLIB_SRC_OWNMODULE_H

#include "WindowsApi.h"

// The linker's name for the start of the module that this code is in.
extern "C" unsigned char __ImageBase[];

namespace QvUserLib {

inline HMODULE OwnModule() { return reinterpret_cast<HMODULE>(__ImageBase); }

}  // namespace QvUserLib

#endif
