// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "CallCounter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "ImportPatch.h"
#include "WindowsApi.h"

namespace QvBench {

namespace {

using QvTests::ImportPatch;

// The counts of the counted thread. Only that thread changes them.
struct Tally {
    unsigned long thread;
    unsigned long long systemCalls;
    unsigned long long allocations;
    long long bytes;
    long long peakBytes;
};
Tally theTally{};

bool IsCountedThread() { return theTally.thread == ::GetCurrentThreadId(); }

// The original heap functions behind the patched imports.
template <typename Function>
Function* HeapFunction(const char* aName) {
    const FARPROC address = ::GetProcAddress(::GetModuleHandleA("ntdll.dll"), aName);
    Function* function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
}
const auto kAllocate = HeapFunction<decltype(::HeapAlloc)>("RtlAllocateHeap");
const auto kReAllocate = HeapFunction<decltype(::HeapReAlloc)>("RtlReAllocateHeap");
const auto kFree = HeapFunction<decltype(::HeapFree)>("RtlFreeHeap");
const auto kSize = HeapFunction<decltype(::HeapSize)>("RtlSizeHeap");

void CountBlock(HANDLE aHeap, void* aBlock, SIZE_T aFormerSize) {
    if (aBlock == nullptr || !IsCountedThread()) return;
    ++theTally.allocations;
    theTally.bytes += static_cast<long long>(kSize(aHeap, 0, aBlock) - aFormerSize);
    theTally.peakBytes = std::max(theTally.peakBytes, theTally.bytes);
}

void* WINAPI CountedAlloc(HANDLE aHeap, DWORD aFlags, SIZE_T aSize) {
    void* const block = kAllocate(aHeap, aFlags, aSize);
    CountBlock(aHeap, block, 0);
    return block;
}

void* WINAPI CountedReAlloc(HANDLE aHeap, DWORD aFlags, void* aBlock, SIZE_T aSize) {
    const SIZE_T former = kSize(aHeap, 0, aBlock);
    void* const block = kReAllocate(aHeap, aFlags, aBlock, aSize);
    CountBlock(aHeap, block, former);
    return block;
}

BOOL WINAPI CountedFree(HANDLE aHeap, DWORD aFlags, void* aBlock) {
    if (aBlock != nullptr && IsCountedThread()) {
        theTally.bytes -= static_cast<long long>(kSize(aHeap, 0, aBlock));
    }
    return kFree(aHeap, aFlags, aBlock);
}

// Every heap block comes through one of these imports, those of the C and C++ runtimes and the
// system included.
class HeapPatches {
public:
    HeapPatches() {
        for (const char* const dll : {"msvcrt.dll", "kernelbase.dll", "kernel32.dll"}) {
            Add("HeapAlloc", &CountedAlloc, dll);
            Add("RtlAllocateHeap", &CountedAlloc, dll);
            Add("HeapReAlloc", &CountedReAlloc, dll);
            Add("RtlReAllocateHeap", &CountedReAlloc, dll);
            Add("HeapFree", &CountedFree, dll);
            Add("RtlFreeHeap", &CountedFree, dll);
        }
    }

private:
    template <typename Function>
    void Add(const char* aName, Function* aReplacement, const char* aDll) {
        patches_.push_back(std::make_unique<ImportPatch>(aName, aReplacement, aDll));
    }

    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

// The machine code at the start of each system call: `mov r10, rcx` and `mov eax, NUMBER`.
constexpr std::size_t kEntrySize = 8;
constexpr unsigned char kEntryStart[] = {0x4C, 0x8B, 0xD1, 0xB8};

// Its replacement: a jump to a counting stub that ends with the original code and a jump back. It
// uses only registers that a system call may change.
constexpr unsigned char kStub[] = {
    0x49, 0xBB, 0,    0,
    0,    0,    0,    0,
    0,    0,  // mov r11, theTally
    0x65, 0x8B, 0x04, 0x25,
    0x48, 0,    0,    0,                             // mov eax, gs:[0x48], the thread's id
    0x41, 0x3B, 0x03,                                // cmp eax, [r11 + thread]
    0x75, 0x04,                                      // jne over the next one
    0x49, 0xFF, 0x43, offsetof(Tally, systemCalls),  // inc qword [r11 + systemCalls]
    0,    0,    0,    0,
    0,    0,    0,    0,  // the original code
    0xE9, 0,    0,    0,
    0,  // jmp back
};
constexpr std::size_t kStubTally = 2;
constexpr std::size_t kStubEntry = 27;
constexpr std::size_t kStubJump = 35;
constexpr std::size_t kJumpSize = 5;
static_assert(kStubJump + kJumpSize == sizeof kStub && offsetof(Tally, thread) == 0, "layout");

void WriteJump(unsigned char* aAt, const unsigned char* aTo) {
    const auto distance = static_cast<std::int32_t>(aTo - (aAt + kJumpSize));
    aAt[0] = 0xE9;
    std::memcpy(aAt + 1, &distance, sizeof distance);
}

// Memory for code that 32-bit jumps can reach from aNear.
unsigned char* AllocateNear(const unsigned char* aNear, std::size_t aSize) {
    constexpr std::ptrdiff_t kStep = 0x100000;
    constexpr std::ptrdiff_t kReach = 0x70000000;
    for (std::ptrdiff_t distance = kStep; distance < kReach; distance += kStep) {
        for (const std::ptrdiff_t offset : {distance, -distance}) {
            auto* const wanted = const_cast<unsigned char*>(aNear) + offset;
            void* const memory =
                ::VirtualAlloc(wanted, aSize, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE);
            if (memory != nullptr) return static_cast<unsigned char*>(memory);
        }
    }
    throw std::runtime_error("no room for code beside ntdll.dll");
}

// Calls aVisit with the entry of every exported system call.
template <typename Visit>
void ForEachSystemCall(unsigned char* aBase, Visit aVisit) {
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        aBase + reinterpret_cast<const IMAGE_DOS_HEADER*>(aBase)->e_lfanew);
    const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        aBase + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* const names = reinterpret_cast<const DWORD*>(aBase + exports->AddressOfNames);
    const auto* const ordinals =
        reinterpret_cast<const WORD*>(aBase + exports->AddressOfNameOrdinals);
    const auto* const functions =
        reinterpret_cast<const DWORD*>(aBase + exports->AddressOfFunctions);
    for (DWORD index = 0; index < exports->NumberOfNames; ++index) {
        const char* const name = reinterpret_cast<const char*>(aBase + names[index]);
        unsigned char* const entry = aBase + functions[ordinals[index]];
        if (std::strncmp(name, "Nt", 2) == 0 &&
            std::memcmp(entry, kEntryStart, sizeof kEntryStart) == 0) {
            aVisit(entry);
        }
    }
}

// The stubs are never freed: a thread may still be in one when the entries are restored.
class SystemCallPatches {
public:
    SystemCallPatches() {
        auto* const base = reinterpret_cast<unsigned char*>(::GetModuleHandleA("ntdll.dll"));
        ForEachSystemCall(base, [this](unsigned char* aEntry) { entries_.push_back(aEntry); });
        unsigned char* stub = AllocateNear(base, entries_.size() * sizeof kStub);
        for (unsigned char* const entry : entries_) {
            const Tally* const tally = &theTally;
            std::memcpy(stub, kStub, sizeof kStub);
            std::memcpy(stub + kStubTally, &tally, sizeof(const Tally*));
            std::memcpy(stub + kStubEntry, entry, kEntrySize);
            WriteJump(stub + kStubJump, entry + kEntrySize);
            originals_.push_back(stub + kStubEntry);

            unsigned char code[kEntrySize] = {0, 0, 0, 0, 0, 0x90, 0x90, 0x90};
            std::memcpy(code, entry, kJumpSize);
            WriteEntry(entry, code, stub);
            stub += sizeof kStub;
        }
    }
    ~SystemCallPatches() {
        for (std::size_t index = 0; index < entries_.size(); ++index) {
            Overwrite(entries_[index], originals_[index]);
        }
    }

