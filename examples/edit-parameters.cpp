// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Loads a device's parameters, changes some, and sends all changes to the driver in one request.

#include <cstdio>

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/QvUserLib.h"

using QvUserLib::Parameter;

namespace {

/// The message of the last failure on this thread.
QvUserLib::String LastError() {
    QvUserLib::String text;
    (void)QvUserLib::ErrorLog::GetErrorLog().GetLastError(text);  // Only the text is needed.
    return text;
}

void Show(const Parameter& aParameter) {
    if (aParameter.GetType() == Parameter::TypeInteger) {
        std::printf("  %s = %lld (%lld to %lld)\n", aParameter.GetName().GetAscii(),
                    aParameter.GetInt(), aParameter.GetMinInt(), aParameter.GetMaxInt());
    } else {
        std::printf("  %s = %s\n", aParameter.GetName().GetAscii(),
                    aParameter.GetString().GetAscii());
    }
}

}  // namespace

int main() {
    QvUserLib::DeviceConnection device;
    QvUserLib::DeviceParameterRepository parameters;
    if (device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsFailure()) return 3;
    if (parameters.Connect(&device).IsFailure()) return 1;

    // Reset everything first, so that this program always prints the same.
    if (parameters.ResetDefaults().IsFailure() || parameters.Apply().IsFailure()) return 1;

    Parameter* const gain = parameters.GetByID(QV_SAMPLE_ID_GAIN);
    Parameter* const mode = parameters.GetByID(QV_SAMPLE_ID_OPERATING_MODE);
    Parameter* const label = parameters.GetByID(QV_SAMPLE_ID_LABEL);
    Parameter* const temperature = parameters.GetByID(QV_SAMPLE_ID_TEMPERATURE);

    // A refused value leaves the parameter as it was and never reaches the driver.
    if (gain->SetInt(61).IsFailure()) std::printf("Gain 61: %s\n", LastError().GetAscii());
    if (temperature->SetInt(25).IsFailure()) {
        std::printf("Temperature: %s\n", LastError().GetAscii());
    }

    unsigned long triggered = 0;
    if (gain->SetInt(12).IsFailure() || label->SetString("Bench 7").IsFailure() ||
        mode->FindEnumValue("Triggered", triggered).IsFailure() ||
        mode->SetInt(triggered).IsFailure()) {
        std::printf("%s\n", LastError().GetAscii());
        return 1;
    }

    std::printf("%u changes to send\n", parameters.GetChangeCount());
    if (parameters.Apply().IsFailure()) return 1;

    // Loads everything again: from here on the pointers above are invalid.
    if (parameters.Refresh().IsFailure()) return 1;
    std::puts("The driver holds:");
    for (const unsigned long id :
         {QV_SAMPLE_ID_GAIN, QV_SAMPLE_ID_OPERATING_MODE, QV_SAMPLE_ID_LABEL}) {
        Show(*parameters.GetByID(id));
    }
}
