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

// Reads "Qvsm" in a pool dump.
#define QV_POOL_TAG 0x6D737651u

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
    LIST_ENTRY pendingReads;  // Of IRPs, oldest first, linked by Tail.Overlay.ListEntry.
    QV_LOOPBACK loopback;
} QV_DEVICE;

// Driver.c

DRIVER_INITIALIZE DriverEntry;

// Completes an IRP and returns its status, for `return CompleteIrp(…)`. The IRP is gone afterwards.
// IRQL <= DISPATCH_LEVEL, no lock held.
NTSTATUS CompleteIrp(IRP* irp, NTSTATUS status, ULONG_PTR bytes);

// Sends an IRP down the stack unchanged and forgets it. IRQL <= DISPATCH_LEVEL.
NTSTATUS PassIrpDown(QV_DEVICE* device, IRP* irp);

// Keeps the device from going away while an IRP of any kind is handled. IRQL <= DISPATCH_LEVEL.
// Returns STATUS_DELETE_PENDING, and holds nothing, once removal has begun.
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

// Makes the loop-back buffer in the size that the parameter asks for. The device is not started.
NTSTATUS StartReadWrite(QV_DEVICE* device);

// Ends all pending reads and frees the loop-back buffer. The state that `DeviceReadiness` looks at
// has been changed before, so that no new read is queued. May be called again.
void StopReadWrite(QV_DEVICE* device);

// Ends the pending reads of one open handle, or of all when `file` is null.
void CancelReads(QV_DEVICE* device, const FILE_OBJECT* file);

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

#endif
