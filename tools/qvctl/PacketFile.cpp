// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "PacketFile.h"

#include "Failure.h"
#include "LibraryError.h"
#include "Utf8.h"

namespace Qvctl {

PacketFile::PacketFile(const std::string& aPath)
    : path_(aPath),
      file_(::CreateFileW(FromUtf8(aPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    const DWORD error = ::GetLastError();
    if (file_ == INVALID_HANDLE_VALUE) {
        throw SystemFailure("cannot create '" + aPath + "'", error);
    }
}

void PacketFile::Append(const unsigned char* aBytes, std::size_t aSize) {
    DWORD written = 0;
    const BOOL done =
        ::WriteFile(file_, aBytes, static_cast<DWORD>(aSize), &written, /*lpOverlapped=*/nullptr);
    const DWORD error = done ? ERROR_DISK_FULL : ::GetLastError();
    if (!done || written != aSize) {
        CutOffRest();
        throw SystemFailure("cannot write '" + path_ + "'", error);
    }
    ++packets_;
    bytes_ += aSize;
}

void PacketFile::CutOffRest() const {
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(bytes_);
    if (::SetFilePointerEx(file_, end, /*lpNewFilePointer=*/nullptr, FILE_BEGIN)) {
        ::SetEndOfFile(file_);
    }
}

}  // namespace Qvctl
