// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "GuardedHeap.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "WindowsApi.h"

namespace QvTests {

namespace {

constexpr std::size_t kPageSize = 4096;
constexpr std::size_t kRangePages = std::size_t{1} << 26;  // 256 GiB of addresses.
// Each live block costs the system two mappings, of which it has some 65,000 for a process. Blocks
// beyond this number come from the system's heap.
constexpr long kMaxLive = 24000;
constexpr std::size_t kDescribedAtOnce = 1024;
constexpr std::size_t kAnyType = 16;
// What is checked before a block, as far as its page has room.
constexpr std::size_t kMarginSize = 64;
constexpr unsigned char kMarginByte = 0xA5;
constexpr unsigned char kNewByte = 0xCD;

enum class Kind : std::uint8_t { None, Malloc, New, NewArray };

// How blocks of a kind are taken, and how they are released.
struct Names {
    const char* take;
    const char* release;
};

Names NamesOf(Kind aKind) {
    switch (aKind) {
        case Kind::Malloc:
            return {"malloc", "free"};
        case Kind::New:
            return {"new", "delete"};
        case Kind::NewArray:
            return {"new[]", "delete[]"};
        default:
            return {"nothing", "nothing"};
    }
}

// What is known of the block that begins on a page. It stays when the block is freed.
struct Block {
    unsigned char* address;
    std::size_t size;
    std::size_t caller;  // As an offset in the program, for a debugger or addr2line.
    std::atomic<bool> isLive;
    Kind kind;
};

// The heap comes before every object with a constructor, so it has none, and nothing in it is ever
// destroyed.
unsigned char* theRange;
Block* theBlocks;  // One for each page.
std::atomic<std::size_t> theNextPage;
std::size_t theDescribedPages;  // Whose descriptions have memory.
std::atomic<long> theTaken;
std::atomic<long> theFreed;
std::atomic<long> theLiveBytes;
std::atomic<GuardedHeap::Reporter> theReporter;
const char* (*theContext)();
INIT_ONCE theOnce = INIT_ONCE_STATIC_INIT;
// Guards the order of the pages, and theDescribedPages.
SRWLOCK theOrder = SRWLOCK_INIT;
void* (*theSystemRealloc)(void*, std::size_t);
void (*theSystemFree)(void*);
void* (*theSystemMalloc)(std::size_t);

[[noreturn]] void Stop(const char* aText) {
    std::fprintf(stderr, "guarded heap: %s\n", aText);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), 3);
    std::abort();
}

template <typename Function>
void FindInRuntime(const char* aName, Function*& aFunction) {
    const HMODULE runtime = ::GetModuleHandleA("msvcrt.dll");
    aFunction =
        reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(runtime, aName)));
}

BOOL CALLBACK Reserve(INIT_ONCE*, void*, void**) {
    theRange = static_cast<unsigned char*>(
        ::VirtualAlloc(nullptr, kRangePages * kPageSize, MEM_RESERVE, PAGE_NOACCESS));
    theBlocks = static_cast<Block*>(
        ::VirtualAlloc(nullptr, kRangePages * sizeof(Block), MEM_RESERVE, PAGE_NOACCESS));
    if (theRange == nullptr || theBlocks == nullptr) Stop("no address space");
    FindInRuntime("malloc", theSystemMalloc);
    FindInRuntime("realloc", theSystemRealloc);
    FindInRuntime("free", theSystemFree);
    return TRUE;
}

bool IsInRange(const void* aAddress) {
    const auto* const address = static_cast<const unsigned char*>(aAddress);
    return theRange != nullptr && address >= theRange &&
           address < theRange + kRangePages * kPageSize;
}

std::size_t PageOf(const void* aAddress) {
    return static_cast<std::size_t>(static_cast<const unsigned char*>(aAddress) - theRange) /
           kPageSize;
}

unsigned char* AddressOf(std::size_t aPage) { return theRange + aPage * kPageSize; }

std::size_t PagesFor(std::size_t aSize) {
    return std::max<std::size_t>(1, (aSize + kPageSize - 1) / kPageSize);
}

void Report(const char* aText, const Block& aBlock) {
    char text[256];
    std::snprintf(text, sizeof text, "%s: block of %zu bytes from %s at program offset 0x%zx",
                  aText, aBlock.size, NamesOf(aBlock.kind).take, aBlock.caller);
    const GuardedHeap::Reporter reporter = theReporter;
    if (reporter == nullptr) Stop(text);
    reporter(text);
}

