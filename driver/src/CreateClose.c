// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "CreateClose.h"

#include "Device.h"
#include "Irp.h"
#include "ReadWrite.h"

// A device that is about to be removed takes no new handles. The open ones go on working until
// then, because the removal may still be called off.
static NTSTATUS CheckOpen(QV_DEVICE* device, const FILE_OBJECT* file) {
    KIRQL irql;
    BOOLEAN removePending;

    // There is nothing below the device that a longer path could name.
    if (file != NULL && file->FileName.Length != 0) return STATUS_OBJECT_NAME_NOT_FOUND;

    KeAcquireSpinLock(&device->lock, &irql);
    removePending = device->removePending;
    KeReleaseSpinLock(&device->lock, irql);
    return removePending ? STATUS_DELETE_PENDING : STATUS_SUCCESS;
}

// Runs at PASSIVE_LEVEL.
NTSTATUS NTAPI QvSampleCreate(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    NTSTATUS status = EnterDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    status = CheckOpen(device, IoGetCurrentIrpStackLocation(irp)->FileObject);
    CompleteIrp(irp, status, 0);
    LeaveDevice(device, irp);
    return status;
}

static NTSTATUS CloseHandle(QV_DEVICE* device, IRP* irp) {
    FILE_OBJECT* file = IoGetCurrentIrpStackLocation(irp)->FileObject;

    // A handle may outlive the start of its device, so this does not ask for a working one. Once
    // removal has begun there are no reads left, and there will be no other stream.
    if (file != NULL && NT_SUCCESS(HoldDevice(device, irp))) {
        LeaveStream(device, file);
        LeaveDevice(device, irp);
    }
    return CompleteIrp(irp, STATUS_SUCCESS, 0);
}

// Runs at PASSIVE_LEVEL when a program's last handle is closed. The reads still keep the file
// object alive: only when they have ended does the close request follow.
NTSTATUS NTAPI QvSampleCleanup(DEVICE_OBJECT* deviceObject, IRP* irp) {
    return CloseHandle(deviceObject->DeviceExtension, irp);
}

// Runs at PASSIVE_LEVEL. Wine sends no cleanup, but this request in its place, so reads may still
// be pending.
NTSTATUS NTAPI QvSampleClose(DEVICE_OBJECT* deviceObject, IRP* irp) {
    return CloseHandle(deviceObject->DeviceExtension, irp);
}
