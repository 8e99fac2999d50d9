// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "SystemFile.h"

#include <utility>

#include "QvKit/Error.h"
#include "QvKit/Text.h"

namespace QvKit {
namespace {

using QvBaseLib::KernelHandle;

Error FileError(const char* aVerb, const std::string& aPath, DWORD aError) {
    return SystemError(ErrorKind::SystemFailed, std::string("cannot ") + aVerb + " '" + aPath + "'",
                       aError);
}

}  // namespace

SystemFile::SystemFile(std::string aPath, KernelHandle aHandle)
    : path_(std::move(aPath)), handle_(std::move(aHandle)) {}

SystemFile SystemFile::Create(const std::string& aPath) {
    KernelHandle handle(::CreateFileW(FromUtf8(aPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                      nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = ::GetLastError();
    if (!handle.IsValid()) throw FileError("create", aPath, error);
    return SystemFile(aPath, std::move(handle));
}

SystemFile SystemFile::Open(const std::string& aPath) {
    KernelHandle handle(::CreateFileW(FromUtf8(aPath).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    const DWORD error = ::GetLastError();
    if (!handle.IsValid()) throw FileError("open", aPath, error);
    return SystemFile(aPath, std::move(handle));
}

SystemFile SystemFile::Share(HANDLE aHandle, const std::string& aName) {
    const HANDLE process = ::GetCurrentProcess();
    HANDLE shared = nullptr;
    const BOOL done = ::DuplicateHandle(process, aHandle, process, &shared, /*dwDesiredAccess=*/0,
                                        /*bInheritHandle=*/FALSE, DUPLICATE_SAME_ACCESS);
    const DWORD error = ::GetLastError();
    if (!done) throw FileError("write", aName, error);
    return SystemFile(aName, KernelHandle(shared));
}

std::uint64_t SystemFile::GetSize() const {
    LARGE_INTEGER size = {};
    return ::GetFileSizeEx(handle_.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

std::size_t SystemFile::Read(unsigned char* aBuffer, std::size_t aSize) {
    DWORD size = 0;
    const BOOL done = ::ReadFile(handle_.Get(), aBuffer, static_cast<DWORD>(aSize), &size,
                                 /*lpOverlapped=*/nullptr);
    const DWORD error = ::GetLastError();
    if (!done && error == ERROR_BROKEN_PIPE) return 0;  // The end of a pipe.
    if (!done) throw FileError("read", path_, error);
    return size;
}

void SystemFile::Append(const unsigned char* aBytes, std::size_t aSize) {
    DWORD written = 0;
    const BOOL done = ::WriteFile(handle_.Get(), aBytes, static_cast<DWORD>(aSize), &written,
                                  /*lpOverlapped=*/nullptr);
    const DWORD error = done ? ERROR_DISK_FULL : ::GetLastError();
    if (done && written == aSize) return;
    LARGE_INTEGER back;
    back.QuadPart = -static_cast<LONGLONG>(written);
    if (written > 0 &&
        ::SetFilePointerEx(handle_.Get(), back, /*lpNewFilePointer=*/nullptr, FILE_CURRENT)) {
        ::SetEndOfFile(handle_.Get());
    }
    throw FileError("write", path_, error);
}

}  // namespace QvKit
