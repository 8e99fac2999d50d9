// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include "Comparison.h"
#include "QvUserLib/DeviceRequestQueue.h"
#include "SampleConnection.h"

namespace QvBench {

namespace {

using QvUserLib::DeviceRequestQueue;

constexpr unsigned int kPacketSize = SampleConnection::kPacketSize;

struct Packet {
    char bytes[kPacketSize];
};

// An iteration is one packet: the oldest of the reads in flight is collected, and a new one is
// sent. The driver has a packet for each read as it comes in. aDepth reads are in flight.

Body OursStreaming(unsigned int aDepth) {
    return [=](benchmark::State& aState) {
        SampleConnection device(QV_SAMPLE_MODE_PACKETS);
        std::vector<Packet> packets(aDepth);
        std::size_t next = 0;
        DeviceRequestQueue queue;
        // The ring keeps one record free.
        Must(queue.Allocate(aDepth + 1, &device));
        unsigned long moved = 0;
        const auto send = [&] {
            void* const request = queue.GetNextAvailableRequest();
            Must(request != nullptr, "no request to be had");
            const unsigned long code =
                device.Read(packets[next].bytes, kPacketSize, &moved, request).GetCode();
            Must(code == 0 || code == QvUserLib::Code::Pending, "the read was refused");
            next = next + 1 < aDepth ? next + 1 : 0;
        };
        for (unsigned int index = 0; index < aDepth; ++index) send();
        Repeat(aState, [&] {
            unsigned long processed = 0;
            Must(queue.GetNextResult(&processed));
            send();
        });
        Must(queue.Wait());
    };
}

class BareRing {
public:
    explicit BareRing(unsigned int aDepth) : requests_(aDepth) {
        for (OVERLAPPED& request : requests_) {
            request = OVERLAPPED();
            request.hEvent =
                ::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr);
        }
    }
    ~BareRing() {
        for (const OVERLAPPED& request : requests_) ::CloseHandle(request.hEvent);
    }

    BareRing(const BareRing&) = delete;
    BareRing& operator=(const BareRing&) = delete;

    void Send(HANDLE aDevice, char* aOut) {
        DWORD moved = 0;
        const BOOL done = ::ReadFile(aDevice, aOut, kPacketSize, &moved, &requests_[sent_]);
        Must(done || ::GetLastError() == ERROR_IO_PENDING, "the read was refused");
        sent_ = sent_ + 1 < requests_.size() ? sent_ + 1 : 0;
    }

    void Collect(HANDLE aDevice) {
        DWORD moved = 0;
        Must(
            ::GetOverlappedResult(aDevice, &requests_[collected_], &moved, /*bWait=*/TRUE) != FALSE,
            "the read failed");
        collected_ = collected_ + 1 < requests_.size() ? collected_ + 1 : 0;
    }

private:
    std::vector<OVERLAPPED> requests_;
    std::size_t sent_ = 0;
    std::size_t collected_ = 0;
};

Body BareStreaming(unsigned int aDepth) {
    return [=](benchmark::State& aState) {
        SampleConnection device(QV_SAMPLE_MODE_PACKETS);
        std::vector<Packet> packets(aDepth);
        std::size_t next = 0;
        BareRing ring(aDepth);
        const auto send = [&] {
            ring.Send(device.Handle(), packets[next].bytes);
            next = next + 1 < aDepth ? next + 1 : 0;
        };
        for (unsigned int index = 0; index < aDepth; ++index) send();
        Repeat(aState, [&] {
            ring.Collect(device.Handle());
            send();
        });
        for (unsigned int index = 0; index < aDepth; ++index) ring.Collect(device.Handle());
    };
}

}  // namespace

void AddDeviceRequestQueueRows(Table& aTable) {
    for (const unsigned int depth : {1U, 8U, 32U}) {
        // A hundredth less throughput is a hundredth more time.
        aTable.Add({"Streaming, " + std::to_string(depth) + " in flight",
                    "hand-written ring of overlapped reads", OursStreaming(depth),
                    BareStreaming(depth), 1 / 0.99});
    }
}

}  // namespace QvBench
