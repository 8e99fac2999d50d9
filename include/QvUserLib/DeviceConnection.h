// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_DEVICECONNECTION_H
#define QVUSERLIB_DEVICECONNECTION_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"
#include "QvUserLib/String.h"

struct _GUID;
struct _OVERLAPPED;

namespace QvUserLib {

/// An open device: sends I/O-control requests, reads and writes. A call either waits for its
/// request or, with an `OVERLAPPED` from the caller, leaves it pending.
///
/// Several threads may send requests at the same time, each with its own `OVERLAPPED` and event.
/// Without an `OVERLAPPED`, `Read` and `Write` create both themselves, but `IoControl` does not:
/// see there. Do not connect, close or call `ReleaseHandle` while a call is running.
///
/// Arguments are checked before the state. Failures with a message go to the error log as
/// `.\DeviceConnection`. A failure never changes whether the device is open.
class QVUSERLIB_API DeviceConnection : public Shareable {
public:
    DeviceConnection();

    /// Closes the device. References taken with `Lock` do not keep the object alive.
    ~DeviceConnection() override;

    // The order of the virtual functions is part of the binary interface. MSVC lays out overloads
    // of one name in reverse order of declaration; GCC and Clang do not. To get the same order from
    // all of them, overloads are declared next to each other, and in reverse for MSVC.

#ifndef _MSC_VER
    /// Sends an I/O-control request and waits for it, by calling the other overload without an
    /// `OVERLAPPED`. No other request may run on the handle, as described there.
    ///
    /// @param aCode          The code, in CTL_CODE layout.
    /// @param aIn            The input, or null when `aInSize` is 0.
    /// @param aInSize        Its size in bytes.
    /// @param aOut           The output buffer, or null when `aOutSize` is 0.
    /// @param aOutSize       Its size in bytes.
    /// @param aExpectedSize  The least number of bytes that the driver must return; 0 for any
    ///                       number.
    /// @retval UnexpectedSize  "The driver did not return the expected size of data".
    /// @return otherwise what the other overload returns.
    virtual Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize, void* aOut,
                             unsigned int aOutSize, unsigned long aExpectedSize);

    /// Sends an I/O-control request.
    ///
    /// Without an `OVERLAPPED` the system waits on the handle itself. A handle has only one signal,
    /// and any other request on it can set or clear that signal. This call may then return before
    /// its own request has completed, or never. So without an `OVERLAPPED`, run no other request on
    /// the handle. With several threads, give each request an `OVERLAPPED` with an event and
    /// complete it with `GetOverlappedResult`, or open the device a second time.
    ///
    /// @param aCode        The control code, as the driver defines it.
    /// @param aIn          The input for the driver; null for none.
    /// @param aInSize      The size of `aIn` in bytes.
    /// @param aOut         Receives what the driver returns; null for none.
    /// @param aOutSize     The size of `aOut` in bytes.
    /// @param aInfo        Receives how many bytes the driver returned.
    /// @param aOverlapped  Null to wait for the request. Otherwise it and the buffers must stay
    ///                     valid until the request has completed.
    /// @retval InvalidArgument  "Invalid input buffer"; "Invalid output buffer" (null with a size
    ///                          that is not 0); "aInfo cannot be NULL".
    /// @retval NotAllowed       "Connect first".
    /// @retval Pending          The request is in flight: complete it with `GetOverlappedResult`.
    /// @return otherwise the system's error code, with "DeviceIoControl failed".
    virtual Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize, void* aOut,
                             unsigned int aOutSize, unsigned long* aInfo, _OVERLAPPED* aOverlapped);
#else
    virtual Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize, void* aOut,
                             unsigned int aOutSize, unsigned long* aInfo, _OVERLAPPED* aOverlapped);
    virtual Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize, void* aOut,
                             unsigned int aOutSize, unsigned long aExpectedSize);
#endif

    /// Reads from the device.
    ///
    /// @param aOut         Receives the data.
    /// @param aSize        The size of `aOut` in bytes.
    /// @param aInfo        Receives how many bytes were read.
    /// @param aOverlapped  Null to wait, without limit. Otherwise an `OVERLAPPED`; it and the
    ///                     buffer must stay valid until the request has completed.
    /// @retval InvalidArgument  "aOut cannot be NULL"; "The size of read operation must be greater
    ///                          than 0 byte"; "aInfo cannot be NULL".
    /// @retval NotAllowed       "Connect first".
    /// @retval Pending          The request is in flight: complete it with `GetOverlappedResult`.
    /// @return otherwise the system's error code; nothing is logged, except when a wait fails.
    virtual Result Read(void* aOut, unsigned int aSize, unsigned long* aInfo, void* aOverlapped);

    /// Writes to the device. Arguments and waiting are as for `Read`.
    ///
    /// @retval InvalidArgument  "The address of data to write cannot be NULL"; "The size of data to
    ///                          write must be greater than 0 byte"; "The caller must specify an
    ///                          address where to write the size of written data".
    /// @retval NotAllowed       "The device is not connected".
    /// @retval Pending          The request is in flight: complete it with `GetOverlappedResult`.
    /// @return otherwise the system's error code; nothing is logged, except when a wait fails.
    virtual Result Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                         void* aOverlapped);

    /// Opens a device by its symbolic link, for overlapped reading and writing. Does not close a
    /// device that is already open: close it first.
    ///
    /// @param aName  The link in the ANSI code page, as `DeviceEnumerator` returns it.
    /// @retval InvalidArgument  "CreateFile failed".
    Result Connect(const char* aName);

    /// Opens the device whose name is `aName` followed by `aIndex` in decimal, such as "\\.\Dev"
    /// and 3.
    ///
    /// @retval InvalidArgument  "CreateFile failed", also when name and index together are longer
    ///                          than 63 characters.
    Result Connect(const char* aName, unsigned int aIndex);

    /// Opens the device interface at `aIndex`, from 0, among the present ones of an interface
    /// class.
    ///
    /// @retval InvalidArgument  The system refused the class (nothing is logged), or "CreateFile
    ///                          failed".
    /// @retval NoSuchDevice     There is no such interface; nothing is logged.
    Result Connect(const _GUID& aInterface, unsigned int aIndex);

    /// Closes the device.
    ///
    /// @retval NotSet  No device was open; nothing is logged.
    Result Close();

    /// Disconnects the object and returns the Win32 `HANDLE`, which the caller then owns and
    /// closes. Returns `INVALID_HANDLE_VALUE` when no device is open. Requests that are pending
    /// stay so. This object no longer completes them: use the system's `GetOverlappedResult` with
    /// the handle, also for the records of a `DeviceRequestQueue`.
    void* ReleaseHandle();

    /// Whether a device is open. It may have been removed since.
    bool IsConnected() const;

    /// Completes an overlapped request.
    ///
    /// @param aOverlapped  The `OVERLAPPED` of the request.
    /// @param aInfo        Receives how many bytes were transferred.
    /// @param aWait        Whether to wait for it, without limit.
    /// @retval InvalidArgument  "The overlapped structure address cannot be NULL"; "The caller must
    ///                          specify an address where to put the number of processed bytes".
    /// @retval NotAllowed       "Connect first".
    /// @return otherwise the system's error code, with "GetOverlappedResult failed": 996
    ///         (ERROR_IO_INCOMPLETE) when the request is still in flight and `aWait` is false.
    Result GetOverlappedResult(void* aOverlapped, unsigned long* aInfo, bool aWait);

private:
    // These fields and their order are part of the binary interface.
    void* handle_;
    String name_;
};

}  // namespace QvUserLib

#endif
