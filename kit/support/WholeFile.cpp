// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "WholeFile.h"

#include "QvKit/Error.h"
#include "QvKit/Text.h"
#include "UniqueHandle.h"

namespace QvKit {
namespace {

Error CannotWrite(const std::string& aPath, DWORD aError) {
    return SystemError(ErrorKind::SystemFailed, "cannot write '" + aPath + "'", aError);
}

// A new file, which is deleted with the object unless it has taken another one's place.
class NewFile {
public:
    explicit NewFile(const std::string& aPath) : path_(aPath) {
        // A process that was ended may have left files behind.
        constexpr int kAttempts = 100;
        DWORD error = ERROR_FILE_EXISTS;
        for (int attempt = 0; attempt < kAttempts && error == ERROR_FILE_EXISTS; ++attempt) {
            name_ = FromUtf8(aPath + "." + std::to_string(::GetCurrentProcessId()) + "-" +
                             std::to_string(attempt) + ".tmp");
            handle_.Reset(::CreateFileW(name_.c_str(), GENERIC_WRITE, /*dwShareMode=*/0, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
            error = ::GetLastError();
            if (handle_.IsValid()) return;
        }
        throw CannotWrite(path_, error);
    }
    ~NewFile() {
        if (name_.empty()) return;
        handle_.Reset();
        ::DeleteFileW(name_.c_str());
    }

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Write(std::string_view aBytes) {
        DWORD written = 0;
        const BOOL done = ::WriteFile(handle_.Get(), aBytes.data(),
                                      static_cast<DWORD>(aBytes.size()), &written, nullptr);
        const DWORD error = done ? ERROR_DISK_FULL : ::GetLastError();
        if (!done || written != aBytes.size()) throw CannotWrite(path_, error);
        // Otherwise the name could reach the disk before the bytes.
        const BOOL isFlushed = ::FlushFileBuffers(handle_.Get());
        const DWORD flushError = ::GetLastError();
        if (!isFlushed) throw CannotWrite(path_, flushError);
    }

    void TakePlace() {
        handle_.Reset();
        const BOOL done = ::MoveFileExW(name_.c_str(), FromUtf8(path_).c_str(),
                                        MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
        const DWORD error = ::GetLastError();
        if (!done) throw CannotWrite(path_, error);
        name_.clear();
    }

private:
    const std::string path_;
    std::wstring name_;
    QvBaseLib::KernelHandle handle_;
};

}  // namespace

void WriteWholeFile(const std::string& aPath, std::string_view aBytes) {
    NewFile file(aPath);
    file.Write(aBytes);
    file.TakePlace();
}

}  // namespace QvKit
