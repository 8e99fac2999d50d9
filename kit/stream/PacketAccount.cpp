// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/PacketAccount.h"

namespace QvKit {

bool PacketAccount::Take(const unsigned char* aBytes, std::size_t aSize) {
    ++packets_;
    bytes_ += aSize;
    const Packet packet = format_.Examine(aBytes, aSize, withPayload_);
    if (format_.IsNumbered() && !packet.sequence) ++unnumbered_;
    if (packet.dropped) dropped_ = *packet.dropped;
    const std::uint64_t due = next_;
    const std::uint64_t number = packet.sequence.value_or(due);
    const bool isInOrder = !packet.sequence || FollowSequence(number);
    if (packet.isWhole && !isInOrder) {
        CountFailure(number, "sequence number " + std::to_string(number) + " comes again; " +
                                 std::to_string(due) + " is due");
    } else if (!packet.fault.empty()) {
        CountFailure(number, packet.fault);
    }
    return packet.isWhole;
}

// Returns whether the packet does not come before the one that is due.
bool PacketAccount::FollowSequence(std::uint64_t aSequence) {
    if (aSequence < next_) return false;
    if (aSequence > next_) {
        ++gaps_;
        missing_ += aSequence - next_;
    }
    next_ = aSequence + 1;
    return true;
}

void PacketAccount::CountFailure(std::uint64_t aNumber, const std::string& aFault) {
    if (failures_++ == 0) firstFailure_ = "packet " + std::to_string(aNumber) + ": " + aFault;
}

}  // namespace QvKit