    SystemCallPatches(const SystemCallPatches&) = delete;
    SystemCallPatches& operator=(const SystemCallPatches&) = delete;

private:
    static void WriteEntry(unsigned char* aEntry, unsigned char* aCode,
                           const unsigned char* aStub) {
        const auto distance = static_cast<std::int32_t>(aStub - (aEntry + kJumpSize));
        aCode[0] = 0xE9;
        std::memcpy(aCode + 1, &distance, sizeof distance);
        Overwrite(aEntry, aCode);
    }

    static void Overwrite(unsigned char* aEntry, const unsigned char* aCode) {
        DWORD protection = 0;
        ::VirtualProtect(aEntry, kEntrySize, PAGE_EXECUTE_READWRITE, &protection);
        std::memcpy(aEntry, aCode, kEntrySize);
        ::VirtualProtect(aEntry, kEntrySize, protection, &protection);
    }

    std::vector<unsigned char*> entries_;
    std::vector<const unsigned char*> originals_;
};

struct Watch {
    HeapPatches heap;
    SystemCallPatches systemCalls;
};
std::unique_ptr<Watch> theWatch;

}  // namespace

CallCounter::CallCounter() { theWatch = std::make_unique<Watch>(); }

CallCounter::~CallCounter() { theWatch.reset(); }

bool CallCounter::IsActive() { return theWatch != nullptr; }

void CallCounter::Start() {
    theTally = Tally();
    theTally.thread = ::GetCurrentThreadId();
}

CallCounts CallCounter::Stop(double aOperations) {
    theTally.thread = 0;
    return {static_cast<double>(theTally.allocations) / aOperations,
            static_cast<double>(theTally.systemCalls) / aOperations,
            static_cast<double>(theTally.peakBytes)};
}

}  // namespace QvBench
