// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Whether every packet has arrived, in order and whole.

#ifndef QVCTL_PACKETCHECK_H
#define QVCTL_PACKETCHECK_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace Qvctl {

// Is given what each read returned, in order, and keeps the account. Allocates nothing meanwhile.
class PacketCheck {
public:
    // Looking at every byte of the payload takes its time, so it is done on request only.
    explicit PacketCheck(bool aWithPayload) : withPayload_(aWithPayload) {}

    // Answers whether the bytes are one whole packet, whatever its payload holds.
    bool Take(const unsigned char* aBytes, std::size_t aSize);

    bool IsWithPayload() const { return withPayload_; }

    // What was taken, broken packets included.
    std::uint64_t GetPackets() const { return packets_; }
    std::uint64_t GetBytes() const { return bytes_; }

    // How often packets were left out of the sequence, which begins with 0, and how many.
    std::uint64_t GetGaps() const { return gaps_; }
    std::uint64_t GetMissing() const { return missing_; }

    // As the driver counts them since the stream began.
    std::uint64_t GetDropped() const { return dropped_; }

    // Packets that were not whole, came again or held other bytes than they should.
    std::uint64_t GetFailures() const { return failures_; }

    // What was wrong first; empty when nothing was.
    std::string GetFirstFailure() const;

    // Whether nothing was lost and nothing was wrong.
    bool IsClean() const { return missing_ == 0 && dropped_ == 0 && failures_ == 0; }

private:
    enum class Fault { None, NoHeader, NoPacket, Size, Sequence, Payload };

    // Of a failure: what was found, and what should have been.
    struct Finding {
        Fault fault = Fault::None;
        std::uint64_t sequence = 0;
        std::uint64_t found = 0;
        std::uint64_t expected = 0;
        std::size_t index = 0;  // Of the wrong byte of the payload.
    };

    Finding Examine(const unsigned char* aBytes, std::size_t aSize);
    bool FollowSequence(std::uint64_t aSequence, std::uint64_t aDropped);

    bool withPayload_;
    std::uint64_t packets_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t next_ = 0;  // The sequence number that is due.
    std::uint64_t gaps_ = 0;
    std::uint64_t missing_ = 0;
    std::uint64_t dropped_ = 0;
    std::uint64_t failures_ = 0;
    Finding first_;
};

}  // namespace Qvctl

#endif
