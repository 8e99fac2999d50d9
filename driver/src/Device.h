// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What the driver's files share: the device extension and the routines that work on it.
//
// All code and data is nonpaged. A routine that takes or needs the device's lock says so; all
// others run at PASSIVE_LEVEL unless they state their IRQL.

#ifndef QVSAMPLE_DEVICE_H
#define QVSAMPLE_DEVICE_H

#include <wdm.h>

#include "QvBaseLib/DeviceParameterRecord.h"
#include "QvSample/QvSampleDevice.h"
#include "QvSample/QvSamplePacket.h"

// Memory that holds data must not be executable: `NonPagedPoolNx` is the one to allocate from.
#pragma GCC poison NonPagedPool NonPagedPoolCacheAligned

// Reads "Qvsm" in a pool dump.
#define QV_POOL_TAG 0x6D737651u

// In the units of `CurrentTime`.
#define QV_SECOND 10000000

// Where the plug-and-play manager has taken the device.
typedef enum QV_DEVICE_STATE {
    QvAdded,
    QvStarted,  // The only state in which requests run.
    QvStopped,
    QvSurpriseRemoved,
    QvRemoved
} QV_DEVICE_STATE;

// The value of one parameter.
typedef struct QV_VALUE {
    ULONG number;                         // Of an integer, or the index of an enumeration value.
    WCHAR text[QV_PARAMETER_TEXT_UNITS];  // Of a string; zeros fill what it leaves free.
} QV_VALUE;

// A ring of bytes that were written and not read yet.
typedef struct QV_LOOPBACK {
    UCHAR* bytes;  // Nonpaged; null while the device is not started.
    ULONG capacity;
    ULONG first;  // Index of the oldest byte.
    ULONG count;
} QV_LOOPBACK;

// The packet stream. It lasts while a handle is open that has read.
typedef struct QV_STREAM {
    ULONG readers;           // How many such handles there are.
    ULONGLONG sequence;      // Of the next packet.
    ULONGLONG dropped;       // Packets that no read got.
    LONGLONG toSystemTime;   // What to add to `CurrentTime`.
    ULONG rate;              // Packets per second; 0 when time does not make them due.
    LONGLONG countingSince;  // When packets became due at this rate.
    ULONGLONG counted;       // How many of those have been given to a read, or dropped.
} QV_STREAM;

// The thread that serves reads when time has passed, rather than when a request comes in, and
// completes those that requests leave over.
typedef struct QV_CLOCK {
    void* thread;  // Its object. Null while there is none; belongs to the plug-and-play routines.
    KEVENT wake;
    BOOLEAN stopping;      // Until it is started again. Nobody leaves reads over for it any more.
    LONGLONG sleepsUntil;  // 0 while it is awake, or about to be.
} QV_CLOCK;

// What the driver notes in a pending read, in the part of an IRP that belongs to its driver.
typedef struct QV_READ {
    LONGLONG due;       // When a served read may be completed.
    BOOLEAN isDelayed;  // A served read that waits for that time, and can be cancelled until then.
    BOOLEAN isAtOnce;   // A read that never waits: it is in no list, and cannot be cancelled.
    BOOLEAN holdsPacket;  // Its buffer begins with the header of a packet without payload as yet.
} QV_READ;

C_ASSERT(sizeof(QV_READ) <= RTL_FIELD_SIZE(IRP, Tail.Overlay.DriverContext));

// The device extension.
typedef struct QV_DEVICE {
    DEVICE_OBJECT* self;
    DEVICE_OBJECT* physicalDevice;
    DEVICE_OBJECT* lowerDevice;
    UNICODE_STRING interfaceName;  // The symbolic link of the device interface.

    // Held by every request while it is inside the driver, pending reads included. Removal waits
    // until nobody holds it.
    IO_REMOVE_LOCK removeLock;

    // Guards everything below. Taken at any IRQL up to DISPATCH_LEVEL; no IRP is completed and
    // nothing is allocated under it.
    KSPIN_LOCK lock;
    QV_DEVICE_STATE state;
    BOOLEAN removePending;  // Removal was asked for, and may still be called off.
    QV_VALUE values[QV_SAMPLE_PARAMETER_COUNT];
    ULONG temperatureStep;    // How often the temperature has been read.
    LIST_ENTRY waitingReads;  // Of IRPs, oldest first, linked by Tail.Overlay.ListEntry.
    LIST_ENTRY servedReads;   // Likewise: their outcome is in IoStatus, and they are to complete.
    BOOLEAN isCompleting;     // A thread completes served reads; no other may, to keep their order.
    QV_LOOPBACK loopback;
    QV_STREAM stream;
    QV_CLOCK clock;
} QV_DEVICE;

