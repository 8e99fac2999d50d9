// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Puts a function of the test in the place of one that the library imports, so that system calls
// and allocations can be watched and made to fail.

#ifndef QVTESTS_IMPORTPATCH_H
#define QVTESTS_IMPORTPATCH_H

#include <cstring>

#include "WindowsApi.h"

namespace QvTests {

/// Redirects one import of a DLL, `QvUserLib64.dll` unless another is named, for as long as the
/// object lives.
class ImportPatch {
public:
    template <typename Function>
    ImportPatch(const char* aName, Function* aReplacement, const char* aDll = "QvUserLib64.dll")
        : slot_(FindSlot(aDll, aName)), original_(slot_ != nullptr ? *slot_ : nullptr) {
        Store(reinterpret_cast<void*>(aReplacement));
    }
    ~ImportPatch() { Store(original_); }

    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    /// Whether the DLL imports the function at all.
    bool IsActive() const { return slot_ != nullptr; }

    template <typename Function>
    Function* Original() const {
        return reinterpret_cast<Function*>(original_);
    }

private:
    static void** FindSlot(const char* aDll, const char* aName) {
        auto* const base = reinterpret_cast<unsigned char*>(::GetModuleHandleA(aDll));
        if (base == nullptr) return nullptr;
        const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
            base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
        const DWORD imports =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        const auto* module = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports);
        for (; module->Name != 0; ++module) {
            const auto* name =
                reinterpret_cast<const IMAGE_THUNK_DATA*>(base + module->OriginalFirstThunk);
            auto* slot = reinterpret_cast<void**>(base + module->FirstThunk);
            for (; name->u1.AddressOfData != 0; ++name, ++slot) {
                if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
                const auto* const import =
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
                if (std::strcmp(reinterpret_cast<const char*>(import->Name), aName) == 0) {
                    return slot;
                }
            }
        }
        return nullptr;
    }

    void Store(void* aFunction) {
        if (slot_ == nullptr) return;
        DWORD protection = 0;
        ::VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &protection);
        *slot_ = aFunction;
        ::VirtualProtect(slot_, sizeof *slot_, protection, &protection);
    }

    void** slot_;
    void* original_;
};

}  // namespace QvTests

#endif
