// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Uses the installed library. A client's own test for null after a call on a null object works only
// with the flag that the package brings along.

#include <cstdio>

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/QvUserLib.h"

int main() {
    QvUserLib::ParameterRepository parameters("Settings", /*aID=*/0);
    QvUserLib::Parameter* const unknown = parameters.GetByID(QV_SAMPLE_ID_GAIN);
    const QvUserLib::Result result = unknown->SetInt(1);
    if (result.IsSuccess() || unknown != nullptr) return 1;

    std::printf("client: code %lu for the null parameter\n", result.GetCode());
    return 0;
}
