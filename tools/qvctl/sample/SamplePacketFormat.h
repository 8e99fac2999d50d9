// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The packets of the sample driver: the one piece of the tool that knows a particular driver's.

#ifndef QVCTL_SAMPLE_SAMPLEPACKETFORMAT_H
#define QVCTL_SAMPLE_SAMPLEPACKETFORMAT_H

#include <cstddef>

#include "QvKit/PacketFormat.h"
#include "WindowsApi.h"

namespace Qvctl {

class SamplePacketFormat final : public QvKit::PacketFormat {
public:
    // While the device makes packets it is the size of the largest, so that they may grow; while it
    // returns what was written to it, the size of the packets at the moment. Large for a device
    // without the parameter of the size.
    std::size_t GetReadSize(const QvKit::Snapshot& aSettings) const override;

    bool IsNumbered() const override { return true; }
    QvKit::Packet Examine(const unsigned char* aBytes, std::size_t aSize,
                          bool aWithPayload) const override;
};

// How devices of an interface class pack what they stream; raw bytes for one that is not known. The
// format lives as long as the process.
const QvKit::PacketFormat& PacketFormatOf(const GUID& aInterface);

}  // namespace Qvctl

#endif
