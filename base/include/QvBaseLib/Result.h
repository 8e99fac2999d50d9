// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBASELIB_RESULT_H
#define QVBASELIB_RESULT_H

#include "QvBaseLib/Export.h"

namespace QvBaseLib {

/// The outcomes that the libraries report themselves. A `Result` may also carry a system error code
/// (`GetLastError()`), which is passed on unchanged.
enum Code : unsigned long {
    /// Done.
    Success = 0,
    /// A log file cannot be opened: check the path, its directory and the file's permissions.
    CannotOpenFile = 0x6,
    /// A wait on an object that has no handle yet: start or create it first.
    InvalidHandle = 0x8,
    /// Not all bytes could be written to a log file: the disk is probably full.
    ShortWrite = 0x9,
    /// The driver returned data of an unexpected size: driver and client do not match.
    UnexpectedSize = 0xE,
    /// A write to a log that has no open file: open it first.
    FileNotOpen = 0x10,
    /// An argument or the object itself is missing or out of range: correct the call.
    InvalidArgument = 0x12,
    /// A device parameter repository has no connection: call its `Connect` first. A connection
    /// without a device reports `NotAllowed`.
    NotConnected = 0x17,
    /// Memory is exhausted.
    OutOfMemory = 0x18,
    /// No such entry or parameter. Missing devices report `NoSuchDevice`.
    NotFound = 0x19,
    /// Not allowed for an object in this state or of this type.
    NotAllowed = 0x1C,
    /// A system call failed, and its own code says nothing more.
    SystemCallFailed = 0x1D,
    /// A wait timed out: wait again, or longer.
    TimedOut = 0x1E,
    /// No such device or interface: none is present at that index.
    NoSuchDevice = 0x20,
    /// The value or its type does not support the request, or a text does not parse.
    NotSupported = 0x23,
    /// The error log is already open: close it first.
    AlreadyOpen = 0x202,
    /// The system's MD5 functions are not available.
    Md5Unavailable = 0x500,
    /// Nothing was assigned yet, or there was nothing to do.
    NotSet = 0x605,
    /// The request is in flight on the caller's `OVERLAPPED`: complete it with
    /// `DeviceConnection::GetOverlappedResult`.
    Pending = 0xFFFF
};

class QVBASELIB_NODISCARD Result;

/// The outcome of an operation: a code and, rarely, a text of its own.
///
/// A value type: copies are deep and independent. One object is for one thread at a time.
class QVBASELIB_API Result {
public:
    /// Holds `NotSet` until an outcome is assigned.
    Result() noexcept : code_(NotSet), description_(nullptr) {}

    /// Holds `aCode` without a description. Implicit, so that an operation can return a code.
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(unsigned long aCode) noexcept : code_(aCode), description_(nullptr) {}

    /// Copies the code and the description. When there is no memory for the description, the copy
    /// has none.
    Result(const Result& aOther);
    /// As the copy constructor; the old description is discarded.
    Result& operator=(const Result& aOther);
    ~Result();

    /// Merges a later outcome into this one: the first failure stays; a success is replaced, with
    /// its description, by the later outcome.
    Result& operator|=(const Result& aOther);

    /// Replaces the description by the expanded text. A null format, a format that cannot be
    /// expanded, or a lack of memory leaves no description. Arguments may point into the old
    /// description.
    QVBASELIB_PRINTF(2, 3) void SetDescription(const char* aFormat, ...);

    /// The code: one of `Code`, or a system error code.
    unsigned long GetCode() const noexcept { return code_; }

    /// The description, or null when there is none. It belongs to this object and is valid until
    /// the object changes.
    const char* GetDescription() const noexcept { return description_; }

    /// True when any of the code's low 16 bits is set. A code such as 0x10000, with the low 16
    /// bits clear, counts as success.
    bool IsFailure() const noexcept { return (code_ & 0xFFFF) != 0; }
    /// The opposite of `IsFailure`.
    bool IsSuccess() const noexcept { return !IsFailure(); }

private:
    // These fields and their order are part of the binary interface.
    unsigned long code_;
    char* description_;
};

}  // namespace QvBaseLib

#endif
