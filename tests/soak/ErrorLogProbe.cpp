// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The process of EndedProcessTest: writes errors to a log until it is ended, and counts them in
// memory that it shares with the test.
//
// Usage: ErrorLogProbe LOG COUNTER

#include "QvUserLib/ErrorLog.h"
#include "WindowsApi.h"

int main(int argc, char** argv) {
    if (argc != 3) return 100;
    const HANDLE mapping = ::OpenFileMappingA(FILE_MAP_WRITE, FALSE, argv[2]);
    if (mapping == nullptr) return 101;
    auto* const counter =
        static_cast<volatile LONG*>(::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, sizeof(LONG)));
    if (counter == nullptr) return 102;

    QvUserLib::ErrorLog log;
    (void)log.SetAutoFlush(true);  // It was off.
    if (log.Open(argv[1]).IsFailure()) return 103;
    for (;;) {
        const auto number = static_cast<unsigned long>(*counter);
        const unsigned long code = 1 + (7919 + number) % 200;
        if (log.WriteError(QvUserLib::Result(code), "test", 1, "thread 1 error %lu end", number)
                .IsFailure()) {
            return 104;
        }
        ::InterlockedIncrement(counter);
    }
}
