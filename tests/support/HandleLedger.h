// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Which handles the library opens and closes. The system's own count is not to be had everywhere:
// Wine answers 0.

#ifndef QVTESTS_HANDLELEDGER_H
#define QVTESTS_HANDLELEDGER_H

#include <map>
#include <mutex>
#include <string>

#include "ImportPatch.h"

namespace QvTests {

/// Keeps account, as long as the object lives, of the events and files that the library opens and
/// of all handles that it closes, on whatever thread.
class HandleLedger {
public:
    HandleLedger() { Clear(); }
    ~HandleLedger() { Clear(); }

    HandleLedger(const HandleLedger&) = delete;
    HandleLedger& operator=(const HandleLedger&) = delete;

    int EventsOpened() const { return Read(book_.events); }
    int FilesOpened() const { return Read(book_.files); }

    /// The file that was opened last.
    HANDLE LastFile() const { return Read(book_.lastFile); }

    /// How many of the handles opened were not closed exactly once.
    int Unbalanced() const {
        const std::lock_guard<std::mutex> guard(book_.lock);
        int count = 0;
        for (const auto& [handle, balance] : book_.open) count += balance != 0 ? 1 : 0;
        return count;
    }

    /// How often a handle was closed, whoever opened it.
    int ClosesOf(HANDLE aHandle) const {
        const std::lock_guard<std::mutex> guard(book_.lock);
        const auto found = book_.closes.find(aHandle);
        return found == book_.closes.end() ? 0 : found->second;
    }

    /// How many handles were closed.
    int Closes() const {
        const std::lock_guard<std::mutex> guard(book_.lock);
        int count = 0;
        for (const auto& [handle, closes] : book_.closes) count += closes;
        return count;
    }

private:
    struct Book {
        std::mutex lock;  // Guards all that follows.
        int events;
        int files;
        HANDLE lastFile;
        std::map<HANDLE, int> open;
        std::map<HANDLE, int> closes;
    };

    static void Clear() {
        const std::lock_guard<std::mutex> guard(book_.lock);
        book_.events = 0;
        book_.files = 0;
        book_.lastFile = nullptr;
        book_.open.clear();
        book_.closes.clear();
    }

    template <typename Value>
    static Value Read(const Value& aValue) {
        const std::lock_guard<std::mutex> guard(book_.lock);
        return aValue;
    }

    static HANDLE WINAPI OpenEvent(SECURITY_ATTRIBUTES* aSecurity, BOOL aManualReset,
                                   BOOL aInitialState, const char* aName) {
        const HANDLE event = ::CreateEventA(aSecurity, aManualReset, aInitialState, aName);
        const std::lock_guard<std::mutex> guard(book_.lock);
        ++book_.events;
        ++book_.open[event];
        return event;
    }

    static HANDLE WINAPI OpenFile(const char* aName, DWORD aAccess, DWORD aShare,
                                  SECURITY_ATTRIBUTES* aSecurity, DWORD aDisposition, DWORD aFlags,
                                  HANDLE aTemplate) {
        const HANDLE file =
            ::CreateFileA(aName, aAccess, aShare, aSecurity, aDisposition, aFlags, aTemplate);
        if (file == INVALID_HANDLE_VALUE) return file;
        const std::lock_guard<std::mutex> guard(book_.lock);
        ++book_.files;
        ++book_.open[file];
        book_.lastFile = file;
        return file;
    }

    static BOOL WINAPI Close(HANDLE aHandle) {
        {
            const std::lock_guard<std::mutex> guard(book_.lock);
            ++book_.closes[aHandle];
            const auto found = book_.open.find(aHandle);
            if (found != book_.open.end()) --found->second;
        }
        return ::CloseHandle(aHandle);
    }

    inline static Book book_{};

    ImportPatch createEvent_{"CreateEventA", &OpenEvent};
    ImportPatch createFile_{"CreateFileA", &OpenFile};
    ImportPatch closeHandle_{"CloseHandle", &Close};
};

}  // namespace QvTests

#endif
