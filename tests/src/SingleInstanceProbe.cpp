// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The second process of SingleInstanceTest: takes hold of a name and exits with the answer to
// whether it was held already.
//
// Usage: SingleInstanceProbe NAME [READY RELEASE]
// With the names of two events it signals the first once it holds the name, and keeps the name
// until the second is signalled.

#include "QvUserLib/SingleInstance.h"
#include "WindowsApi.h"

int main(int argc, char** argv) {
    constexpr int kWrongUsage = 100;
    if (argc != 2 && argc != 4) return kWrongUsage;

    QvUserLib::SingleInstance instance(argv[1]);
    if (argc == 4) {
        const HANDLE ready = ::OpenEventA(EVENT_MODIFY_STATE, FALSE, argv[2]);
        const HANDLE release = ::OpenEventA(SYNCHRONIZE, FALSE, argv[3]);
        if (ready == nullptr || release == nullptr) return kWrongUsage;
        ::SetEvent(ready);
        ::WaitForSingleObject(release, INFINITE);
        ::CloseHandle(release);
        ::CloseHandle(ready);
    }
    return instance.IsAnyOtherInstance();
}
