// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a DLL that is loaded imports by name.

#ifndef QVTESTS_IMPORTTABLE_H
#define QVTESTS_IMPORTTABLE_H

#include <string>
#include <vector>

#include "WindowsApi.h"

namespace QvTests {

/// One imported function, and the place from which the DLL reads its address.
struct Import {
    std::string dll;
    std::string name;
    void** slot;
};

/// All that the DLL imports by name, in the order of its import table; nothing when it is not
/// loaded.
inline std::vector<Import> ImportsOf(const char* aDll) {
    std::vector<Import> imports;
    auto* const base = reinterpret_cast<unsigned char*>(::GetModuleHandleA(aDll));
    if (base == nullptr) return imports;
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD table =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto* module = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table);
    for (; module->Name != 0; ++module) {
        const char* const dll = reinterpret_cast<const char*>(base + module->Name);
        const auto* name =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + module->OriginalFirstThunk);
        auto* slot = reinterpret_cast<void**>(base + module->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const auto* const import =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            imports.push_back({dll, reinterpret_cast<const char*>(import->Name), slot});
        }
    }
    return imports;
}

}  // namespace QvTests

#endif
