// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_PACKETFORMAT_H
#define QVKIT_PACKETFORMAT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "QvKit/Snapshot.h"

namespace QvKit {

/// What a format finds in the bytes that one read returned.
struct Packet {
    bool isWhole = true;  ///< Whether the bytes are exactly one packet, whatever its payload.
    std::optional<std::uint64_t> sequence;  ///< Its number, counted from 0, if it carries one.
    std::optional<std::uint64_t> dropped;   ///< The driver's own count of packets it dropped.
    std::string fault;                      ///< What is wrong with it; empty for nothing.
};

/// How a device packs what it streams. The kit knows only raw bytes; a program that knows a
/// driver's packets derives a format of its own. Any thread may use a format.
class PacketFormat {
public:
    virtual ~PacketFormat() = default;

    /// What reports call it, in lower case, such as "raw".
    virtual const char* GetName() const = 0;

    /// The size of a read, in bytes, that gets one packet.
    virtual std::size_t GetReadSize(const Snapshot& aSettings) const = 0;

    /// Whether packets are numbered, so that lost ones are noticed and payloads can be verified.
    virtual bool IsNumbered() const = 0;

    /// Looks at what a read returned. It allocates nothing unless something is wrong.
    ///
    /// @param aBytes        What was read.
    /// @param aSize         How many bytes that are.
    /// @param aWithPayload  Whether to look at every byte of the payload.
    virtual Packet Examine(const unsigned char* aBytes, std::size_t aSize,
                           bool aWithPayload) const = 0;
};

/// For devices whose packets are not known: whatever a read returns is a packet, and nothing can be
/// wrong with it.
class RawFormat final : public PacketFormat {
public:
    /// @param aReadSize  In bytes.
    explicit RawFormat(std::size_t aReadSize = 65536) : readSize_(aReadSize) {}

    const char* GetName() const override { return "raw"; }
    std::size_t GetReadSize(const Snapshot&) const override { return readSize_; }
    bool IsNumbered() const override { return false; }
    Packet Examine(const unsigned char*, std::size_t, bool) const override { return Packet(); }

private:
    std::size_t readSize_;
};

}  // namespace QvKit

#endif