// The bytes of the block's pages that are not its own: at most kMarginSize before it, all after it.
template <typename Action>
void ForMargins(const Block& aBlock, Action aAction) {
    unsigned char* const first = AddressOf(PageOf(aBlock.address));
    unsigned char* const end = aBlock.address + aBlock.size;
    const std::size_t before =
        std::min<std::size_t>(kMarginSize, static_cast<std::size_t>(aBlock.address - first));
    aAction(aBlock.address - before, before);
    aAction(end, static_cast<std::size_t>(first + PagesFor(aBlock.size) * kPageSize - end));
}

bool HasCleanMargins(const Block& aBlock) {
    bool isClean = true;
    ForMargins(aBlock, [&](const unsigned char* aStart, std::size_t aSize) {
        isClean = isClean && std::all_of(aStart, aStart + aSize,
                                         [](unsigned char aByte) { return aByte == kMarginByte; });
    });
    return isClean;
}

// The block that an address belongs to: its own pages and the page after them.
const Block* FindBlock(const void* aAddress) {
    for (std::size_t page = PageOf(aAddress) + 1; page-- > 0;) {
        const Block& block = theBlocks[page];
        if (block.address != nullptr) return &block;
    }
    return nullptr;
}

// The first of so many pages and an untouched one after them.
std::size_t TakePages(std::size_t aCount) {
    ::AcquireSRWLockExclusive(&theOrder);
    const std::size_t page = theNextPage;
    const std::size_t next = page + aCount + 1;
    if (next + kDescribedAtOnce > kRangePages) Stop("all addresses are used up");
    if (next > theDescribedPages) {
        if (::VirtualAlloc(&theBlocks[page], (aCount + 1 + kDescribedAtOnce) * sizeof(Block),
                           MEM_COMMIT, PAGE_READWRITE) == nullptr) {
            Stop("no memory for the descriptions of blocks");
        }
        theDescribedPages = next + kDescribedAtOnce;
    }
    theNextPage = next;
    ::ReleaseSRWLockExclusive(&theOrder);
    return page;
}

