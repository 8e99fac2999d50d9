// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_BOUNDEDCONNECTION_H
#define QVKIT_BOUNDEDCONNECTION_H

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "QvKit/Channel.h"
#include "QvKit/Error.h"
#include "QvKit/RequestLimits.h"
#include "QvUserLib/DeviceConnection.h"

namespace QvKit {

/// A connection of the library whose requests end in time, for everything that takes a
/// `DeviceConnection`: `DeviceParameterRepository` works on it unchanged.
///
/// A request that runs out of time is cancelled, that one only. If the device completes it all the
/// same, the call returns what the device returned. A driver that ignores cancelling is waited for
/// until `RequestLimits::cancel` is over. Then the request is given up and the call returns. The
/// driver keeps memory of the request's own; the caller's memory is not touched any more.
///
/// | from which thread | what holds |
/// |---|---|
/// | several send requests | Each request has an event of its own; the handle's is never used. |
/// | any calls `Cancel` | It returns at once. Calls that run end with `kCancelled`, in time. |
/// | any requests `RequestLimits::stop` | As `Cancel`, and later calls fail with `kCancelled` at
/// once. | | one calls `Close` | Calls that run end with `kClosed`, in time, and it returns after
/// them. | | several call `Close` | One closes, for the others it is `NotSet`. | | one destroys the
/// object | As `Close`. No call may begin any more. | | any calls `SetLimit` | It is for calls that
/// begin later. |
///
/// In time is within `RequestLimits::cancel`. `Close` takes a second more at most.
///
/// All this holds for drivers that return from their dispatch routine. One that blocks there blocks
/// the calling thread inside the system, where no limit reaches.
///
/// Codes and messages are those of `DeviceConnection`, also in the error log, with three codes
/// more. Their messages say what was asked and for how long, as `.\BoundedConnection`. The count of
/// bytes is always stored for reads and writes that reached the device.
///
/// It differs from a plain connection in this:
/// - It waits for its requests. An `OVERLAPPED` is refused with `NotSupported`, so that a
///   `DeviceRequestQueue` needs a plain connection; `RequestRing` is the kit's.
/// - It is open from the beginning until `Close`. What the base class itself knows is a connection
///   without a device: through a reference to it, `IsConnected` returns false.
/// - Input is copied to memory of the request and output from there. Pointers inside the input of a
///   request are the caller's business.
///
/// Up to 8 requests with 1 MiB each are kept and used again: then a call takes no memory, no event,
/// and no more calls of the system than a bare overlapped request with an event that is kept.
class BoundedConnection : public QvUserLib::DeviceConnection {
public:
    /// The device did not answer in time (1460, ERROR_TIMEOUT).
    static constexpr unsigned long kTimedOut = 1460;
    /// `Cancel` was called meanwhile, or `RequestLimits::stop` requested (1223, ERROR_CANCELLED).
    static constexpr unsigned long kCancelled = 1223;
    /// The connection was closed meanwhile (1236, ERROR_CONNECTION_ABORTED).
    static constexpr unsigned long kClosed = 1236;

    /// Opens the device. Throws what `OpenChannel` throws.
    explicit BoundedConnection(const DeviceAddress& aDevice, RequestLimits aLimits = {});

    /// Sends requests through a channel of yours.
    explicit BoundedConnection(std::unique_ptr<Channel> aChannel, RequestLimits aLimits = {});

    ~BoundedConnection() override;

    /// @name Requests, each with the connection's limit
    ///
    /// The form of `IoControl` with an expected size is the base class's, which calls this one.
    /// @{
    using DeviceConnection::IoControl;
    QvUserLib::Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                _OVERLAPPED* aOverlapped) override;
    QvUserLib::Result Read(void* aOut, unsigned int aSize, unsigned long* aInfo,
                           void* aOverlapped) override;
    QvUserLib::Result Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                            void* aOverlapped) override;
    /// @}

    /// @name Requests with a limit of their own
    ///
    /// With 0 only an answer that is there at once counts.
    /// @{

    /// Sends an I/O-control request.
    QvUserLib::Result IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                std::chrono::milliseconds aLimit);
    /// Reads at most `aSize` bytes.
    QvUserLib::Result Read(void* aOut, unsigned int aSize, unsigned long* aInfo,
                           std::chrono::milliseconds aLimit);
    /// Writes `aSize` bytes.
    QvUserLib::Result Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                            std::chrono::milliseconds aLimit);
    /// @}

    /// The limit of requests without one of their own: `RequestLimits::request`.
    std::chrono::milliseconds GetLimit() const;
    /// Changes that limit for calls that begin later.
    void SetLimit(std::chrono::milliseconds aLimit);

    /// Ends all calls that run.
    void Cancel();

    /// Ends all calls that run, and closes the device. Requests that were given up are left to
    /// their driver.
    ///
    /// @retval NotSet  It was closed already.
    QvUserLib::Result Close();

    /// Whether `Close` has not been called yet.
    bool IsConnected() const;

    /// How many requests of this connection were given up so far. See `CountGivenUpRequests` for
    /// those that drivers still hold.
    std::size_t GetGivenUp() const;

    /// It is opened by its constructor, keeps its handle, and waits for its requests.
    void Connect() = delete;
    void ReleaseHandle() = delete;
    void GetOverlappedResult() = delete;

private:
    struct Demand;
    class State;

    QvUserLib::Result Execute(const Demand& aDemand, unsigned long* aInfo, const void* aOverlapped,
                              std::chrono::milliseconds aLimit);
    QvUserLib::Result Refuse(const Demand& aDemand, unsigned long* aInfo);

    std::shared_ptr<State> state_;
    // Refuses wrong arguments, and calls after `Close`, in its own words.
    QvUserLib::DeviceConnection unconnected_;
};

/// The kind of a failure that a connection returned: `ErrorKind::TimedOut`, `ErrorKind::Cancelled`,
/// `ErrorKind::Closed`, or `ErrorKind::DeviceFailed` for any other code. A device that reports one
/// of these codes itself has the same kind.
ErrorKind KindOfFailure(const QvUserLib::Result& aResult);

/// The error of a call that returned `aResult` just now, on the same thread: "aWhat: the reason".
Error RequestError(const std::string& aWhat, const QvUserLib::Result& aResult);

}  // namespace QvKit

#endif
