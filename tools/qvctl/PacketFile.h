// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A file of whole packets.

#ifndef QVCTL_PACKETFILE_H
#define QVCTL_PACKETFILE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "WindowsApi.h"

namespace Qvctl {

// Each packet goes to the system as soon as it is there: whatever happens, the file holds all that
// came before.
class PacketFile {
public:
    // Makes the file, or empties it. The path is UTF-8. Throws `Failure`.
    explicit PacketFile(const std::string& aPath);
    ~PacketFile() { ::CloseHandle(file_); }

    PacketFile(const PacketFile&) = delete;
    PacketFile& operator=(const PacketFile&) = delete;

    // Adds a packet as a whole. Throws `Failure` when it cannot, and cuts off what was written of
    // it.
    void Append(const unsigned char* aBytes, std::size_t aSize);

    const std::string& GetPath() const { return path_; }
    std::uint64_t GetPackets() const { return packets_; }
    std::uint64_t GetBytes() const { return bytes_; }

private:
    void CutOffRest() const;

    std::string path_;
    HANDLE file_;
    std::uint64_t packets_ = 0;
    std::uint64_t bytes_ = 0;
};

}  // namespace Qvctl

#endif
