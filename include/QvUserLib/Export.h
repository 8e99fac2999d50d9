// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_EXPORT_H
#define QVUSERLIB_EXPORT_H

/// @def QVUSERLIB_API
/// Marks what `QvUserLib64.dll` exports. Define `QVUSERLIB_STATIC` to link its objects directly.
#if defined(QVUSERLIB_STATIC)
#define QVUSERLIB_API
#elif defined(QVUSERLIB_BUILD)
#define QVUSERLIB_API __declspec(dllexport)
#else
#define QVUSERLIB_API __declspec(dllimport)
#endif

#endif
