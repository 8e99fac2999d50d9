// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_CONTROLCODE_H
#define QVKIT_CONTROLCODE_H

#include <string>

namespace QvKit {

/// What an I/O-control code is made of, as the system's macro `CTL_CODE` packs it into 32 bits.
struct ControlCode {
    /// How the buffers reach the driver.
    enum class Method {
        Buffered,   ///< As copies.
        InDirect,   ///< The input as a copy; the second buffer is read where it is.
        OutDirect,  ///< The input as a copy; the second buffer is written where it is.
        Neither     ///< As addresses of the caller.
    };

    /// What the handle has to be opened for.
    enum class Access {
        Any,       ///< For anything.
        Read,      ///< For reading.
        Write,     ///< For writing.
        ReadWrite  ///< For both.
    };

    /// Takes a code apart.
    static ControlCode FromNumber(unsigned long aNumber);
    /// The code.
    unsigned long ToNumber() const;

    /// "device 0x22, function 0x800, buffered, any access".
    std::string ToText() const;

    unsigned int deviceType;  ///< 16 bits; 0x8000 and above are for vendors.
    unsigned int function;    ///< 12 bits; 0x800 and above are for vendors.
    Method method;            ///< How the buffers reach the driver.
    Access access;            ///< What the handle has to be opened for.
};

/// "buffered", "in-direct", "out-direct" or "neither".
const char* NameOf(ControlCode::Method aMethod);

/// "any", "read", "write" or "read-write".
const char* NameOf(ControlCode::Access aAccess);

/// Reads a code: a number, decimal or hexadecimal with 0x, or its parts,
/// DEVICE:FUNCTION:METHOD:ACCESS, each a number or the name of a method or an access.
///
/// Throws `Error`: `ErrorKind::WrongUse`.
ControlCode ParseControlCode(const std::string& aText);

}  // namespace QvKit

#endif
