// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Loading the library starts no thread. The system calls the function below on each thread that
// begins, and a thread that cannot begin yet, because the loader is busy, is in the system's table.

#include <atomic>
#include <cstdio>

#include "OpenHandles.h"

namespace {

std::atomic<long> theThreadsBegun{0};

void NTAPI CountThread(void*, DWORD aReason, void*) {
    if (aReason == DLL_THREAD_ATTACH) ++theThreadsBegun;
}

DWORD WINAPI DoNothing(void*) { return 0; }

}  // namespace

// The loader reads the addresses of such functions from this section of a program.
extern "C" __attribute__((section(".CRT$XLD"), used)) const PIMAGE_TLS_CALLBACK countThread =
    &CountThread;

int main() {
    const std::size_t before = QvTests::CountThreads();
    const HMODULE library = ::LoadLibraryA("QvUserLib64.dll");
    const std::size_t after = QvTests::CountThreads();
    const long begun = theThreadsBegun;

    // The count is not 0 because nothing is ever counted.
    const HANDLE thread = ::CreateThread(nullptr, 0, &DoNothing, nullptr, 0, nullptr);
    if (thread != nullptr) {
        ::WaitForSingleObject(thread, INFINITE);
        ::CloseHandle(thread);
    }
    std::printf("%zu threads before, %zu after, %ld begun, then %ld\n", before, after, begun,
                theThreadsBegun.load());
    const bool isCounted = before > 0 && theThreadsBegun == begun + 1;
    return library != nullptr && isCounted && after == before && begun == 0 ? 0 : 1;
}
