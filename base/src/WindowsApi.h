// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// All sources include the Win32 API through this header.

#ifndef QVBASELIB_WINDOWSAPI_H
#define QVBASELIB_WINDOWSAPI_H

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

#include <windows.h>

#endif
