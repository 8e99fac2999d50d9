// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Reads packets with several requests in flight, and writes them to a file.
// Usage: stream-to-file FILE

#include <cstdio>
#include <cstring>
#include <fstream>
#include <vector>

#include "QvSample/QvSampleDevice.h"
#include "QvSample/QvSamplePacket.h"
#include "QvUserLib/QvUserLib.h"

namespace {

const unsigned int kPackets = 1000;
const unsigned int kPacketBytes = 4096;  // The default of PacketSize.
// One record of the ring stays free, so one request fewer than this is in flight.
const unsigned int kRecords = 9;

/// Makes the device send packets of a known size, one for each read.
bool PrepareStream(QvUserLib::DeviceConnection& aDevice) {
    QvUserLib::DeviceParameterRepository parameters;
    return parameters.Connect(&aDevice).IsSuccess() && parameters.ResetDefaults().IsSuccess() &&
           parameters.GetByID(QV_SAMPLE_ID_PACKET_RATE)->SetInt(0).IsSuccess() &&
           parameters.Apply().IsSuccess();
}

}  // namespace

int main(int aCount, char** aArguments) {
    if (aCount != 2) {
        std::fprintf(stderr, "Usage: stream-to-file FILE\n");
        return 2;
    }
    QvUserLib::DeviceConnection device;
    if (device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsFailure()) return 3;
    std::ofstream file(aArguments[1], std::ios::binary);
    if (!file || !PrepareStream(device)) return 1;

    // The driver may write to a buffer until its request has completed, so the buffers must outlive
    // the queue.
    std::vector<std::vector<char>> buffers(kRecords, std::vector<char>(kPacketBytes));
    QvUserLib::DeviceRequestQueue queue;
    if (queue.Allocate(kRecords, &device).IsFailure()) return 1;

    unsigned int sent = 0;
    unsigned long long gaps = 0;
    unsigned long long bytes = 0;
    for (unsigned int collected = 0; collected < kPackets; ++collected) {
        while (sent < kPackets && sent < collected + kRecords - 1) {
            unsigned long notYet = 0;
            // A failure is reported again when the request is collected.
            (void)device.Read(buffers[sent % kRecords].data(), kPacketBytes, &notYet,
                              queue.GetNextAvailableRequest());
            ++sent;
        }
        // Requests are collected in the order in which they were sent.
        unsigned long size = 0;
        if (queue.GetNextResult(&size).IsFailure()) return 1;
        const char* const packet = buffers[collected % kRecords].data();
        QV_SAMPLE_PACKET_HEADER header;
        std::memcpy(&header, packet, sizeof header);
        if (header.sequence != collected) ++gaps;
        file.write(packet, static_cast<std::streamsize>(size));
        bytes += size;
    }
    file.close();
    if (!file) return 1;
    std::printf("%u packets, %llu bytes, %llu gaps\n", kPackets, bytes, gaps);
}
