// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_DEVICEPARAMETERREPOSITORY_H
#define QVUSERLIB_DEVICEPARAMETERREPOSITORY_H

#include "QvUserLib/ParameterRepository.h"

namespace QvUserLib {

class DeviceConnection;

/// The parameters of a driver: they are loaded from it, changed here and sent back.
///
/// The driver supports `IOCTL_PARAMETERS_GET_SIZE`, `IOCTL_PARAMETERS_GET` and
/// `IOCTL_PARAMETERS_SET` (see `QvBaseLib/DeviceParameterRecord.h`). An integer's unit becomes part
/// of its description, as in "Gain (dB)", and is split off again when the parameter is sent: text
/// in parentheses at the end of an integer's description is its unit.
///
/// Every call waits for its requests. Use a repository and its connection from one thread at a
/// time.
class QVUSERLIB_API DeviceParameterRepository : public ParameterRepository {
public:
    /// An empty repository with the name "DeviceParameterRepository" and the identifier 0xFFFFFFFF.
    DeviceParameterRepository();
    ~DeviceParameterRepository() override;

    DeviceParameterRepository(const DeviceParameterRepository&) = delete;

    /// Copies values by identifier, for instance from a `ParameterRepository` that was copied from
    /// this one earlier.
    using ParameterRepository::operator=;
    /// As above, from another driver's parameters. Each repository stays bound to its own
    /// connection.
    const DeviceParameterRepository& operator=(const DeviceParameterRepository& aSource);

    /// Sends the parameters whose change mark is set, in one request. Does nothing when there are
    /// none. Only integers, strings and enumerations carry their value to the driver. Numbers are
    /// cut to 32 bits; names, descriptions and default texts are cut to their field in the record.
    /// When a string's value is longer than 216 UTF-16 units, its default is sent instead.
    ///
    /// The marks are cleared after all records are filled in and before the request is sent. If the
    /// request fails they stay cleared, and a second call sends nothing: call `Refresh` to load
    /// what the driver holds.
    ///
    /// @retval NotConnected  `Connect` was not called; nothing is logged, and all marks stay set.
    /// @retval OutOfMemory   "Not enough memory". Nothing was sent, and all marks stay set.
    /// @return otherwise what the connection's `IoControl` reports.
    virtual Result Apply();

    /// Binds the repository to a connection, and adds the driver's parameters to those already
    /// here. The connection is borrowed, and stays bound when loading fails.
    ///
    /// Every usable record is loaded, and the result is the first failure among them. A repeated
    /// name or identifier is `NotAllowed`. An empty name, a value or default outside the range, or
    /// a first record of unknown type is `InvalidArgument`. An enumeration with a maximum above
    /// 4095 is `UnexpectedSize`, "The driver did not return the expected size of data", and its
    /// first 4096 entries are loaded.
    ///
    /// Entries without a name in the record are empty. A record of unknown type adds no parameter;
    /// its flags are set on the parameter before it.
    ///
    /// @retval InvalidArgument  The connection is null; nothing is logged and nothing changes.
    /// @retval OutOfMemory      "Not enough memory". Parameters from earlier records stay.
    /// @return otherwise what the connection's `IoControl` reports.
    virtual Result Connect(DeviceConnection* aConnection);

    /// Removes all parameters and loads those of the driver. Pointers to parameters become invalid
    /// and changes that were not applied are lost, even when loading fails.
    ///
    /// @retval NotConnected  `Connect` was not called; nothing is logged.
    /// @retval OutOfMemory   "Not enough memory". Parameters from earlier records stay. So do those
    ///                       that an override of `RemoveByIndex` had no memory to remove;
    ///                       `ParameterRepository` needs none for that.
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
