// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the library takes from the heap and gives back.

#ifndef QVTESTS_ALLOCATIONCOUNTER_H
#define QVTESTS_ALLOCATIONCOUNTER_H

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "ImportPatch.h"

namespace QvTests {

/// Counts, as long as the object lives, the heap blocks that our DLLs take and give back, by
/// themselves and through the C++ runtime's DLL, on whatever thread. What the test takes through
/// the C++ runtime in the meantime counts too.
class AllocationCounter {
public:
    AllocationCounter() : takenBefore_(Taken()), freedBefore_(Freed()), bytesBefore_(Bytes()) {}

    /// Blocks taken since the object was made.
    long Count() const { return Taken() - takenBefore_; }

    /// Blocks taken and not given back yet.
    long Live() const { return Count() - (Freed() - freedBefore_); }

    /// The bytes of these blocks.
    long LiveBytes() const { return Bytes() - bytesBefore_; }

    /// A program that has a heap of its own, and our DLLs' objects in it, counts by itself. Its
    /// main sets these.
    struct Totals {
        long (*taken)();
        long (*freed)();
        long (*bytes)();
    };
    inline static Totals programTotals{};

private:
    static long Taken() {
        return programTotals.taken != nullptr ? programTotals.taken() : taken_.load();
    }
    static long Freed() {
        return programTotals.freed != nullptr ? programTotals.freed() : freed_.load();
    }
    static long Bytes() {
        return programTotals.bytes != nullptr ? programTotals.bytes() : bytes_.load();
    }
    // The blocks of a program that counts by itself are not the C library's.
    static long SizeOf(void* aBlock) {
        return programTotals.bytes != nullptr ? 0 : static_cast<long>(_msize(aBlock));
    }
    static void* Counted(void* aBlock) {
        if (aBlock == nullptr) return aBlock;
        ++taken_;
        bytes_ += SizeOf(aBlock);
        return aBlock;
    }
    static void CountFreed(void* aBlock) {
        if (aBlock == nullptr) return;
        ++freed_;
        bytes_ -= SizeOf(aBlock);
    }
    static void* Malloc(std::size_t aSize) { return Counted(std::malloc(aSize)); }
    static void* Calloc(std::size_t aCount, std::size_t aSize) {
        return Counted(std::calloc(aCount, aSize));
    }
    static void* Realloc(void* aBlock, std::size_t aSize) {
        CountFreed(aBlock);
        return Counted(std::realloc(aBlock, aSize));
    }
    static void Free(void* aBlock) {
        CountFreed(aBlock);
        std::free(aBlock);
    }

    // The heap functions that one DLL imports.
    struct Patches {
        explicit Patches(const char* aDll)
            : malloc("malloc", &Malloc, aDll),
              calloc("calloc", &Calloc, aDll),
              realloc("realloc", &Realloc, aDll),
              free("free", &Free, aDll) {}

        ImportPatch malloc;
        ImportPatch calloc;
        ImportPatch realloc;
        ImportPatch free;
    };

    inline static std::atomic<long> taken_{0};
    inline static std::atomic<long> freed_{0};
    inline static std::atomic<long> bytes_{0};

    Patches library_{"QvUserLib64.dll"};
    Patches base_{"QvBaseLib64.dll"};
    Patches kit_{"QvKitForTests.dll"};
    Patches runtime_{"libstdc++-6.dll"};
    // Read last: making the redirections takes memory, too.
    long takenBefore_;
    long freedBefore_;
    long bytesBefore_;
};

}  // namespace QvTests

#endif
