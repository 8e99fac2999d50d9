// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "PacketCheck.h"

#include <cstdio>
#include <cstring>

#include "QvSample/QvSamplePacket.h"

namespace Qvctl {
namespace {

// The index of the first byte that is not as it should be; the size when all are.
std::size_t FindWrongByte(const unsigned char* aPayload, std::size_t aSize,
                          std::uint64_t aSequence) {
    for (std::size_t index = 0; index < aSize; ++index) {
        if (aPayload[index] != QvSamplePayloadByte(aSequence, static_cast<std::uint32_t>(index))) {
            return index;
        }
    }
    return aSize;
}

}  // namespace

bool PacketCheck::Take(const unsigned char* aBytes, std::size_t aSize) {
    ++packets_;
    bytes_ += aSize;
    const Finding finding = Examine(aBytes, aSize);
    if (finding.fault == Fault::None) return true;
    if (failures_++ == 0) first_ = finding;
    return finding.fault == Fault::Sequence || finding.fault == Fault::Payload;
}

PacketCheck::Finding PacketCheck::Examine(const unsigned char* aBytes, std::size_t aSize) {
    QV_SAMPLE_PACKET_HEADER header;
    if (aSize < sizeof header) return {Fault::NoHeader, next_, aSize, sizeof header, 0};
    // Copied, as bytes of a file or a pipe need not be aligned.
    std::memcpy(&header, aBytes, sizeof header);
    if (header.magic != QV_SAMPLE_PACKET_MAGIC) {
        return {Fault::NoPacket, next_, header.magic, QV_SAMPLE_PACKET_MAGIC, 0};
    }

    const std::uint64_t due = next_;
    const bool isInOrder = FollowSequence(header.sequence, header.dropped);
    const std::size_t payloadSize = aSize - sizeof header;
    if (header.payloadBytes != payloadSize) {
        return {Fault::Size, header.sequence, payloadSize, header.payloadBytes, 0};
    }
    if (!isInOrder) return {Fault::Sequence, header.sequence, header.sequence, due, 0};
    if (!withPayload_) return {};

    const unsigned char* const payload = aBytes + sizeof header;
    const std::size_t wrong = FindWrongByte(payload, payloadSize, header.sequence);
    if (wrong == payloadSize) return {};
    return {Fault::Payload, header.sequence, payload[wrong],
            QvSamplePayloadByte(header.sequence, static_cast<std::uint32_t>(wrong)), wrong};
}

// Answers whether the packet does not come before the one that is due.
bool PacketCheck::FollowSequence(std::uint64_t aSequence, std::uint64_t aDropped) {
    dropped_ = aDropped;
    if (aSequence < next_) return false;
    if (aSequence > next_) {
        ++gaps_;
        missing_ += aSequence - next_;
    }
    next_ = aSequence + 1;
    return true;
}

std::string PacketCheck::GetFirstFailure() const {
    const char* format = "";
    switch (first_.fault) {
        case Fault::None:
            break;
        case Fault::NoHeader:
            format = "packet %llu: %llu bytes, fewer than the %llu of a header";
            break;
        case Fault::NoPacket:
            format = "packet %llu: begins with 0x%llx instead of 0x%llx";
            break;
        case Fault::Size:
            format = "packet %llu: %llu bytes of payload instead of %llu";
            break;
        case Fault::Sequence:
            format = "packet %llu: sequence number %llu comes again; %llu is due";
            break;
        case Fault::Payload:
            format = "packet %llu: 0x%02llx instead of 0x%02llx at byte %llu of the payload";
            break;
    }
    char text[128];
    std::snprintf(text, sizeof text, format, static_cast<unsigned long long>(first_.sequence),
                  static_cast<unsigned long long>(first_.found),
                  static_cast<unsigned long long>(first_.expected),
                  static_cast<unsigned long long>(first_.index));
    return text;
}

}  // namespace Qvctl
