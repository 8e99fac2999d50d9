// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The one owner of what the system gives out and wants back.

#ifndef QVBASELIB_UNIQUEHANDLE_H
#define QVBASELIB_UNIQUEHANDLE_H

#include <utility>

#include "WindowsApi.h"

namespace QvBaseLib {

// Closes what it holds. A policy says what that is:
//   using Type = …;                  what the system gave out
//   static Type Empty();             what the owner holds when it holds nothing
//   static bool IsValid(Type);       whether there is something to close
//   static void Close(Type);
template <typename Policy>
class UniqueHandle {
public:
    using Type = typename Policy::Type;

    UniqueHandle() : handle_(Policy::Empty()) {}
    explicit UniqueHandle(Type aHandle) : handle_(aHandle) {}
    ~UniqueHandle() { Reset(); }

    UniqueHandle(UniqueHandle&& aOther) noexcept : handle_(aOther.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& aOther) noexcept {
        if (this != &aOther) Reset(aOther.Release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    Type Get() const { return handle_; }
    bool IsValid() const { return Policy::IsValid(handle_); }

    // Gives up the handle, which the caller closes.
    Type Release() { return std::exchange(handle_, Policy::Empty()); }

    void Reset(Type aHandle = Policy::Empty()) {
        const Type old = std::exchange(handle_, aHandle);
        if (Policy::IsValid(old)) Policy::Close(old);
    }

private:
    Type handle_;
};

// Files, devices, events, threads and processes. Some calls return null for a failure, others
// INVALID_HANDLE_VALUE.
struct KernelHandlePolicy {
    using Type = HANDLE;
    static Type Empty() { return nullptr; }
    static bool IsValid(Type aHandle) {
        return aHandle != nullptr && aHandle != INVALID_HANDLE_VALUE;
    }
    static void Close(Type aHandle) { ::CloseHandle(aHandle); }
};
using KernelHandle = UniqueHandle<KernelHandlePolicy>;

// What LocalFree frees.
template <typename Pointer>
struct LocalMemoryPolicy {
    using Type = Pointer;
    static Type Empty() { return nullptr; }
    static bool IsValid(Type aMemory) { return aMemory != nullptr; }
    static void Close(Type aMemory) { ::LocalFree(aMemory); }
};

}  // namespace QvBaseLib

#endif
