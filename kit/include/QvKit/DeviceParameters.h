// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_DEVICEPARAMETERS_H
#define QVKIT_DEVICEPARAMETERS_H

#include <string>

#include "QvKit/Snapshot.h"

namespace QvUserLib {
class DeviceParameterRepository;
}  // namespace QvUserLib

namespace QvKit {

class ObservedConnection;

/// The parameters of a device as the kit works on them: a repository of the library whose failures
/// are thrown with their reason. For one thread at a time.
class DeviceParameters {
public:
    /// Works on a repository that is connected already. It is borrowed.
    explicit DeviceParameters(QvUserLib::DeviceParameterRepository& aRepository)
        : repository_(aRepository) {}

    /// As above. Why a request failed is asked of the connection, which is borrowed.
    DeviceParameters(QvUserLib::DeviceParameterRepository& aRepository,
                     ObservedConnection& aConnection)
        : repository_(aRepository), connection_(&aConnection) {}

    /// What the repository holds now; nothing is asked of the driver.
    Snapshot GetSnapshot() const;

    /// Loads the parameters from the driver again. Changes that were not sent are lost, also when
    /// this fails.
    ///
    /// @param aWhat  The beginning of the message of a failure.
    ///
    /// Throws `Error`: `ErrorKind::DeviceFailed`; `ErrorKind::TimedOut` and `ErrorKind::Cancelled`
    /// on a connection with limits.
    void Refresh(const std::string& aWhat = "cannot read the device's parameters");

    /// Sends the parameters that were changed in the repository, in one request.
    ///
    /// @param aWhat  The beginning of the message of a failure.
    ///
    /// Throws `Error`: `ErrorKind::DeviceFailed` when the driver refuses the request or fails;
    /// `ErrorKind::TimedOut` and `ErrorKind::Cancelled` as `Refresh`. Then the device may have
    /// taken the change or not.
    void Apply(const std::string& aWhat = "the device refused the change");

    /// Its parameters are other objects after `Refresh`.
    QvUserLib::DeviceParameterRepository& GetRepository() const { return repository_; }

private:
    QvUserLib::DeviceParameterRepository& repository_;
    ObservedConnection* connection_ = nullptr;
};

}  // namespace QvKit

#endif
