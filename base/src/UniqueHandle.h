// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The one owner of what the system gives out and wants back.

#ifndef QVBASELIB_UNIQUEHANDLE_H
#define QVBASELIB_UNIQUEHANDLE_H

#include <utility>

#include "WindowsApi.h"

namespace QvBaseLib {

// Closes what it holds with this function of the system. Some calls return null for a failure,
// others INVALID_HANDLE_VALUE: neither is closed.
template <typename Handle, auto kClose>
class UniqueHandle {
public:
    UniqueHandle() = default;
    explicit UniqueHandle(Handle aHandle) : handle_(aHandle) {}
    ~UniqueHandle() { Reset(); }

    UniqueHandle(UniqueHandle&& aOther) noexcept : handle_(aOther.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& aOther) noexcept {
        if (this != &aOther) Reset(aOther.Release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    Handle Get() const { return handle_; }
    bool IsValid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }

    // Gives up the handle, which the caller closes.
    Handle Release() { return std::exchange(handle_, nullptr); }

    void Reset(Handle aHandle = nullptr) {
        const bool isOwned = IsValid();
        const Handle old = std::exchange(handle_, aHandle);
        if (isOwned) kClose(old);
    }

private:
    Handle handle_ = nullptr;
};

// Files, devices, events, threads and processes.
using KernelHandle = UniqueHandle<HANDLE, &::CloseHandle>;

// Open keys of the registry.
using UniqueRegistryKey = UniqueHandle<HKEY, &::RegCloseKey>;

}  // namespace QvBaseLib

#endif
