// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBENCH_SAMPLECONNECTION_H
#define QVBENCH_SAMPLECONNECTION_H

#include "Comparison.h"
#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/DeviceConnection.h"
#include "WindowsApi.h"

namespace QvBench {

/// A connection to the sample driver's first device, and beside it a handle for bare calls.
class SampleConnection : public QvUserLib::DeviceConnection {
public:
    SampleConnection() : handle_(Open()) { Must(Connect(GUID_DEVINTERFACE_QVSAMPLE, 0)); }
    ~SampleConnection() override { ::CloseHandle(handle_); }

    HANDLE Handle() const { return handle_; }

private:
    // Opened in the same way as the connection's own.
    static HANDLE Open() {
        DeviceConnection device;
        Must(device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsSuccess(),
             "the sample driver is not installed: run scripts/bench.sh");
        return device.ReleaseHandle();
    }

    HANDLE handle_;
};

}  // namespace QvBench

#endif
