// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Comparison.h"
#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvKit/BoundedConnection.h"
#include "QvUserLib/DeviceConnection.h"
#include "SampleConnection.h"
#include "TemporaryFile.h"

namespace QvBench {

namespace {

using QvUserLib::DeviceConnection;

constexpr unsigned int kPacketSize = 64;

// An iteration is one request without data, to the driver and back.

void OursWaitedIoControl(benchmark::State& aState) {
    SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    Repeat(aState,
           [&] { Must(device.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, 0)); });
}

void OursRawIoControl(benchmark::State& aState) {
    SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    Repeat(aState, [&] {
        unsigned long size = 0;
        Must(device.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size, nullptr));
    });
}

void BareIoControl(benchmark::State& aState) {
    SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    const HANDLE handle = device.Handle();
    Repeat(aState, [&] {
        DWORD size = 0;
        Must(::DeviceIoControl(handle, IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size,
                               nullptr) != FALSE,
             "the request failed");
    });
}

// What a program writes without the library, for a request that it waits for.
class WaitedOverlapped {
public:
    WaitedOverlapped() : overlapped_() {
        overlapped_.hEvent =
            ::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr);
    }
    ~WaitedOverlapped() { ::CloseHandle(overlapped_.hEvent); }

    WaitedOverlapped(const WaitedOverlapped&) = delete;
    WaitedOverlapped& operator=(const WaitedOverlapped&) = delete;

    OVERLAPPED* Get() { return &overlapped_; }

    DWORD Finish(HANDLE aHandle, BOOL aDone, DWORD aMoved) {
        if (aDone) return aMoved;
        Must(::GetLastError() == ERROR_IO_PENDING, "the request was refused");
        DWORD moved = 0;
        Must(::GetOverlappedResult(aHandle, &overlapped_, &moved, /*bWait=*/TRUE) != FALSE,
             "the request failed");
        return moved;
    }

private:
    OVERLAPPED overlapped_;
};

void BareRead(HANDLE aHandle, void* aOut) {
    WaitedOverlapped request;
    DWORD moved = 0;
    const BOOL done = ::ReadFile(aHandle, aOut, kPacketSize, &moved, request.Get());
    Must(request.Finish(aHandle, done, moved) == kPacketSize, "a short read");
}

void BareWrite(HANDLE aHandle, const void* aData) {
    WaitedOverlapped request;
    DWORD moved = 0;
    const BOOL done = ::WriteFile(aHandle, aData, kPacketSize, &moved, request.Get());
    Must(request.Finish(aHandle, done, moved) == kPacketSize, "a short write");
}

// A file that the connection and the bare calls both use as their device.
class FileDevice {
public:
    FileDevice() {
        Must(connection_.Connect(file_.Path().c_str()));
        handle_ = connection_.ReleaseHandle();
        Must(connection_.Connect(file_.Path().c_str()));
        const char zeros[kPacketSize] = {};
        BareWrite(handle_, zeros);
    }
    ~FileDevice() {
        ::CloseHandle(handle_);
        (void)connection_.Close();  // The file is deleted next; a failure shows there.
    }

    FileDevice(const FileDevice&) = delete;
    FileDevice& operator=(const FileDevice&) = delete;

    DeviceConnection& Connection() { return connection_; }
    HANDLE Handle() const { return handle_; }

private:
    TemporaryFile file_;
    DeviceConnection connection_;
    HANDLE handle_;
};

// An iteration moves one packet at the start of a file.

void OursFileRead(benchmark::State& aState) {
    FileDevice file;
    char packet[kPacketSize];
    unsigned long moved = 0;
    Repeat(aState, [&] { Must(file.Connection().Read(packet, kPacketSize, &moved, nullptr)); });
}

void BareFileRead(benchmark::State& aState) {
    FileDevice file;
    char packet[kPacketSize];
    Repeat(aState, [&] { BareRead(file.Handle(), packet); });
}

void OursFileWrite(benchmark::State& aState) {
    FileDevice file;
    const char packet[kPacketSize] = {};
    unsigned long moved = 0;
    Repeat(aState, [&] { Must(file.Connection().Write(packet, kPacketSize, &moved, nullptr)); });
}

