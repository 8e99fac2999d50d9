// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ObservedConnection.h"

#include "LibraryCall.h"
#include "QvKit/BoundedConnection.h"

namespace QvKit {

using QvUserLib::Result;

Result ObservedConnection::IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                     void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                     _OVERLAPPED* aOverlapped) {
    const Result result =
        DeviceConnection::IoControl(aCode, aIn, aInSize, aOut, aOutSize, aInfo, aOverlapped);
    reason_.reset();
    if (result.IsFailure()) reason_ = CaptureReason(result).text;
    return result;
}

Error ParametersError(const ObservedConnection* aConnection, const std::string& aWhat,
                      const Result& aResult) {
    const std::optional<std::string> reason =
        aConnection != nullptr ? aConnection->GetReason() : std::nullopt;
    if (!reason) return LibraryError(KindOfFailure(aResult), aWhat, aResult);

    const unsigned long code = aResult.GetCode();
    return Error(KindOfFailure(aResult),
                 aWhat + ": " + *reason + " (" + SystemErrorText(code) + ")", code, *reason);
}

}  // namespace QvKit
