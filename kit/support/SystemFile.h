// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Files, read or written from their beginning to their end.

#ifndef QVKIT_SUPPORT_SYSTEMFILE_H
#define QVKIT_SUPPORT_SYSTEMFILE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "UniqueHandle.h"

namespace QvKit {

// All operations throw `Error`, kind `SystemFailed`.
class SystemFile {
public:
    // The paths are UTF-8. `Create` empties a file that is there.
    static SystemFile Create(const std::string& aPath);
    static SystemFile Open(const std::string& aPath);

    // What is open already, under a name. The caller's handle stays the caller's.
    static SystemFile Share(HANDLE aHandle, const std::string& aName);

    const std::string& GetPath() const { return path_; }

    // In bytes; 0 for a file without one, such as a pipe.
    std::uint64_t GetSize() const;

    // Returns how many bytes were read; 0 at the end.
    std::size_t Read(unsigned char* aBuffer, std::size_t aSize);

    // Writes at the end. When not all of it can be written, a file on a disk ends where it ended
    // before.
    void Append(const unsigned char* aBytes, std::size_t aSize);

private:
    SystemFile(std::string aPath, QvBaseLib::KernelHandle aHandle);

    std::string path_;
    QvBaseLib::KernelHandle handle_;
};

}  // namespace QvKit

#endif
