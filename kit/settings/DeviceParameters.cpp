// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/DeviceParameters.h"

#include "LibraryCall.h"
#include "ObservedConnection.h"
#include "QvUserLib/DeviceParameterRepository.h"

namespace QvKit {

Snapshot DeviceParameters::GetSnapshot() const {
    if (connection_ == nullptr) return Snapshot(repository_);
    return Snapshot(repository_, connection_->GetTextLimits());
}

void DeviceParameters::Refresh(const std::string& aWhat) {
    const QvUserLib::Result refreshed = repository_.Refresh();
    if (refreshed.IsFailure()) throw ParametersError(connection_, aWhat, refreshed);
}

void DeviceParameters::Apply(const std::string& aWhat) {
    const QvUserLib::Result applied = repository_.Apply();
    if (applied.IsSuccess()) return;
    const bool isAnswered = KindOfFailure(applied) == ErrorKind::DeviceFailed;
    throw ParametersError(connection_,
                          isAnswered ? aWhat : "it is not known whether the device took the change",
                          applied);
}

}  // namespace QvKit
