// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "ObservedConnection.h"

#include <cstddef>

#include "LibraryCall.h"
#include "QvBaseLib/DeviceParameter.h"

namespace QvKit {

using QvUserLib::Result;

namespace {

Snapshot::TextLimits ReadTextLimits(const void* aRecords, std::size_t aSize) {
    const auto* const records = static_cast<const QvBaseLib::DeviceParameter*>(aRecords);
    Snapshot::TextLimits limits;
    for (std::size_t index = 0; index < aSize / sizeof *records; ++index) {
        const QvBaseLib::DeviceParameter& record = records[index];
        const unsigned long limit = record.GetMax();
        const bool isLimit = limit > 0 && limit <= QV_PARAMETER_TEXT_UNITS;
        if (record.GetType() == QvBaseLib::DeviceParameter::String && isLimit) {
            limits[record.GetId()] = limit;
        }
    }
    return limits;
}

}  // namespace

Result ObservedConnection::IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                     void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                     _OVERLAPPED* aOverlapped) {
    const Result result =
        BoundedConnection::IoControl(aCode, aIn, aInSize, aOut, aOutSize, aInfo, aOverlapped);
    reason_.reset();
    if (result.IsFailure()) {
        reason_ = CaptureReason(result).text;
    } else if (aCode == IOCTL_PARAMETERS_GET) {
        limits_ = ReadTextLimits(aOut, *aInfo);
    }
    return result;
}

Error ParametersError(const ObservedConnection* aConnection, const std::string& aWhat,
                      const Result& aResult) {
    const std::optional<std::string> reason =
        aConnection != nullptr ? aConnection->GetReason() : std::nullopt;
    const ErrorKind kind = KindOfFailure(aResult);
    if (!reason) return LibraryError(kind, aWhat, aResult);

    const unsigned long code = aResult.GetCode();
    const std::string message = aWhat + ": " + *reason;
    // Of a request that this program ended, the system's words would say nothing more.
    if (kind != ErrorKind::DeviceFailed) return Error(kind, message, code, *reason);
    return Error(kind, message + " (" + SystemErrorText(code) + ")", code, *reason);
}

}  // namespace QvKit
