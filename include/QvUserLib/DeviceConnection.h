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

/// One opened device: I/O-control requests, and reads and writes that are waited for or left
/// pending on the caller's `OVERLAPPED`.
///
/// Several threads may read, write and control at the same time, each with an `OVERLAPPED` and an
/// event of its own; `Read` and `Write` without an `OVERLAPPED` make both themselves. `IoControl`
/// without one does not: see there. Connecting, closing and `ReleaseHandle` must not run beside any
/// request.
///
/// Arguments are checked before the state. Failures with a message go to the error log as
/// `.\DeviceConnection`; no failure changes whether the device is open.
class QVUSERLIB_API DeviceConnection : public Shareable {
public:
    DeviceConnection();

    /// Closes the device. References by `Lock` do not keep the object alive.
    ~DeviceConnection() override;

    // The order of the virtual functions is part of the binary interface. MSVC lays out the
    // overloads of one name in reverse order of declaration, GCC and Clang do not: to give all of
    // them the same order, overloads stand together and are declared in reverse for MSVC.

#ifndef _MSC_VER
    /// Sends an I/O-control request and waits for it. It goes through the other form, without an
    /// `OVERLAPPED`, and needs the handle for itself as described there.
    ///
    /// @param aCode          The code, in CTL_CODE layout.
    /// @param aIn            The input, or null when `aInSize` is 0.
    /// @param aInSize        Its size in bytes.
    /// @param aOut           The output buffer, or null when `aOutSize` is 0.
    /// @param aOutSize       Its size in bytes.
    /// @param aExpectedSize  How many bytes the driver has to return at least; 0 for any number.
    /// @retval UnexpectedSize  "The driver did not return the expected size of data".
    /// @return otherwise as the other form.
    virtual Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize, void* aOut,
                             unsigned int aOutSize, unsigned long aExpectedSize);

    /// Sends an I/O-control request.
    ///
    /// Without an `OVERLAPPED` the system waits on the handle itself. Windows has one signal for a
    /// handle, and any other request on it can set or take that signal. Then this call returns
    /// before its own request is over, or never. So without an `OVERLAPPED` let no other request
    /// run on the handle; with several threads, give each request an `OVERLAPPED` with an event and
    /// complete it with `GetOverlappedResult`, or open the device once more.
    ///
    /// @param aCode        The control code, as the driver defines it.
    /// @param aIn          What the driver gets; null for nothing.
    /// @param aInSize      The size of `aIn` in bytes.
    /// @param aOut         Receives what the driver returns; null for nothing.
    /// @param aOutSize     The size of `aOut` in bytes.
    /// @param aInfo        Receives how many bytes the driver returned.
    /// @param aOverlapped  Null to wait for the request. Otherwise it and the buffers have to stay
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
    /// @param aOverlapped  Null to wait, without limit. Otherwise an `OVERLAPPED`, which has to
    ///                     stay valid, as the buffer, until the request has completed.
    /// @retval InvalidArgument  "aOut cannot be NULL"; "The size of read operation must be greater
    ///                          than 0 byte"; "aInfo cannot be NULL".
    /// @retval NotAllowed       "Connect first".
    /// @retval Pending          The request is in flight: complete it with `GetOverlappedResult`.
    /// @return otherwise the system's error code; nothing is logged, except when a wait fails.
    virtual Result Read(void* aOut, unsigned int aSize, unsigned long* aInfo, void* aOverlapped);

    /// Writes to the device, as `Read` reads from it.
    ///
    /// @retval InvalidArgument  "The address of data to write cannot be NULL"; "The size of data to
    ///                          write must be greater than 0 byte"; "The caller must specify an
    ///                          address where to write the size of written data".
    /// @retval NotAllowed       "The device is not connected".
    /// @retval Pending          The request is in flight: complete it with `GetOverlappedResult`.
    /// @return otherwise the system's error code; nothing is logged, except when a wait fails.
    virtual Result Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                         void* aOverlapped);

    /// Opens a device by its symbolic link, for overlapped reading and writing. A device that is
    /// open already is not closed: close it first.
    ///
    /// @param aName  The link in the ANSI code page, as `DeviceEnumerator` gives it.
    /// @retval InvalidArgument  "CreateFile failed".
    Result Connect(const char* aName);

    /// Opens a device by a name and an index that is appended in decimal, as in "\\.\Dev" and 3.
    ///
    /// @retval InvalidArgument  "CreateFile failed", also when both together take more than 63
    ///                          characters.
    Result Connect(const char* aName, unsigned int aIndex);

    /// Opens the `aIndex`-th present device interface, from 0, of an interface class.
    ///
    /// @retval InvalidArgument  The system refused the class (nothing is logged), or "CreateFile
    ///                          failed".
    /// @retval NoSuchDevice     There is no such interface; nothing is logged.
    Result Connect(const _GUID& aInterface, unsigned int aIndex);

    /// Closes the device.
    ///
    /// @retval NotSet  No device was open; nothing is logged.
    Result Close();

    /// Gives the handle, a Win32 `HANDLE`, to the caller, who closes it; `INVALID_HANDLE_VALUE`
    /// when no device is open. The object is not connected afterwards.
    void* ReleaseHandle();

    /// Whether a device is open. It may have been removed since.
    bool IsConnected() const;

    /// Completes an overlapped request.
    ///
    /// @param aOverlapped  The `OVERLAPPED` it was issued with.
    /// @param aInfo        Receives how many bytes it moved.
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
