// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Reads packets from a device.

#ifndef QVCTL_STREAMREADER_H
#define QVCTL_STREAMREADER_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "PacketCheck.h"
#include "PacketFile.h"
#include "QvUserLib/DeviceConnection.h"
#include "RequestRing.h"
#include "TransferThread.h"

namespace Qvctl {

struct StreamSettings {
    std::optional<std::uint32_t> packets;  // After how many to end.
    std::optional<double> seconds;         // After what time to end.
    unsigned int depth;                    // How many reads are kept pending.
    std::size_t readSize;                  // The largest packet, in bytes.
    bool verify;                           // Whether to look at every byte.
};

// Keeps reads pending, one for each packet, and takes what they return in their order: into the
// account and, when there is a file, into the file. Ends when it has what was asked for, when it is
// asked to stop, and when the device or the file fails. In each case the reads that are still
// pending are cancelled, so that a silent device holds nothing up, and packets that arrived
// meanwhile are taken.
class StreamReader final : public TransferThread {
public:
    // The connection and the file, which may be null, are borrowed. A connection whose reads had to
    // be cancelled has lost its device afterwards. Throws `Failure`.
    StreamReader(QvUserLib::DeviceConnection& aConnection, const StreamSettings& aSettings,
                 PacketFile* aFile);
    ~StreamReader() override { StopAndWait(); }

    const PacketCheck& GetCheck() const { return check_; }

private:
    void Transfer() override;

    void SendReads();
    void TakeOldest();
    void TakePacket(const RequestRing::Outcome& aOutcome);
    void CancelReads();
    void ShowProgress();

    std::optional<DWORD> GetRemainingMs() const;
    bool IsComplete() const;

    const StreamSettings settings_;
    PacketFile* file_;
    RequestRing ring_;
    PacketCheck check_;
    bool isCancelling_ = false;
};

}  // namespace Qvctl

#endif