void* Take(std::size_t aSize, Kind aKind, std::size_t aAlignment, const void* aCaller) {
    ::InitOnceExecuteOnce(&theOnce, &Reserve, nullptr, nullptr);
    if (aSize > kRangePages * kPageSize / 2) return nullptr;
    if (theTaken - theFreed >= kMaxLive) return theSystemMalloc(aSize);

    const std::size_t pages = PagesFor(aSize);
    const std::size_t page = TakePages(pages);
    if (::VirtualAlloc(AddressOf(page), pages * kPageSize, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        return nullptr;
    }
    unsigned char* const end = AddressOf(page + pages);
    Block& block = theBlocks[page];
    block.size = aSize;
    block.caller = static_cast<std::size_t>(
        static_cast<const unsigned char*>(aCaller) -
        reinterpret_cast<const unsigned char*>(::GetModuleHandleA(nullptr)));
    block.kind = aKind;
    block.address = reinterpret_cast<unsigned char*>(
        (reinterpret_cast<std::uintptr_t>(end) - std::max<std::size_t>(aSize, 1)) &
        ~(aAlignment - 1));
    std::memset(block.address, kNewByte, aSize);
    ForMargins(block, [](unsigned char* aStart, std::size_t aCount) {
        std::memset(aStart, kMarginByte, aCount);
    });
    block.isLive = true;
    ++theTaken;
    theLiveBytes += static_cast<long>(aSize);
    return block.address;
}

void Release(void* aAddress, Kind aKind) {
    if (aAddress == nullptr) return;
    if (!IsInRange(aAddress)) {
        // Taken by the C runtime itself, or beyond the limit.
        ::InitOnceExecuteOnce(&theOnce, &Reserve, nullptr, nullptr);
        theSystemFree(aAddress);
        return;
    }
    Block& block = theBlocks[PageOf(aAddress)];
    char text[64];
    if (block.address != aAddress) {
        const Block* const owner = FindBlock(aAddress);
        if (owner == nullptr) Stop("an address that never was a block's is freed");
        std::snprintf(text, sizeof text, "%s inside a block", NamesOf(aKind).release);
        Report(text, *owner);
        return;
    }
    if (!block.isLive.exchange(false)) {
        std::snprintf(text, sizeof text, "second release, with %s", NamesOf(aKind).release);
        Report(text, block);
        return;
    }
    if (block.kind != aKind) {
        std::snprintf(text, sizeof text, "mismatched release with %s", NamesOf(aKind).release);
        Report(text, block);
    }
    if (!HasCleanMargins(block)) Report("write beside the block", block);
    ++theFreed;
    theLiveBytes -= static_cast<long>(block.size);
    ::VirtualFree(AddressOf(PageOf(aAddress)), PagesFor(block.size) * kPageSize, MEM_DECOMMIT);
}

void* Resize(void* aAddress, std::size_t aSize, std::size_t aAlignment, const void* aCaller) {
    if (aAddress == nullptr) return Take(aSize, Kind::Malloc, aAlignment, aCaller);
    if (!IsInRange(aAddress)) return theSystemRealloc(aAddress, aSize);
    if (aSize == 0) {
        Release(aAddress, Kind::Malloc);
        return nullptr;
    }
    void* const resized = Take(aSize, Kind::Malloc, aAlignment, aCaller);
    if (resized == nullptr) return nullptr;
    std::memcpy(resized, aAddress, std::min(aSize, theBlocks[PageOf(aAddress)].size));
    Release(aAddress, Kind::Malloc);
    return resized;
}

void* TakeCleared(std::size_t aCount, std::size_t aSize, std::size_t aAlignment,
                  const void* aCaller) {
    if (aSize != 0 && aCount > SIZE_MAX / aSize) return nullptr;
    void* const address = Take(aCount * aSize, Kind::Malloc, aAlignment, aCaller);
    if (address != nullptr) std::memset(address, 0, aCount * aSize);
    return address;
}

void* TakeOrThrow(std::size_t aSize, Kind aKind, std::size_t aAlignment, const void* aCaller) {
    void* const address = Take(aSize, aKind, aAlignment, aCaller);
    if (address == nullptr) throw std::bad_alloc();
    return address;
}

// The strictest alignment that a type of this size can have: the block then ends at the page.
std::size_t AlignmentOf(std::size_t aSize) {
    return aSize == 0 ? 1 : std::min(kAnyType, aSize & (~aSize + 1));
}

LONG WINAPI DescribeCrash(EXCEPTION_POINTERS* aException) {
    const EXCEPTION_RECORD& record = *aException->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION) return EXCEPTION_CONTINUE_SEARCH;
    const auto address = record.ExceptionInformation[1];
    if (!IsInRange(reinterpret_cast<const void*>(address))) return EXCEPTION_CONTINUE_SEARCH;
    const Block* const block = FindBlock(reinterpret_cast<const void*>(address));
    if (block == nullptr) return EXCEPTION_CONTINUE_SEARCH;

    HMODULE module = nullptr;
    char name[MAX_PATH] = "";
    ::GetModuleHandleExA(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        static_cast<const char*>(record.ExceptionAddress), &module);
    ::GetModuleFileNameA(module, name, sizeof name);
    std::fprintf(
        stderr,
        "guarded heap: %s: %s byte %lld of a %s block of %zu bytes, taken with %s at "
        "program offset 0x%zx; the access is at offset 0x%llx of %s\n",
        theContext(), record.ExceptionInformation[0] == 0 ? "read of" : "write to",
        static_cast<long long>(address) -
            static_cast<long long>(reinterpret_cast<std::uintptr_t>(block->address)),
        block->isLive ? "live" : "freed", block->size, NamesOf(block->kind).take, block->caller,
        static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(record.ExceptionAddress) -
                                        reinterpret_cast<std::uintptr_t>(module)),
        name);
    std::fflush(stderr);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void GuardedHeap::SetReporter(Reporter aReporter) { theReporter = aReporter; }

void GuardedHeap::DescribeCrashes(const char* (*aContext)()) {
    theContext = aContext;
    ::SetUnhandledExceptionFilter(&DescribeCrash);
}

std::size_t GuardedHeap::Now() { return theNextPage; }

std::string GuardedHeap::LiveSince(std::size_t aThen) {
    const std::size_t now = Now();
    std::string lines;
    for (std::size_t page = aThen; page < now; ++page) {
        const Block& block = theBlocks[page];
        if (block.address == nullptr || !block.isLive) continue;
        if (!HasCleanMargins(block)) Report("write beside the block", block);
        char line[128];
        std::snprintf(line, sizeof line, "%zu bytes from %s at program offset 0x%zx\n", block.size,
                      NamesOf(block.kind).take, block.caller);
        lines += line;
    }
    return lines;
}

long GuardedHeap::TakenCount() { return theTaken; }
long GuardedHeap::FreedCount() { return theFreed; }
long GuardedHeap::LiveBytes() { return theLiveBytes; }

}  // namespace QvTests

