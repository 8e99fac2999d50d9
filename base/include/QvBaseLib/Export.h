// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_EXPORT_H
#define QVBASELIB_EXPORT_H

/// @def QVBASELIB_API
/// Marks what `QvBaseLib64.dll` exports. Define `QVBASELIB_STATIC` to link its objects directly.
#if defined(QVBASELIB_STATIC)
#define QVBASELIB_API
#elif defined(QVBASELIB_BUILD)
#define QVBASELIB_API __declspec(dllexport)
#else
#define QVBASELIB_API __declspec(dllimport)
#endif

/// @def QVBASELIB_PRINTF
/// Lets the compiler check a printf-style call. The arguments are the positions (from 1, counting
/// `this`) of the format and of the first value; 0 for the latter when the values come as a
/// `va_list`.
#if defined(__clang__)
#define QVBASELIB_PRINTF(aFormat, aFirst) __attribute__((format(printf, aFormat, aFirst)))
#elif defined(__GNUC__)
#define QVBASELIB_PRINTF(aFormat, aFirst) __attribute__((format(gnu_printf, aFormat, aFirst)))
#else
#define QVBASELIB_PRINTF(aFormat, aFirst)
#endif

/// @def QVBASELIB_NODISCARD
/// `[[nodiscard]]` where the language has it. It is used on forward declarations, because GCC
/// rejects it next to `__declspec(dllexport)`.
#if __cplusplus >= 201703L || (defined(_MSVC_LANG) && _MSVC_LANG >= 201703L)
#define QVBASELIB_NODISCARD [[nodiscard]]
#else
#define QVBASELIB_NODISCARD
#endif

#endif
