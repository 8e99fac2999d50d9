// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The second process of TwoProcessesTest, on the device with the link LINK.
//
// Usage: DeviceProbe LINK apply COUNT    changes the marker and the notes, COUNT times, always both
//        DeviceProbe LINK read COUNT     reads COUNT packets
//        DeviceProbe LINK hold COUNT READY
//                                        sends COUNT reads, signals the event READY, and waits to
//                                        be ended
// Exit code: 0 when every operation succeeded.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/DeviceRequestQueue.h"
#include "QvUserLib/Parameter.h"
#include "WindowsApi.h"

namespace {

using QvUserLib::DeviceConnection;
using QvUserLib::DeviceParameterRepository;
using QvUserLib::DeviceRequestQueue;
using QvUserLib::Result;

constexpr unsigned int kPacketSize = 65536;

bool Apply(DeviceConnection& aConnection, int aCount) {
    DeviceParameterRepository parameters;
    Result result = parameters.Connect(&aConnection);
    for (int number = 1; number <= aCount && result.IsSuccess(); ++number) {
        result |= parameters.GetByID(QV_SAMPLE_ID_MARKER)->ChangeInt(number);
        result |= parameters.GetByID(QV_SAMPLE_ID_NOTES)
                      ->SetString(("note " + std::to_string(number)).c_str());
        result |= parameters.Apply();
    }
    return result.IsSuccess();
}

bool Read(DeviceConnection& aConnection, int aCount) {
    std::vector<unsigned char> packet(kPacketSize);
    Result result(QvUserLib::Code::Success);
    for (int number = 0; number < aCount && result.IsSuccess(); ++number) {
        unsigned long size = 0;
        result |= aConnection.Read(packet.data(), kPacketSize, &size, nullptr);
    }
    return result.IsSuccess();
}

[[noreturn]] void Hold(DeviceConnection& aConnection, unsigned int aCount, const char* aReady) {
    std::vector<unsigned char> packets(std::size_t{aCount} * kPacketSize);
    DeviceRequestQueue queue;
    bool isDone = queue.Allocate(aCount + 1, &aConnection).IsSuccess();
    for (unsigned int number = 0; number < aCount && isDone; ++number) {
        unsigned long size = 0;
        isDone = aConnection
                     .Read(&packets[std::size_t{number} * kPacketSize], kPacketSize, &size,
                           queue.GetNextAvailableRequest())
                     .GetCode() == QvUserLib::Code::Pending;
    }
    const HANDLE ready = ::OpenEventA(EVENT_MODIFY_STATE, FALSE, aReady);
    if (!isDone) ::ExitProcess(102);
    ::SetEvent(ready);
    for (;;) ::Sleep(INFINITE);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) return 100;
    DeviceConnection connection;
    if (connection.Connect(argv[1]).IsFailure()) return 101;
    const int count = std::atoi(argv[3]);
    if (std::strcmp(argv[2], "apply") == 0) return Apply(connection, count) ? 0 : 1;
    if (std::strcmp(argv[2], "read") == 0) return Read(connection, count) ? 0 : 1;
    if (argc < 5) return 100;
    Hold(connection, static_cast<unsigned int>(count), argv[4]);
}
