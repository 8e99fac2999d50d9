// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_STREAMREADER_H
#define QVKIT_STREAMREADER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "QvKit/Channel.h"
#include "QvKit/PacketAccount.h"
#include "QvKit/PacketFormat.h"
#include "QvKit/RequestRing.h"
#include "QvKit/Transfer.h"

namespace QvKit {

struct StreamSettings {
    std::optional<std::uint64_t> packets;          ///< After how many to end.
    std::optional<std::chrono::nanoseconds> time;  ///< After what time to end.
    unsigned int depth = 16;                       ///< How many reads are kept pending.
    std::size_t readSize = 65536;                  ///< The size of the largest packet, in bytes.
    bool verify = false;                           ///< Whether to look at every byte.

    /// Takes each whole packet, in order, on the transfer's thread. The bytes are valid during the
    /// call. An `Error` that it throws ends the stream. May be empty.
    std::function<void(const unsigned char* aBytes, std::size_t aSize)> onPacket;
};

/// Reads packets from a device: keeps reads pending, one for each packet, and takes what they
/// return in their order. It ends when it has what was asked for, when it is stopped, and when the
/// device or `onPacket` fails. In each case the reads that are still pending are cancelled, so that
/// a silent device does not hold it up, and packets that arrived meanwhile are taken.
class StreamReader final : public Transfer {
public:
    /// Everything but the settings is borrowed.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    StreamReader(Channel& aChannel, const PacketFormat& aFormat, StreamSettings aSettings,
                 const StopSignal& aStop, const Clock& aClock = Clock::GetSystemClock());
    ~StreamReader() override { StopAndWait(); }

    /// May be read when the transfer has ended. Errors are of the kinds
    /// `ErrorKind::DeviceFailed` and whatever `onPacket` throws.
    const PacketAccount& GetAccount() const { return account_; }

private:
    void Run() override;

    void SubmitReads();
    void TakeOldest();
    void TakePacket(const RequestRing::Outcome& aOutcome);
    void CancelReads();
    void ShowProgress();

    std::optional<std::chrono::milliseconds> GetTimeLeft() const;
    bool IsComplete() const;

    const StreamSettings settings_;
    RequestRing ring_;
    PacketAccount account_;
    bool isSinkOpen_;
    bool isCancelling_ = false;
};

}  // namespace QvKit

#endif
