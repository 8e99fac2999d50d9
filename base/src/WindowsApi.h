// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The one way in which the sources reach the Win32 API.

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
