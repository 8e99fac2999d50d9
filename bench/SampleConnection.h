// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBENCH_SAMPLECONNECTION_H
#define QVBENCH_SAMPLECONNECTION_H

#include "Comparison.h"
#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/DeviceConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"
#include "QvUserLib/Parameter.h"
#include "WindowsApi.h"

namespace QvBench {

/// A connection to the sample driver's first device, and a handle for bare calls. Depending on the
/// mode, reads return what was written, or packets of 64 bytes as fast as reads come in.
class SampleConnection : public QvUserLib::DeviceConnection {
public:
    static constexpr unsigned int kPacketSize = 64;

    /// @param aMode  A value of the device's parameter StreamMode.
    explicit SampleConnection(long long aMode) : handle_(Open()) {
        Must(Connect(GUID_DEVINTERFACE_QVSAMPLE, 0));
        QvUserLib::DeviceParameterRepository parameters;
        Must(parameters.Connect(this));
        Must(parameters.GetByID(QV_SAMPLE_ID_STREAM_MODE)->SetInt(aMode));
        Must(parameters.GetByID(QV_SAMPLE_ID_PACKET_SIZE)->SetInt(kPacketSize));
        Must(parameters.GetByID(QV_SAMPLE_ID_PACKET_RATE)->SetInt(0));
        Must(parameters.Apply());
    }
    ~SampleConnection() override { ::CloseHandle(handle_); }

    HANDLE Handle() const { return handle_; }

private:
    // Opened in the same way as the connection's handle.
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
