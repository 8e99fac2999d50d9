// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_FILESENDER_H
#define QVKIT_FILESENDER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "QvKit/Channel.h"
#include "QvKit/RequestRing.h"
#include "QvKit/Transfer.h"

namespace QvKit {

class SystemFile;

/// Writes a file to a device. It sends one request after the other, so that the bytes stay in order
/// when the device refuses one because it is busy and takes it later.
class FileSender final : public Transfer {
public:
    /// What is sent, and how.
    struct Settings {
        std::string path;                       ///< UTF-8.
        std::size_t requestSize = 4096;         ///< In bytes; the last request may be smaller.
        std::chrono::milliseconds busyLimit{};  ///< How long to try again while it is busy.
        std::chrono::milliseconds requestLimit = kNoLimit;  ///< How long a request may take.
    };

    /// Everything but the settings is borrowed.
    ///
    /// Throws `Error`: `ErrorKind::SystemFailed` when the file cannot be opened.
    FileSender(Channel& aChannel, Settings aSettings, const StopSignal& aStop,
               const Clock& aClock = Clock::GetSystemClock());
    ~FileSender() override;

    /// The file, in UTF-8.
    const std::string& GetPath() const { return settings_.path; }

    /// @name What may be read when the transfer has ended
    ///
    /// Errors are of the kinds `ErrorKind::DeviceFailed`, `ErrorKind::TimedOut` and
    /// `ErrorKind::SystemFailed`.
    ///
    /// @{

    /// How many requests the device took.
    std::uint64_t GetRequests() const { return requests_; }
    /// How many bytes it took.
    std::uint64_t GetBytes() const { return bytes_; }

    /// How often a request was sent again.
    std::uint64_t GetBusyRetries() const { return busyRetries_; }

    /// @}

private:
    void Run() override;

    bool Send(std::size_t aSize);
    bool PauseWhileBusy(std::chrono::nanoseconds aSince);
    void CountSent(std::size_t aSize, std::size_t aTaken);

    const Settings settings_;
    std::unique_ptr<SystemFile> file_;
    std::uint64_t fileSize_;
    RequestRing ring_;
    std::uint64_t requests_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t busyRetries_ = 0;
};

}  // namespace QvKit

#endif