// Driver.c

DRIVER_INITIALIZE DriverEntry;

// Completes an IRP and returns its status, for `return CompleteIrp(…)`. The IRP is gone afterwards.
// IRQL <= DISPATCH_LEVEL, no lock held.
NTSTATUS CompleteIrp(IRP* irp, NTSTATUS status, ULONG_PTR bytes);

// Sends an IRP down the stack unchanged and forgets it. IRQL <= DISPATCH_LEVEL.
NTSTATUS PassIrpDown(QV_DEVICE* device, IRP* irp);

// Keeps the device from going away while an IRP of any kind is handled; an IRP may do so more than
// once. IRQL <= DISPATCH_LEVEL. Returns STATUS_DELETE_PENDING, and holds nothing, once removal has
// begun.
NTSTATUS HoldDevice(QV_DEVICE* device, IRP* irp);

// `HoldDevice` for the requests of programs: the device must be working, too. Otherwise nothing is
// held and the status says why.
NTSTATUS EnterDevice(QV_DEVICE* device, IRP* irp);

// Ends what `HoldDevice` or `EnterDevice` began, with the same IRP, which may be gone by then.
void LeaveDevice(QV_DEVICE* device, IRP* irp);

// Answers whether requests may run. The lock is held.
NTSTATUS DeviceReadiness(const QV_DEVICE* device);

// PlugAndPlay.c

DRIVER_ADD_DEVICE QvSampleAddDevice;
DRIVER_DISPATCH QvSamplePnp;

// Power.c

DRIVER_DISPATCH QvSamplePower;
DRIVER_DISPATCH QvSampleSystemControl;

// CreateClose.c

DRIVER_DISPATCH QvSampleCreate;
DRIVER_DISPATCH QvSampleCleanup;
DRIVER_DISPATCH QvSampleClose;

// DeviceControl.c

DRIVER_DISPATCH QvSampleDeviceControl;

// ReadWrite.c

DRIVER_DISPATCH QvSampleRead;
DRIVER_DISPATCH QvSampleWrite;

// Whether a fault keeps reads from being served. The lock is held.
BOOLEAN AreReadsHeld(QV_DEVICE* device);

// Makes what reads and writes need: the loop-back buffer, in the size that the parameter asks for,
// and the clock. The device is not started.
NTSTATUS StartReadWrite(QV_DEVICE* device);

// Ends all pending reads with `status`, stops the clock, and frees the loop-back buffer. The state
// that `DeviceReadiness` looks at has been changed before, so that no new read is queued. May be
// called again.
void StopReadWrite(QV_DEVICE* device, NTSTATUS status);

// Brings the device's reads up to the present: serves the waiting ones as far as there is something
// for them, in their order, and drops the packets that became due without one. To be called before
// and after every change that matters to reads, and followed by `CompleteServedReads` when the lock
// has been released. The lock is held.
void SettleReads(QV_DEVICE* device);

// ReadQueue.c

IRP* ReadOfEntry(LIST_ENTRY* entry);
QV_READ* NotesOfRead(IRP* irp);
ULONG ReadLength(IRP* irp);

// Marks a read as pending and lets it wait behind all others, with a hold of its own on the device.
// Answers STATUS_PENDING then, and the read must not be touched any more; otherwise the reason why
// not. A read with STATUS_CANCELLED has been marked all the same. The lock is held.
NTSTATUS QueueRead(QV_DEVICE* device, IRP* irp);

// Whether a read that comes now may be served and completed without waiting: no other is before it,
// and no fault keeps it. It has to be completed with `FinishReadAtOnce`. The lock is held.
BOOLEAN BeginReadAtOnce(QV_DEVICE* device, IRP* irp);

// Ends what `BeginReadAtOnce` began when there is nothing for the read. The lock is held.
void CallOffReadAtOnce(QV_DEVICE* device);

// Completes a served read for which `BeginReadAtOnce` answered true, and returns its status. Others
// may have come up behind it meanwhile, for `CompleteServedReads`. IRQL <= DISPATCH_LEVEL, no lock
// held. The caller holds the device.
NTSTATUS FinishReadAtOnce(QV_DEVICE* device, IRP* irp);

