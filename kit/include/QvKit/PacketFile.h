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

/// A file of whole packets, one behind the other. Each goes to the system as soon as it is there:
/// whatever happens, the file holds all that came before. For one thread.
class PacketFile {
public:
    /// Makes the file, or empties it. The path is UTF-8.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    explicit PacketFile(const std::string& aPath);
    ~PacketFile();

    PacketFile(const PacketFile&) = delete;
    PacketFile& operator=(const PacketFile&) = delete;

    /// Adds a packet as a whole. What was written of a packet that does not fit is cut off.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    void Append(const unsigned char* aBytes, std::size_t aSize);

    const std::string& GetPath() const;
    std::uint64_t GetPackets() const { return packets_; }
    std::uint64_t GetBytes() const { return bytes_; }

private:
    std::unique_ptr<SystemFile> file_;
    std::uint64_t packets_ = 0;
    std::uint64_t bytes_ = 0;
};

}  // namespace QvKit

#endif
