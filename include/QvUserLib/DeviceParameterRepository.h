// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_DEVICEPARAMETERREPOSITORY_H
#define QVUSERLIB_DEVICEPARAMETERREPOSITORY_H

#include "QvUserLib/ParameterRepository.h"

namespace QvUserLib {

class DeviceConnection;

/// The parameters of a driver: loaded from it, changed here, sent back to it.
///
/// The driver answers `IOCTL_PARAMETERS_GET_SIZE` and `IOCTL_PARAMETERS_GET` and takes
/// `IOCTL_PARAMETERS_SET` (see `QvBaseLib/DeviceParameterRecord.h`). An integer's unit becomes part
/// of its description, as in "Gain (dB)", and is split off again when it is sent: what stands in
/// parentheses at the end of an integer's description is its unit.
///
/// All requests are waited for. Use a repository and its connection from one thread at a time.
class QVUSERLIB_API DeviceParameterRepository : public ParameterRepository {
public:
    /// An empty repository, "DeviceParameterRepository", with the identifier 0xFFFFFFFF.
    DeviceParameterRepository();
    ~DeviceParameterRepository() override;

    DeviceParameterRepository(const DeviceParameterRepository&) = delete;

    /// Takes over values by identifier, for instance from an earlier plain copy of this repository.
    using ParameterRepository::operator=;
    /// As above, from the parameters of another driver. Each repository stays bound to its own
    /// connection.
    const DeviceParameterRepository& operator=(const DeviceParameterRepository& aSource);

    /// Sends the parameters whose change mark is set, in one request. Does nothing when there are
    /// none. Only integers, strings and enumerations carry their value to the driver; numbers are
    /// cut to 32 bits, texts and names to the room in a record.
    ///
    /// The marks are cleared when all records are made, before the request is sent. After a failure
    /// of the request they stay cleared, and a second call sends nothing: `Refresh` loads what the
    /// driver holds.
    ///
    /// @retval NotConnected  `Connect` was not called; nothing is logged, and all marks stay set.
    /// @retval OutOfMemory   "Not enough memory". Nothing was sent, and all marks stay set.
    /// @return otherwise what the connection's `IoControl` reports.
    virtual Result Apply();

    /// Binds the repository to a connection for good, and adds the driver's parameters to those
    /// that are here. The connection is borrowed, and stays bound when loading fails.
    ///
    /// Every record that can be used is loaded. The result is the first failure met on the way: a
    /// name or identifier that repeats (`NotAllowed`), an empty name, a value or default outside
    /// the range, a record of unknown type as the first one (`InvalidArgument`), or an enumeration
    /// with a maximum above 4095, of which the first 4096 entries are taken (`UnexpectedSize`, "The
    /// driver did not return the expected size of data"). Entries for which the record holds no
    /// name are empty. A record of unknown type adds nothing, and its flags go to the parameter
    /// before it.
    ///
    /// @retval InvalidArgument  The connection is null; nothing is logged and nothing changes.
    /// @retval OutOfMemory      "Not enough memory". Parameters from earlier records stay.
    /// @return otherwise what the connection's `IoControl` reports.
    virtual Result Connect(DeviceConnection* aConnection);

    /// Removes all parameters and loads the driver's. Pointers to parameters become invalid, and
    /// changes that were not applied are lost, also when loading fails.
    ///
    /// @retval NotConnected  `Connect` was not called; nothing is logged.
    /// @retval OutOfMemory   "Not enough memory". Parameters from earlier records stay, and so do
    ///                       those that an override of `RemoveByIndex` had no memory to remove;
    ///                       `ParameterRepository` takes none for that.
    /// @return otherwise as `Connect`.
    virtual Result Refresh();

    /// Whether `Connect` was called with a connection.
    bool IsConnected() const;

    /// The number of parameters that `Apply` would send.
    unsigned int GetChangeCount() const;

private:
    // This field is part of the binary interface.
    DeviceConnection* connection_;
};

}  // namespace QvUserLib

#endif
