// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The arguments of this process.

#ifndef QVTOOLS_COMMANDLINEARGUMENTS_H
#define QVTOOLS_COMMANDLINEARGUMENTS_H

#include <new>
#include <string>
#include <vector>

#include "UniqueHandle.h"

// After windows.h, which it needs.
#include <shellapi.h>

namespace QvTools {

// From the system's own command line, as the runtime's arguments went through the code page.
// Without the program's name.
inline std::vector<std::wstring> GetCommandLineArguments() {
    int count = 0;
    const QvBaseLib::UniqueHandle<wchar_t**, &::LocalFree> texts(
        ::CommandLineToArgvW(::GetCommandLineW(), &count));
    if (!texts.IsValid()) throw std::bad_alloc();
    return std::vector<std::wstring>(texts.Get() + 1, texts.Get() + count);
}

}  // namespace QvTools

#endif
