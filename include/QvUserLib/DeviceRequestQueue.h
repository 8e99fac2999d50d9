// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVUSERLIB_DEVICEREQUESTQUEUE_H
#define QVUSERLIB_DEVICEREQUESTQUEUE_H

#include "QvUserLib/BaseTypes.h"
#include "QvUserLib/Export.h"

struct _OVERLAPPED;

namespace QvUserLib {

class DeviceConnection;

/// A fixed ring of overlapped requests on one device connection, completed in the order in which
/// they were handed out. It keeps a constant number of requests in flight without allocating memory
/// or creating an event for any of them.
///
/// Get a record with `GetNextAvailableRequest`, pass it to the connection's `Read`, `Write` or
/// `IoControl` as the `OVERLAPPED`, and collect the outcome with `GetNextResult`. One record of the
/// ring always stays free: with `n` records, at most `n - 1` requests are pending.
///
/// A record counts as pending from the moment it is handed out, and must be collected whatever
/// became of its request. If the driver or the system refuses the request at once, the record
/// reports the same failure. If the connection refuses the arguments (`InvalidArgument`, such as a
/// size of 0), the record reports success with 0 bytes, like a record that was never used.
///
/// Use it from one thread: the one that hands requests out also collects them. The driver may
/// complete requests on any thread. Keep the device open until `Wait` or the destructor has
/// collected everything. Without an open device, collecting fails at once ("Connect first") and the
/// request's byte count is lost. The driver may write to a record until it has completed the
/// request, so the queue neither reuses nor frees the record before that.
///
/// Failures go to the error log as `.\DeviceRequestQueue`.
class QVUSERLIB_API DeviceRequestQueue {
public:
    DeviceRequestQueue();

    /// Waits, without limit, for every request that the driver has not completed, then unlocks the
    /// connection. It waits even when the device was closed, or its handle released, with requests
    /// pending.
    virtual ~DeviceRequestQueue();

    DeviceRequestQueue(const DeviceRequestQueue&) = delete;
    DeviceRequestQueue& operator=(const DeviceRequestQueue&) = delete;

    /// Makes the ring. Works only once per object.
    ///
    /// @param aCount       The number of records; fewer than 2 are of no use.
    /// @param aConnection  The connection, which the queue locks until it is destroyed.
    /// @retval InvalidArgument  "Length must be grater than 0"; "A connection must be specified".
    /// @retval NotAllowed       "Already allcated".
    /// @retval OutOfMemory      "Not enough memory".
    Result Allocate(unsigned int aCount, DeviceConnection* aConnection);

    /// Returns the record for the next request: an `OVERLAPPED` that the queue owns. When the ring
    /// is full, it first waits, without limit, for the oldest request and completes it. The byte
    /// count of that request is lost, so collect with `GetNextResult` before the ring is full.
    ///
    /// Returns null when `Allocate` has not succeeded ("Allocate first"), when the oldest request
    /// failed (it has left the ring all the same), and always from a ring of one record ("No
    /// pending request").
    void* GetNextAvailableRequest();

    /// Completes the oldest pending request, waiting for it without limit, and stores the number of
    /// bytes transferred in `*aProcessed`. The request leaves the ring whether it succeeded or not.
    ///
    /// @retval InvalidArgument  "The caller must specify an address where to put the number of
    ///                          processed bytes".
    /// @retval NotAllowed       "Allocate first"; "No pending request".
    /// @return otherwise what the connection's `GetOverlappedResult` reports.
    Result GetNextResult(unsigned long* aProcessed);

    /// Completes every pending request, waiting without limit.
    ///
    /// @return the first failure among them; success also when nothing is pending.
    Result Wait();

private:
    Result CompleteOldest(unsigned long* aProcessed);
    bool IsEmpty() const;

    // These fields and their order are part of the binary interface.
    _OVERLAPPED* requests_;
    unsigned long count_;
    DeviceConnection* connection_;
    unsigned long nextToHandOut_;
    unsigned long nextToComplete_;
    unsigned long processed_;
    Result lastResult_;
};

}  // namespace QvUserLib

#endif
