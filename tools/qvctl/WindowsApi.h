// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The one way in which the tool's sources reach the Win32 API.

#ifndef QVCTL_WINDOWSAPI_H
#define QVCTL_WINDOWSAPI_H

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

#include <windows.h>

#endif
