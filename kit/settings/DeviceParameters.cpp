// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceParameters.h"

#include "LibraryCall.h"
#include "ObservedConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace QvKit {

Snapshot DeviceParameters::GetSnapshot() const { return Snapshot(repository_); }

void DeviceParameters::Refresh(const std::string& aWhat) {
    const QvUserLib::Result refreshed = repository_.Refresh();
    if (refreshed.IsFailure()) throw ParametersError(connection_, aWhat, refreshed);
}

void DeviceParameters::Apply() {
    const QvUserLib::Result applied = repository_.Apply();
    if (applied.IsFailure()) {
        throw ParametersError(connection_, "the device refused the change", applied);
    }
}

}  // namespace QvKit
