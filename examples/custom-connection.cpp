// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A connection that shows every I/O-control request that passes through it.

#include <cstdio>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/QvUserLib.h"

namespace {

const char* RequestName(unsigned long aCode) {
    switch (aCode) {
        case IOCTL_PARAMETERS_GET_SIZE:
            return "GET_SIZE";
        case IOCTL_PARAMETERS_GET:
            return "GET";
        case IOCTL_PARAMETERS_SET:
            return "SET";
        default:
            return "other";
    }
}

class TracedConnection : public QvUserLib::DeviceConnection {
public:
    using DeviceConnection::IoControl;

    /// The overload without an `OVERLAPPED` calls this one, so this one sees all requests.
    QvUserLib::Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                _OVERLAPPED* aOverlapped) override {
        const QvUserLib::Result result =
            DeviceConnection::IoControl(aCode, aIn, aInSize, aOut, aOutSize, aInfo, aOverlapped);
        std::printf("  %-8s in %4u, room %5u, returned %5lu, result %lu\n", RequestName(aCode),
                    aInSize, aOutSize, result.IsSuccess() ? *aInfo : 0, result.GetCode());
        return result;
    }
};

}  // namespace

int main() {
    TracedConnection device;
    QvUserLib::DeviceParameterRepository parameters;
    if (device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsFailure()) return 3;

    std::puts("Loading");
    if (parameters.Connect(&device).IsFailure()) return 1;

    std::puts("Applying two changes");
    QvUserLib::Parameter* const gain = parameters.GetByID(QV_SAMPLE_ID_GAIN);
    QvUserLib::Parameter* const order = parameters.GetByID(QV_SAMPLE_ID_FILTER_ORDER);
    // Setting the same value again counts as no change and would not be sent.
    if (gain->SetInt(gain->GetInt() == 20 ? 21 : 20).IsFailure()) return 1;
    if (order->SetInt(order->GetInt() == 4 ? 5 : 4).IsFailure()) return 1;
    if (parameters.Apply().IsFailure()) return 1;

    std::puts("A request that the driver does not know");
    const QvUserLib::Result unknown = device.IoControl(0x222FFC, nullptr, 0, nullptr, 0, 0);
    return unknown.IsFailure() ? 0 : 1;
}
