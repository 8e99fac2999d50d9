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

std::uint64_t SystemFile::GetSize() const {
    LARGE_INTEGER size = {};
    return ::GetFileSizeEx(handle_.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

std::size_t SystemFile::Read(unsigned char* aBuffer, std::size_t aSize) {
    DWORD size = 0;
    const BOOL done = ::ReadFile(handle_.Get(), aBuffer, static_cast<DWORD>(aSize), &size,
                                 /*lpOverlapped=*/nullptr);
    const DWORD error = ::GetLastError();
    if (!done) throw FileError("read", path_, error);
    return size;
}

void SystemFile::Append(std::uint64_t aOffset, const unsigned char* aBytes, std::size_t aSize) {
    DWORD written = 0;
    const BOOL done = ::WriteFile(handle_.Get(), aBytes, static_cast<DWORD>(aSize), &written,
                                  /*lpOverlapped=*/nullptr);
    const DWORD error = done ? ERROR_DISK_FULL : ::GetLastError();
    if (done && written == aSize) return;
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(aOffset);
    if (::SetFilePointerEx(handle_.Get(), end, /*lpNewFilePointer=*/nullptr, FILE_BEGIN)) {
        ::SetEndOfFile(handle_.Get());
    }
    throw FileError("write", path_, error);
}

}  // namespace QvKit
