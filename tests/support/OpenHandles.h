// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// How many handles and threads this process has, by the system's own tables.

#ifndef QVTESTS_OPENHANDLES_H
#define QVTESTS_OPENHANDLES_H

#include <cstddef>
#include <cstring>
#include <vector>

#include "WindowsApi.h"

#include <tlhelp32.h>
#include <winternl.h>

namespace QvTests {

/// The open handles of this process. GetProcessHandleCount answers 0 in Wine.
inline std::size_t CountOpenHandles() {
    struct Entry {
        ULONG process;
        UCHAR type;
        UCHAR flags;
        USHORT value;
        void* object;
        ULONG access;
    };
    constexpr auto kHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    std::vector<unsigned char> table(1 << 20);
    ULONG size = 0;
    while (::NtQuerySystemInformation(kHandleInformation, table.data(),
                                      static_cast<ULONG>(table.size()), &size) != 0) {
        if (table.size() > (1u << 28)) return 0;
        table.resize(2 * table.size());
    }
    ULONG entries = 0;
    std::memcpy(&entries, table.data(), sizeof entries);
    std::size_t count = 0;
    for (ULONG index = 0; index < entries; ++index) {
        Entry entry;
        std::memcpy(&entry, &table[8 + index * sizeof entry], sizeof entry);
        if (entry.process == ::GetCurrentProcessId()) ++count;
    }
    return count;
}

inline std::size_t CountThreads() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    std::size_t count = 0;
    for (BOOL more = ::Thread32First(snapshot, &entry); more;
         more = ::Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
    }
    ::CloseHandle(snapshot);
    return count;
}

}  // namespace QvTests

#endif
