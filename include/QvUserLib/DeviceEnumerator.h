// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_DEVICEENUMERATOR_H
#define QVUSERLIB_DEVICEENUMERATOR_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"
#include "QvUserLib/String.h"

namespace QvUserLib {

/// Lists the device interfaces of an interface class that are present.
///
/// `Enumerate` makes the list; interfaces that come or go later do not change it. Failures are not
/// written to the error log. Use one object from one thread at a time.
class QVUSERLIB_API DeviceEnumerator {
public:
    DeviceEnumerator();
    virtual ~DeviceEnumerator();

    DeviceEnumerator(const DeviceEnumerator&) = delete;
    DeviceEnumerator& operator=(const DeviceEnumerator&) = delete;

    /// Stores the symbolic link of the interface at `aIndex`, from 0, in `*aSymLink`, for
    /// `DeviceConnection::Connect`. Count the index up until the call fails with `NoSuchDevice`.
    ///
    /// The link's 8-bit characters are in the *bytes* of the UTF-16 form, two in each unit. Read
    /// them as `reinterpret_cast<const char*>(link.GetUnicode())`, which is zero-terminated and
    /// valid as long as `link` does not change. Do not use `GetAscii`: it would convert the units
    /// to other characters.
    ///
    /// @retval NotAllowed       `Enumerate` has not succeeded.
    /// @retval NoSuchDevice     There is no such interface, or its link is longer than 8187
    ///                          characters.
    /// @retval InvalidArgument  The interface exists, but `aSymLink` is null.
    virtual Result GetSymLink(unsigned int aIndex, String* aSymLink);

    /// Makes the list of present interfaces of a class. `aInterfaceClass` points to the class's
    /// GUID, which must stay valid as long as the list is used. An earlier list is discarded first.
    ///
    /// @retval InvalidArgument  The system refused the class, or it is null.
    virtual Result Enumerate(const void* aInterfaceClass);

private:
    void Reset();

    // These fields and their order are part of the binary interface.
    void* set_;
    const void* interfaceClass_;
};

}  // namespace QvUserLib

#endif
