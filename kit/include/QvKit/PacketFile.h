// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_PACKETFILE_H
#define QVKIT_PACKETFILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace QvKit {

class SystemFile;

/// A file of what reads returned, one behind the other. Each goes to the system as soon as it is
/// there: whatever happens, the file holds all that came before. For one thread.
class PacketFile {
public:
    /// Makes the file, or empties it. The path is UTF-8.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    explicit PacketFile(const std::string& aPath);

    /// Adds to what is open already, such as a pipe or standard output. The handle is not closed.
    ///
    /// @param aHandle  A Win32 handle, open for writing.
    /// @param aName    Takes the place of the path.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    PacketFile(void* aHandle, const std::string& aName);
    ~PacketFile();

    PacketFile(const PacketFile&) = delete;
    PacketFile& operator=(const PacketFile&) = delete;

    /// Adds the bytes as a whole. What was written of bytes that do not fit is cut off, except in a
    /// pipe.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    void Append(const unsigned char* aBytes, std::size_t aSize);

    /// The path, or the name that took its place.
    const std::string& GetPath() const;
    /// How often bytes were added.
    std::uint64_t GetPackets() const { return packets_; }
    /// How many bytes were added.
    std::uint64_t GetBytes() const { return bytes_; }

private:
    std::unique_ptr<SystemFile> file_;
    std::uint64_t packets_ = 0;
    std::uint64_t bytes_ = 0;
};

}  // namespace QvKit

#endif
