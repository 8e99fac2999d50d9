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
/// Ask for a record with `GetNextAvailableRequest`, hand it to the connection's `Read`, `Write` or
/// `IoControl` as the `OVERLAPPED`, and collect the outcome with `GetNextResult`. One record of the
/// ring is always kept back: with `n` records up to `n - 1` requests are pending. A record counts
/// as pending from the moment it is handed out, and has to be collected whatever became of its
/// request. When the driver or the system refuses the request at once, the record reports the same
/// failure. When the connection refuses it for its arguments (`InvalidArgument`, such as a size of
/// 0), the request never reaches the record: the record reports success with 0 bytes, as one does
/// that was never used.
///
/// Use it from one thread: the one that hands requests out also collects them. The driver may
/// complete requests on any thread. Keep the device open until `Wait` or the destructor has
/// collected everything: without an open device collecting fails at once ("Connect first"), and
/// what a request moved is lost. The driver may write to a record until it has completed the
/// request, so the record is neither handed out again nor freed before that.
///
/// Failures go to the error log as `.\DeviceRequestQueue`.
class QVUSERLIB_API DeviceRequestQueue {
public:
    DeviceRequestQueue();

    /// Waits, without limit, for every request that the driver has not completed, and gives the
    /// connection back. This holds also when the device was closed, or its handle released, with
    /// requests pending.
    virtual ~DeviceRequestQueue();

    DeviceRequestQueue(const DeviceRequestQueue&) = delete;
    DeviceRequestQueue& operator=(const DeviceRequestQueue&) = delete;

    /// Makes the ring. This works once in the object's life.
    ///
    /// @param aCount       The number of records; 2 is the least of use.
    /// @param aConnection  The connection, which the queue locks until it is destroyed.
    /// @retval InvalidArgument  "Length must be grater than 0"; "A connection must be specified".
    /// @retval NotAllowed       "Already allcated".
    /// @retval OutOfMemory      "Not enough memory".
    Result Allocate(unsigned int aCount, DeviceConnection* aConnection);

    /// Hands out the record for the next request: an `OVERLAPPED` of the queue's own. When the ring
    /// is full the oldest request is completed first, waiting for it without limit; how many bytes
    /// it moved is lost, so collect with `GetNextResult` before the ring is full.
    ///
    /// Null when `Allocate` has not succeeded ("Allocate first"), when the request that had to be
    /// completed failed (it has left the ring all the same), and always from a ring of one record
    /// ("No pending request").
    void* GetNextAvailableRequest();

    /// Completes the oldest pending request, waiting for it without limit, and stores the number
    /// of bytes it moved in `*aProcessed`. The request leaves the ring whether it succeeded or not.
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
