// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "sample/SamplePacketFormat.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "InterfaceId.h"
#include "QvKit/Guid.h"
#include "QvSample/QvSamplePacket.h"

namespace Qvctl {
namespace {

using QvKit::Packet;
using QvKit::Setting;
using QvKit::SettingType;

template <typename... Arguments>
std::string Text(const char* aFormat, Arguments... aArguments) {
    char text[96];
    std::snprintf(text, sizeof text, aFormat, static_cast<unsigned long long>(aArguments)...);
    return text;
}

// What is wrong with a payload; empty for nothing.
std::string FindFault(const unsigned char* aPayload, std::size_t aSize, std::uint64_t aSequence) {
    for (std::size_t index = 0; index < aSize; ++index) {
        const unsigned char due = QvSamplePayloadByte(aSequence, static_cast<std::uint32_t>(index));
        if (aPayload[index] == due) continue;
        return Text("0x%02llx instead of 0x%02llx at byte %llu of the payload", aPayload[index],
                    due, index);
    }
    return std::string();
}

bool HasInPath(const GUID& aInterface, std::string aPath) {
    std::transform(aPath.begin(), aPath.end(), aPath.begin(), [](unsigned char aCharacter) {
        return static_cast<char>(std::tolower(aCharacter));
    });
    return aPath.find("#" + QvKit::GuidToText(aInterface)) != std::string::npos;
}

Packet Broken(std::string aFault) {
    Packet packet;
    packet.isWhole = false;
    packet.fault = std::move(aFault);
    return packet;
}

}  // namespace

std::size_t SamplePacketFormat::GetReadSize(const QvKit::Snapshot& aSettings) const {
    constexpr long long kDefault = 65536;
    // A driver's word is not taken for everything.
    constexpr long long kLargest = 16LL * 1024 * 1024;
    const Setting* const size = aSettings.Find("PacketSize");
    if (size == nullptr || size->type != SettingType::Integer) return kDefault;

    const Setting* const mode = aSettings.Find("StreamMode");
    const bool isLoopBack = mode != nullptr && mode->type == SettingType::Enumeration &&
                            mode->ToText(mode->value) == "LoopBack";
    const long long bytes = isLoopBack ? std::get<long long>(size->value) : size->maximum;
    return static_cast<std::size_t>(std::clamp(bytes, 1LL, kLargest));
}

Packet SamplePacketFormat::Examine(const unsigned char* aBytes, std::size_t aSize,
                                   bool aWithPayload) const {
    QV_SAMPLE_PACKET_HEADER header;
    if (aSize < sizeof header) {
        return Broken(Text("%llu bytes, fewer than the %llu of a header", aSize, sizeof header));
    }
    // Copied, as bytes of a file or a pipe need not be aligned.
    std::memcpy(&header, aBytes, sizeof header);
    if (header.magic != QV_SAMPLE_PACKET_MAGIC) {
        return Broken(
            Text("begins with 0x%llx instead of 0x%llx", header.magic, QV_SAMPLE_PACKET_MAGIC));
    }
    Packet packet;
    packet.sequence = header.sequence;
    packet.dropped = header.dropped;
    const std::size_t payloadSize = aSize - sizeof header;
    if (header.payloadBytes != payloadSize) {
        packet.isWhole = false;
        packet.fault =
            Text("%llu bytes of payload instead of %llu", payloadSize, header.payloadBytes);
    } else if (aWithPayload) {
        packet.fault = FindFault(aBytes + sizeof header, payloadSize, header.sequence);
    }
    return packet;
}

const QvKit::PacketFormat* FindPacketFormat(const GUID& aInterface, const DeviceChoice& aDevice) {
    static const SamplePacketFormat sample;
    if (!::IsEqualGUID(aInterface, SampleInterface())) return nullptr;
    return aDevice.kind != DeviceChoice::Path || HasInPath(aInterface, aDevice.text) ? &sample
                                                                                     : nullptr;
}

}  // namespace Qvctl
