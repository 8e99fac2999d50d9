// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Writes a file to a device.

#ifndef QVCTL_FILESENDER_H
#define QVCTL_FILESENDER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "QvUserLib/DeviceConnection.h"
#include "RequestRing.h"
#include "TransferThread.h"

namespace Qvctl {

// Sends one request after the other, so that the bytes stay in order when the device refuses one
// because it is busy and takes it later.
class FileSender final : public TransferThread {
public:
    struct Settings {
        std::string path;         // UTF-8.
        std::size_t requestSize;  // In bytes; the last request may be smaller.
        DWORD busyMs;             // How long a request is sent again to a device that is busy.
    };

    // The connection is borrowed. Throws `Failure` when the file cannot be opened.
    FileSender(QvUserLib::DeviceConnection& aConnection, Settings aSettings);
    ~FileSender() override;

    const std::string& GetPath() const { return settings_.path; }
    std::uint64_t GetRequests() const { return requests_; }
    std::uint64_t GetBytes() const { return bytes_; }

    // How often a request was sent again.
    std::uint64_t GetBusyRetries() const { return busyRetries_; }

private:
    void Transfer() override;

    std::size_t ReadFile(unsigned char* aBuffer) const;
    bool Send(std::size_t aSize);
    bool WaitWhileBusy(std::uint64_t aSinceNs);
    void CountSent(std::size_t aSize, std::size_t aTaken);

    const Settings settings_;
    HANDLE file_;
    std::uint64_t fileSize_ = 0;
    RequestRing ring_;
    std::uint64_t requests_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t busyRetries_ = 0;
};

}  // namespace Qvctl

#endif
