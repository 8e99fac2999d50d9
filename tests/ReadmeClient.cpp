// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include <cstdio>

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/QvUserLib.h"

int main() {
    QvUserLib::DeviceConnection device;
    QvUserLib::DeviceParameterRepository parameters;
    QvUserLib::String error;

    if (device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsFailure()) return 3;
    if (parameters.Connect(&device).IsFailure()) return 1;

    // A look-up that finds nothing answers null, and the operations say so themselves.
    QvUserLib::Parameter* gain = parameters.GetByID(QV_SAMPLE_ID_GAIN);
    if (gain->SetInt(100).IsFailure()) {
        (void)QvUserLib::ErrorLog::GetErrorLog().GetLastError(error);
        std::printf("%s: %s\n", gain->GetName().GetAscii(), error.GetAscii());
    }
    if (gain->SetInt(12).IsFailure() || parameters.Apply().IsFailure()) return 1;
    std::printf("%s is %lld\n", gain->GetName().GetAscii(), gain->GetInt());
}
