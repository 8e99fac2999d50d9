// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A heap for tests that stops a program at the first byte that does not belong to it. It takes the
// place of `operator new`, `operator delete` and the `malloc` family in every program that is
// linked with it.
//
// Every block ends at a page that cannot be touched. The memory of a freed block cannot be touched
// either, and is never used again. What the library's objects take ends at that page exactly; what
// the program takes is aligned for any type, so that up to 15 bytes remain between the end and the
// page, which are checked when the block is freed.

#ifndef QVTESTS_GUARDEDHEAP_H
#define QVTESTS_GUARDEDHEAP_H

#include <cstddef>
#include <string>

namespace QvTests {

class GuardedHeap {
public:
    /// Takes note of a mismatched or repeated release, or of a write beside a block.
    using Reporter = void (*)(const char* aText);
    /// Without a reporter the program ends with exit code 3 and the text on the error stream.
    static void SetReporter(Reporter aReporter);

    /// Says, before the system ends the program because of an access to guarded memory, which block
    /// it was, and what `aContext` answers. The program's exit code is the access violation's.
    static void DescribeCrashes(const char* (*aContext)());

    /// A place in the order of all allocations.
    static std::size_t Now();

    /// What was taken since then and is not freed, a line each; nothing if there is none. Writes
    /// beside those blocks are reported.
    static std::string LiveSince(std::size_t aThen);

    /// How many blocks were ever taken and freed.
    static long TakenCount();
    static long FreedCount();

    /// The bytes of the blocks that are not freed.
    static long LiveBytes();
};

}  // namespace QvTests

#endif