// Moves a waiting read to the served ones, with a delay if that fault was asked for. Answers false,
// and leaves it alone, when it is being cancelled. The caller sets its outcome at once. The lock is
// held.
BOOLEAN MoveToServed(QV_DEVICE* device, IRP* irp, LONGLONG now);

// Completes served reads whose time has come, in their order, and wakes the clock if it has to see
// to something earlier than it knows of. Only a limited number is completed, however fast new reads
// come: the clock gets the rest. While the clock is stopped all are completed. IRQL <=
// DISPATCH_LEVEL, no lock held. The caller holds the device, or is the clock.
void CompleteServedReads(QV_DEVICE* device);

// Ends the pending reads of one open handle, or of all when `file` is null, out of turn. IRQL <=
// DISPATCH_LEVEL, no lock held.
void EndReads(QV_DEVICE* device, const FILE_OBJECT* file, NTSTATUS status);

// Loopback.c. The lock is held.

// Appends bytes for which there is room.
void PutBytes(QV_LOOPBACK* loopback, const UCHAR* bytes, ULONG count);

// Takes up to `limit` bytes, and answers how many.
ULONG TakeBytes(QV_LOOPBACK* loopback, UCHAR* bytes, ULONG limit);

// Stream.c. The lock is held, except for `FillPayload`.

// Notes that a handle reads. The first one begins the stream.
void BeginReading(QV_DEVICE* device, FILE_OBJECT* file);

// Notes that a handle is closed. The last one that has read ends the stream. May be called again.
void EndReading(QV_DEVICE* device, FILE_OBJECT* file);

// Counts the packets that are due anew if the parameters ask for another rate than before.
void FollowPacketRate(QV_DEVICE* device);

// Whether the stream has a rate: packets become due as time passes.
BOOLEAN IsPacketTimed(const QV_DEVICE* device);

// Whether there is a packet for a read in mode Packets.
BOOLEAN IsPacketDue(const QV_DEVICE* device, LONGLONG now);

// When the next packet becomes due, if `IsPacketTimed`.
LONGLONG NextPacketTime(const QV_DEVICE* device);

// Gives the next packet to a read that has room for it: its header is written to the buffer, and
// its size is returned. The payload follows with `FillPayload`, which takes too long for the lock.
ULONG TakePacket(QV_DEVICE* device, UCHAR* buffer, LONGLONG now);

// Drops the packets that have become due and that no read got.
void DropDuePackets(QV_DEVICE* device, LONGLONG now);

// Counts as dropped the packet that a served read holds, if any: the read ends without it. The
// packets of the reads behind it have to tell so.
void DropPacketOfRead(QV_DEVICE* device, IRP* irp);

// Completes a packet of which the first `bytes` bytes are wanted. Any IRQL, no lock held.
void FillPayload(UCHAR* packet, ULONG bytes);

// Clock.c

// The time since some moment in the past, in 100 ns units. Never goes back. Any IRQL.
LONGLONG CurrentTime(void);

NTSTATUS StartClock(QV_DEVICE* device);

// Waits until the thread has ended. May be called again.
void StopClock(QV_DEVICE* device);

// Whether the clock has to be woken, which is to be done when the lock has been released: it sleeps
// for longer than it should. It counts as awake from then on. The lock is held.
BOOLEAN ClockHasToWake(QV_DEVICE* device);

// Parameters.c

// Gives every parameter its default. The serial number is made from `interfaceName`.
void InitializeParameters(QV_DEVICE* device);

// The size of the parameter block in bytes.
ULONG ParameterBlockSize(void);

// Writes the whole parameter block to `records`, which has room for it, and moves volatile values
// on. Takes the lock.
void ReadParameters(QV_DEVICE* device, QV_PARAMETER_RECORD* records);

// Checks all records and applies them if none is refused. Takes the lock.
NTSTATUS WriteParameters(QV_DEVICE* device, const QV_PARAMETER_RECORD* records, ULONG count);

// The value of an integer or the index of an enumeration value. Takes the lock.
ULONG ParameterNumber(QV_DEVICE* device, ULONG id);

// The same in place, for values that the driver changes, or looks at under the lock. The lock is
// held.
ULONG* NumberInPlace(QV_DEVICE* device, ULONG id);

#endif