void BareFileWrite(benchmark::State& aState) {
    FileDevice file;
    const char packet[kPacketSize] = {};
    Repeat(aState, [&] { BareWrite(file.Handle(), packet); });
}

// An iteration writes one packet to the driver's loop-back and reads it back.

void LoopBack(benchmark::State& aState, QvUserLib::DeviceConnection& aConnection) {
    char packet[kPacketSize] = {};
    unsigned long moved = 0;
    Repeat(aState, [&] {
        Must(aConnection.Write(packet, kPacketSize, &moved, nullptr));
        Must(aConnection.Read(packet, kPacketSize, &moved, nullptr));
    });
}

void OursLoopBack(benchmark::State& aState) {
    SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    LoopBack(aState, device);
}

void BareLoopBack(benchmark::State& aState) {
    SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    const HANDLE handle = device.Handle();
    char packet[kPacketSize] = {};
    Repeat(aState, [&] {
        BareWrite(handle, packet);
        BareRead(handle, packet);
    });
}

// An iteration is one request without data that has to end in time, beside an overlapped one whose
// event is kept.

void OursBoundedIoControl(benchmark::State& aState) {
    const SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    QvKit::BoundedConnection bounded(QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(0));
    Repeat(aState, [&] {
        unsigned long size = 0;
        Must(bounded.IoControl(IOCTL_PARAMETERS_GET_SIZE, nullptr, 0, nullptr, 0, &size, nullptr));
    });
}

void BareOverlappedIoControl(benchmark::State& aState) {
    const SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    WaitedOverlapped request;
    Repeat(aState, [&] {
        DWORD size = 0;
        const BOOL done = ::DeviceIoControl(device.Handle(), IOCTL_PARAMETERS_GET_SIZE, nullptr, 0,
                                            nullptr, 0, &size, request.Get());
        Must(request.Finish(device.Handle(), done, size) > 0, "no size");
    });
}

// An iteration writes one packet to the driver's loop-back and reads it back.

void OursBoundedLoopBack(benchmark::State& aState) {
    const SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    QvKit::BoundedConnection bounded(QvKit::ListDevices(GUID_DEVINTERFACE_QVSAMPLE).at(0));
    LoopBack(aState, bounded);
}

void BareOverlappedLoopBack(benchmark::State& aState) {
    const SampleConnection device(QV_SAMPLE_MODE_LOOP_BACK);
    const HANDLE handle = device.Handle();
    WaitedOverlapped request;
    char packet[kPacketSize] = {};
    Repeat(aState, [&] {
        DWORD moved = 0;
        BOOL done = ::WriteFile(handle, packet, kPacketSize, &moved, request.Get());
        Must(request.Finish(handle, done, moved) == kPacketSize, "a short write");
        done = ::ReadFile(handle, packet, kPacketSize, &moved, request.Get());
        Must(request.Finish(handle, done, moved) == kPacketSize, "a short read");
    });
}

}  // namespace

void AddDeviceConnectionRows(Table& aTable) {
    constexpr double kGoal = 1.02;
    constexpr char kOverlapped[] = "overlapped call with an event of its own";
    aTable.Add({"Waited IoControl", "DeviceIoControl", OursWaitedIoControl, BareIoControl, kGoal});
    aTable.Add({"Raw IoControl", "DeviceIoControl", OursRawIoControl, BareIoControl, kGoal});
    aTable.Add({"Waited Read, file", kOverlapped, OursFileRead, BareFileRead, kGoal});
    aTable.Add({"Waited Write, file", kOverlapped, OursFileWrite, BareFileWrite, kGoal});
    aTable.Add({"Waited Write and Read, driver", kOverlapped, OursLoopBack, BareLoopBack, kGoal});

    constexpr double kBoundedGoal = 1.05;
    constexpr char kKept[] = "overlapped call with an event that is kept";
    aTable.Add(
        {"Bounded IoControl", kKept, OursBoundedIoControl, BareOverlappedIoControl, kBoundedGoal});
    aTable.Add({"Bounded Write and Read, driver", kKept, OursBoundedLoopBack,
                BareOverlappedLoopBack, kBoundedGoal});
}

}  // namespace QvBench
