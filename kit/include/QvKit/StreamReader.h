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

/// How packets are read, and when that ends.
struct StreamSettings {
    /// @name What ends the stream, whichever comes first
    /// @{

    std::optional<std::uint64_t> packets;             ///< So many packets were taken.
    std::optional<std::chrono::nanoseconds> time;     ///< So much time has passed.
    std::optional<std::chrono::nanoseconds> silence;  ///< No byte has come for so long.

    /// @}

    unsigned int depth = 16;       ///< How many reads are kept pending.
    std::size_t readSize = 65536;  ///< The size of the largest packet, in bytes.
    bool verify = false;           ///< Whether to look at every byte.

    /// Takes what each read returned, whole packets or not, in order, on the transfer's thread. The
    /// bytes are valid during the call. An `Error` that it throws ends the stream. May be empty.
    std::function<void(const unsigned char* aBytes, std::size_t aSize)> onRead;
};

/// Reads packets from a device: keeps reads pending, one for each packet, and takes what they
/// return in their order. It ends as its settings say, when it is stopped, and when the device or
/// `onRead` fails. In each case the reads that are still pending are cancelled, so that a silent
/// device does not hold it up, and packets that arrived meanwhile are taken.
class StreamReader final : public Transfer {
public:
    /// Everything but the settings is borrowed.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed`.
    StreamReader(Channel& aChannel, const PacketFormat& aFormat, StreamSettings aSettings,
                 const StopSignal& aStop, const Clock& aClock = Clock::GetSystemClock());
    ~StreamReader() override { StopAndWait(); }

    /// The settings as they were given.
    const StreamSettings& GetSettings() const { return settings_; }

    /// May be read when the transfer has ended. Errors are of the kinds
    /// `ErrorKind::DeviceFailed` and whatever `onRead` throws.
    const PacketAccount& GetAccount() const { return account_; }

private:
    void Run() override;

    void SubmitReads();
    std::size_t TakeOldest();
    void TakePacket(const RequestRing::Outcome& aOutcome);
    void CancelReads();
    void ShowProgress();

    std::chrono::milliseconds GetLongestWait() const;
    bool IsComplete() const;
    bool IsSilent() const;

    const StreamSettings settings_;
    RequestRing ring_;
    PacketAccount account_;
    bool isSinkOpen_;
    bool isCancelling_ = false;
    std::chrono::nanoseconds lastRead_{0};  // When the last one was dealt with.
};

}  // namespace QvKit

#endif
