// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Puts a function of the test in the place of one that the library imports, so that system calls
// and allocations can be watched and made to fail.

#ifndef QVTESTS_IMPORTPATCH_H
#define QVTESTS_IMPORTPATCH_H

#include "ImportTable.h"
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

    /// Where the objects of a DLL are part of the program, whose main sets this, it answers where
    /// they find a function by its name.
    inline static void** (*findSlotInProgram)(const char* aDll, const char* aName) = nullptr;

    /// Whether the DLL imports the function at all.
    bool IsActive() const { return slot_ != nullptr; }

    template <typename Function>
    Function* Original() const {
        return reinterpret_cast<Function*>(original_);
    }

private:
    static void** FindSlot(const char* aDll, const char* aName) {
        // Without a DLL it is the program's own import table.
        if (findSlotInProgram != nullptr && aDll != nullptr) return findSlotInProgram(aDll, aName);
        for (const Import& import : ImportsOf(aDll)) {
            if (import.name == aName) return import.slot;
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
