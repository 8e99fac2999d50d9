// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Included before each source that scripts/check_msvc.py compiles. mingw-w64's headers stand in for
// Microsoft's, and expect to see GCC. Nothing after this file sees it.

#ifndef MSVC_RUNTIME_H
#define MSVC_RUNTIME_H

#define __GNUC__ 12
#define __GNUC_MINOR__ 2
#define __CORRECT_ISO_CPP_STRING_H_PROTO
#define __CORRECT_ISO_CPP_WCHAR_H_PROTO

// clang-format off
#include <_mingw.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>
#include <windows.h>
#include <setupapi.h>
// clang-format on

#undef __GNUC__
#undef __GNUC_MINOR__

// Microsoft's C library has these, and libc++ takes them from there.
float _strtof_l(const char* aText, char** anEnd, _locale_t aLocale);
long double _strtold_l(const char* aText, char** anEnd, _locale_t aLocale);

#undef isfinite
#undef isinf
#undef isnan
#undef signbit
#define QV_DECLARE_FOR_EACH_TYPE(aName) \
    bool aName(float aValue);           \
    bool aName(double aValue);          \
    bool aName(long double aValue)
QV_DECLARE_FOR_EACH_TYPE(isfinite);
QV_DECLARE_FOR_EACH_TYPE(isinf);
QV_DECLARE_FOR_EACH_TYPE(isnan);
QV_DECLARE_FOR_EACH_TYPE(signbit);
#undef QV_DECLARE_FOR_EACH_TYPE

// LLVM's C++ library does not have this yet; Microsoft's has.
#include <charconv>

namespace std {
from_chars_result from_chars(const char* aFirst, const char* aLast, double& aValue,
                             chars_format aFormat = chars_format::general);
}  // namespace std

#endif
