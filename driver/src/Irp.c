// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Irp.h"

static IO_COMPLETION_ROUTINE SignalCompletion;

NTSTATUS CompleteIrp(IRP* irp, NTSTATUS status, ULONG_PTR bytes) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

NTSTATUS PassIrpDown(DEVICE_OBJECT* lowerDevice, IRP* irp) {
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(lowerDevice, irp);
}

// Runs at any IRQL up to DISPATCH_LEVEL, on any thread.
static NTSTATUS NTAPI SignalCompletion(DEVICE_OBJECT* deviceObject, IRP* irp, void* event) {
    UNREFERENCED_PARAMETER(deviceObject);

    if (irp->PendingReturned) KeSetEvent(event, IO_NO_INCREMENT, /*Wait=*/FALSE);
    // Stops the completion here, so that the IRP comes back to the thread that waits.
    return STATUS_MORE_PROCESSING_REQUIRED;
}

NTSTATUS PassIrpDownAndWait(DEVICE_OBJECT* lowerDevice, IRP* irp) {
    KEVENT event;
    KeInitializeEvent(&event, NotificationEvent, FALSE);
    IoCopyCurrentIrpStackLocationToNext(irp);
    IoSetCompletionRoutine(irp, SignalCompletion, &event, TRUE, TRUE, TRUE);
    if (IoCallDriver(lowerDevice, irp) == STATUS_PENDING) {
        (void)KeWaitForSingleObject(&event, Executive, KernelMode, /*Alertable=*/FALSE, NULL);
    }
    return irp->IoStatus.Status;
}
