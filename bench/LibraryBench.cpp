// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Comparison.h"
#include "WindowsApi.h"

namespace QvBench {

namespace {

// An iteration loads a DLL and frees it. What it imports is loaded already.
Body LoadingOf(const char* aDll) {
    return [=](benchmark::State& aState) {
        Repeat(aState, [&] {
            const HMODULE module = ::LoadLibraryA(aDll);
            Must(module != nullptr, "a DLL cannot be loaded");
            ::FreeLibrary(module);
        });
    };
}

}  // namespace

void AddLibraryRows(Table& aTable) {
    aTable.Add({"Loading the DLL", "the same imports, an empty entry point",
                LoadingOf("QvBenchCopy.dll"), LoadingOf("QvBenchEmpty.dll"), 1.1});
}

}  // namespace QvBench
