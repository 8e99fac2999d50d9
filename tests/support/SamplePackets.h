// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Packets as the sample driver makes them.

#ifndef QVTESTS_SAMPLEPACKETS_H
#define QVTESTS_SAMPLEPACKETS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "QvSample/QvSamplePacket.h"

namespace QvTests {

/// The header at the beginning of a packet, or of a buffer that is at least as long.
inline QV_SAMPLE_PACKET_HEADER HeaderOf(const void* aPacket) {
    QV_SAMPLE_PACKET_HEADER header = {};
    std::memcpy(&header, aPacket, sizeof header);
    return header;
}
inline QV_SAMPLE_PACKET_HEADER HeaderOf(const std::string& aPacket) {
    return HeaderOf(static_cast<const void*>(aPacket.data()));
}

/// Whether that many bytes, which a read has returned, are one whole packet.
inline bool IsWholePacket(const void* aBytes, std::size_t aSize) {
    const QV_SAMPLE_PACKET_HEADER header = HeaderOf(aBytes);
    return header.magic == QV_SAMPLE_PACKET_MAGIC && aSize == sizeof header + header.payloadBytes;
}

/// A packet of `aSize` bytes with its header.
inline std::string MakePacket(std::uint64_t aSequence, std::size_t aSize = 64,
                              std::uint64_t aDropped = 0, std::uint64_t aTimestamp = 0) {
    QV_SAMPLE_PACKET_HEADER header = {};
    header.magic = QV_SAMPLE_PACKET_MAGIC;
    header.payloadBytes = static_cast<std::uint32_t>(aSize - sizeof header);
    header.sequence = aSequence;
    header.timestamp = aTimestamp;
    header.dropped = aDropped;
    std::string packet(aSize, '\0');
    std::memcpy(&packet[0], &header, sizeof header);
    for (std::uint32_t index = 0; index < header.payloadBytes; ++index) {
        packet[sizeof header + index] = static_cast<char>(QvSamplePayloadByte(aSequence, index));
    }
    return packet;
}

}  // namespace QvTests

#endif
