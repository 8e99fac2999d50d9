// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A device: what belongs to it, and how requests enter and leave it.
//
// All code and data of the driver is nonpaged. A routine that needs the device's lock says so. All
// others run at PASSIVE_LEVEL unless they state their IRQL.

#ifndef QVSAMPLE_DEVICE_H
#define QVSAMPLE_DEVICE_H

#include "Clock.h"
#include "Kernel.h"
#include "Loopback.h"
#include "Parameters.h"
#include "ReadQueue.h"
#include "Stream.h"

// Where the plug-and-play manager has taken the device.
typedef enum QV_DEVICE_STATE {
    QvAdded,
    QvStarted,  // The only state in which requests run.
    QvStopped,
    QvSurpriseRemoved,
    QvRemoved
} QV_DEVICE_STATE;

// The device extension.
typedef struct QV_DEVICE {
    DEVICE_OBJECT* self;
    DEVICE_OBJECT* physicalDevice;
    DEVICE_OBJECT* lowerDevice;
    UNICODE_STRING interfaceName;  // The symbolic link of the device interface.

    // Held by every request while it is inside the driver, pending reads included. Removal waits
    // until no request holds it.
    IO_REMOVE_LOCK removeLock;

    // Guards everything below. Taken at any IRQL up to DISPATCH_LEVEL; no IRP is completed and
    // nothing is allocated under it.
    KSPIN_LOCK lock;
    QV_DEVICE_STATE state;
    BOOLEAN removePending;  // Removal was asked for, and may still be called off.
    QV_PARAMETERS parameters;
    QV_READ_QUEUE reads;
    LIST_ENTRY lateReads;  // Of IRPs that ignore cancelling, linked by Tail.Overlay.ListEntry.
    QV_LOOPBACK loopback;
    QV_STREAM stream;
    QV_CLOCK clock;
} QV_DEVICE;

// Keeps the device from going away while an IRP of any kind is handled; an IRP may do so more than
// once. IRQL <= DISPATCH_LEVEL. Returns STATUS_DELETE_PENDING, and holds nothing, once removal has
// begun.
NTSTATUS HoldDevice(QV_DEVICE* device, IRP* irp);

// `HoldDevice` for the requests of programs: the device must be working, too. Otherwise nothing is
// held and the status says why.
NTSTATUS EnterDevice(QV_DEVICE* device, IRP* irp);

// Ends what `HoldDevice` or `EnterDevice` began, with the same IRP, which may be gone by then.
void LeaveDevice(QV_DEVICE* device, IRP* irp);

// Returns whether requests may run, or why not. The lock is held.
NTSTATUS DeviceReadiness(const QV_DEVICE* device);

#endif