using QvTests::AlignmentOf;
using QvTests::kAnyType;
using QvTests::Kind;
using QvTests::Release;
using QvTests::Resize;
using QvTests::Take;
using QvTests::TakeCleared;
using QvTests::TakeOrThrow;

// NOLINTBEGIN(readability-*, misc-*, bugprone-*): these names and shapes are the language's.

#define QV_CALLER __builtin_return_address(0)

// What the program itself, GoogleTest and the C++ runtime call.
extern "C" {
void* malloc(std::size_t aSize) { return Take(aSize, Kind::Malloc, kAnyType, QV_CALLER); }
void* calloc(std::size_t aCount, std::size_t aSize) {
    return TakeCleared(aCount, aSize, kAnyType, QV_CALLER);
}
void* realloc(void* aAddress, std::size_t aSize) {
    return Resize(aAddress, aSize, kAnyType, QV_CALLER);
}
void free(void* aAddress) { Release(aAddress, Kind::Malloc); }
}

void* operator new(std::size_t aSize) { return TakeOrThrow(aSize, Kind::New, kAnyType, QV_CALLER); }
void* operator new[](std::size_t aSize) {
    return TakeOrThrow(aSize, Kind::NewArray, kAnyType, QV_CALLER);
}
void* operator new(std::size_t aSize, const std::nothrow_t&) noexcept {
    return Take(aSize, Kind::New, kAnyType, QV_CALLER);
}
void* operator new[](std::size_t aSize, const std::nothrow_t&) noexcept {
    return Take(aSize, Kind::NewArray, kAnyType, QV_CALLER);
}
void* operator new(std::size_t aSize, std::align_val_t aAlignment) {
    return TakeOrThrow(aSize, Kind::New, static_cast<std::size_t>(aAlignment), QV_CALLER);
}
void* operator new[](std::size_t aSize, std::align_val_t aAlignment) {
    return TakeOrThrow(aSize, Kind::NewArray, static_cast<std::size_t>(aAlignment), QV_CALLER);
}
void operator delete(void* aAddress) noexcept { Release(aAddress, Kind::New); }
void operator delete[](void* aAddress) noexcept { Release(aAddress, Kind::NewArray); }
void operator delete(void* aAddress, std::size_t) noexcept { Release(aAddress, Kind::New); }
void operator delete[](void* aAddress, std::size_t) noexcept { Release(aAddress, Kind::NewArray); }
void operator delete(void* aAddress, const std::nothrow_t&) noexcept {
    Release(aAddress, Kind::New);
}
void operator delete[](void* aAddress, const std::nothrow_t&) noexcept {
    Release(aAddress, Kind::NewArray);
}
void operator delete(void* aAddress, std::align_val_t) noexcept { Release(aAddress, Kind::New); }
void operator delete[](void* aAddress, std::align_val_t) noexcept {
    Release(aAddress, Kind::NewArray);
}
void operator delete(void* aAddress, std::size_t, std::align_val_t) noexcept {
    Release(aAddress, Kind::New);
}
void operator delete[](void* aAddress, std::size_t, std::align_val_t) noexcept {
    Release(aAddress, Kind::NewArray);
}

// What the library's objects call in their place, under the names that MakeSlots.cmake gives them.
extern "C" {
void* qv_exact_malloc(std::size_t aSize) {
    return Take(aSize, Kind::Malloc, AlignmentOf(aSize), QV_CALLER);
}
void* qv_exact_calloc(std::size_t aCount, std::size_t aSize) {
    return TakeCleared(aCount, aSize, AlignmentOf(aCount * aSize), QV_CALLER);
}
void* qv_exact_realloc(void* aAddress, std::size_t aSize) {
    return Resize(aAddress, aSize, AlignmentOf(aSize), QV_CALLER);
}
void* qv_exact__Znwy(std::size_t aSize) {
    return TakeOrThrow(aSize, Kind::New, AlignmentOf(aSize), QV_CALLER);
}
void* qv_exact__Znay(std::size_t aSize) {
    return TakeOrThrow(aSize, Kind::NewArray, AlignmentOf(aSize), QV_CALLER);
}
void* qv_exact__ZnwyRKSt9nothrow_t(std::size_t aSize, const std::nothrow_t&) {
    return Take(aSize, Kind::New, AlignmentOf(aSize), QV_CALLER);
}
void* qv_exact__ZnayRKSt9nothrow_t(std::size_t aSize, const std::nothrow_t&) {
    return Take(aSize, Kind::NewArray, AlignmentOf(aSize), QV_CALLER);
}
}

// NOLINTEND(readability-*, misc-*, bugprone-*)
