// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A connection that remembers what the library's repository does not keep.

#ifndef QVKIT_DEVICE_OBSERVEDCONNECTION_H
#define QVKIT_DEVICE_OBSERVEDCONNECTION_H

#include <optional>
#include <string>

#include "QvKit/BoundedConnection.h"
#include "QvKit/Error.h"
#include "QvKit/Snapshot.h"

namespace QvKit {

// The result of a repository does not say whether its code is the library's or the system's. The
// connection knows: every request of the repository goes through it.
class ObservedConnection final : public BoundedConnection {
public:
    using BoundedConnection::BoundedConnection;
    using BoundedConnection::IoControl;

    QvUserLib::Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                _OVERLAPPED* aOverlapped) override;

    // Why the last request failed, in the library's words; nothing when it succeeded.
    const std::optional<std::string>& GetReason() const { return reason_; }

    // The limits of texts in the parameter records that were read last.
    const Snapshot::TextLimits& GetTextLimits() const { return limits_; }

private:
    std::optional<std::string> reason_;
    Snapshot::TextLimits limits_;
};

// The error of a repository that returned `aResult` just now. `aConnection` may be null.
Error ParametersError(const ObservedConnection* aConnection, const std::string& aWhat,
                      const QvUserLib::Result& aResult);

}  // namespace QvKit

#endif
