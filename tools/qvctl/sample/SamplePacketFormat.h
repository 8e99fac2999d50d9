// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The packets of the sample driver: the one piece of the tool that knows a particular driver's.

#ifndef QVCTL_SAMPLE_SAMPLEPACKETFORMAT_H
#define QVCTL_SAMPLE_SAMPLEPACKETFORMAT_H

#include <cstddef>

#include "DeviceChoice.h"
#include "QvKit/PacketFormat.h"
#include "WindowsApi.h"

namespace Qvctl {

class SamplePacketFormat final : public QvKit::PacketFormat {
public:
    const char* GetName() const override { return "sample"; }

    // While the device makes packets it is the size of the largest, so that they may grow; while it
    // returns what was written to it, the size of the packets at the moment. Large for a device
    // without the parameter of the size.
    std::size_t GetReadSize(const QvKit::Snapshot& aSettings) const override;

    bool IsNumbered() const override { return true; }
    QvKit::Packet Examine(const unsigned char* aBytes, std::size_t aSize,
                          bool aWithPayload) const override;
};

// How a device of an interface class packs what it streams; null when that is not known. A path is
// that of a device of the class if it has the class in it. The format lives as long as the process.
const QvKit::PacketFormat* FindPacketFormat(const GUID& aInterface, const DeviceChoice& aDevice);

}  // namespace Qvctl

#endif
