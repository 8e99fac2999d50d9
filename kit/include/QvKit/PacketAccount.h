// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_PACKETACCOUNT_H
#define QVKIT_PACKETACCOUNT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "QvKit/PacketFormat.h"

namespace QvKit {

/// Keeps account of whether every packet has arrived, in order and whole. It is given what each
/// read returned, in order. Nothing is allocated as long as nothing is wrong.
class PacketAccount {
public:
    /// The format is borrowed. Looking at every byte of the payload takes its time, so it is done
    /// on request only.
    PacketAccount(const PacketFormat& aFormat, bool aWithPayload)
        : format_(aFormat), withPayload_(aWithPayload) {}

    /// Returns whether the bytes are one whole packet, whatever its payload holds.
    bool Take(const unsigned char* aBytes, std::size_t aSize);

    /// Whether every byte of the payload is looked at.
    bool IsWithPayload() const { return withPayload_; }

    /// The format of the packets.
    const PacketFormat& GetFormat() const { return format_; }

    /// Whether what follows from the packets' numbers is known: the format has numbers, and not all
    /// that was taken was without one.
    bool IsSequenceKnown() const {
        return format_.IsNumbered() && (packets_ == 0 || unnumbered_ < packets_);
    }

    /// How many packets were taken, broken ones included.
    std::uint64_t GetPackets() const { return packets_; }
    /// The bytes of those packets.
    std::uint64_t GetBytes() const { return bytes_; }

    /// What was no packet of a format with numbers: it is in no sequence. Without numbers it is 0.
    std::uint64_t GetUnnumbered() const { return unnumbered_; }

    /// How often packets were left out of the sequence, which begins with 0.
    std::uint64_t GetGaps() const { return gaps_; }
    /// How many packets were left out in all.
    std::uint64_t GetMissing() const { return missing_; }

    /// As the driver counts them since the stream began.
    std::uint64_t GetDropped() const { return dropped_; }

    /// Packets that were not whole, came again or held other bytes than they should.
    std::uint64_t GetFailures() const { return failures_; }

    /// What was wrong first; empty when nothing was.
    const std::string& GetFirstFailure() const { return firstFailure_; }

    /// Whether nothing was lost and nothing was wrong.
    bool IsClean() const { return missing_ == 0 && dropped_ == 0 && failures_ == 0; }

private:
    bool FollowSequence(std::uint64_t aSequence);
    void CountFailure(std::uint64_t aNumber, const std::string& aFault);

    const PacketFormat& format_;
    bool withPayload_;
    std::uint64_t packets_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t unnumbered_ = 0;
    std::uint64_t next_ = 0;  // The sequence number that is due.
    std::uint64_t gaps_ = 0;
    std::uint64_t missing_ = 0;
    std::uint64_t dropped_ = 0;
    std::uint64_t failures_ = 0;
    std::string firstFailure_;
};

}  // namespace QvKit

#endif
