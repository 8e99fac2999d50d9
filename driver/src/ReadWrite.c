// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Reads and writes: a loop-back, with reads that stay pending until there is something to read.
//
// A pending read is in the list `pendingReads`, has a cancel routine, and holds the device. Whoever
// takes it out of the list completes it. There are two who might, and the exchange of the cancel
// routine decides between them: `TakePendingRead` takes only reads whose routine it could clear;
// one whose routine the system has cleared stays in the list for its cancel routine.
//
// While reads are pending the loop-back buffer is empty, but for reads that are being cancelled.

#include "Device.h"

static DRIVER_CANCEL QvSampleCancelRead;

static ULONG ReadLength(IRP* irp) {
    return IoGetCurrentIrpStackLocation(irp)->Parameters.Read.Length;
}

// Takes the oldest pending read out of the list, of one handle or of any when `file` is null.
// Returns null when there is none. The lock is held.
static IRP* TakePendingRead(QV_DEVICE* device, const FILE_OBJECT* file) {
    LIST_ENTRY* entry;
    for (entry = device->pendingReads.Flink; entry != &device->pendingReads; entry = entry->Flink) {
        IRP* irp = CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
        if (file != NULL && IoGetCurrentIrpStackLocation(irp)->FileObject != file) continue;
        if (IoSetCancelRoutine(irp, NULL) == NULL) continue;
        RemoveEntryList(entry);
        return irp;
    }
    return NULL;
}

// Completes reads that were taken out of the list, in their order. IRQL <= DISPATCH_LEVEL, no lock
// held.
static void CompleteTakenReads(QV_DEVICE* device, LIST_ENTRY* taken, NTSTATUS status) {
    while (!IsListEmpty(taken)) {
        LIST_ENTRY* entry = RemoveHeadList(taken);
        IRP* irp = CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
        CompleteIrp(irp, status, irp->IoStatus.Information);
        LeaveDevice(device, irp);
    }
}

// Called at DISPATCH_LEVEL with the system's cancel lock held.
static void NTAPI QvSampleCancelRead(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    KIRQL irql;

    IoReleaseCancelSpinLock(irp->CancelIrql);

    KeAcquireSpinLock(&device->lock, &irql);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    KeReleaseSpinLock(&device->lock, irql);

    CompleteIrp(irp, STATUS_CANCELLED, 0);
    LeaveDevice(device, irp);
}

// Puts a read at the end of the list. Answers false, and leaves the list alone, when the read has
// been cancelled in the meantime. The lock is held.
static BOOLEAN QueueRead(QV_DEVICE* device, IRP* irp) {
    (void)IoSetCancelRoutine(irp, QvSampleCancelRead);
    if (irp->Cancel && IoSetCancelRoutine(irp, NULL) != NULL) return FALSE;

    // When the cancel routine is being called already, it waits for the lock and finds the read.
    InsertTailList(&device->pendingReads, &irp->Tail.Overlay.ListEntry);
    return TRUE;
}

// Appends bytes for which there is room. The lock is held.
static void PutBytes(QV_LOOPBACK* loopback, const UCHAR* bytes, ULONG count) {
    const ULONG end = (loopback->first + loopback->count) % loopback->capacity;
    const ULONG beforeWrap = min(count, loopback->capacity - end);
    RtlCopyMemory(loopback->bytes + end, bytes, beforeWrap);
    RtlCopyMemory(loopback->bytes, bytes + beforeWrap, count - beforeWrap);
    loopback->count += count;
}

// Takes bytes of which there are enough. The lock is held.
static void TakeBytes(QV_LOOPBACK* loopback, UCHAR* bytes, ULONG count) {
    const ULONG beforeWrap = min(count, loopback->capacity - loopback->first);
    RtlCopyMemory(bytes, loopback->bytes + loopback->first, beforeWrap);
    RtlCopyMemory(bytes + beforeWrap, loopback->bytes, count - beforeWrap);
    loopback->first = (loopback->first + count) % loopback->capacity;
    loopback->count -= count;
}

// Reads what is there, or queues the read. Answers STATUS_PENDING for a queued read, which must not
// be touched from then on.
static NTSTATUS ReadOrQueue(QV_DEVICE* device, IRP* irp, ULONG_PTR* bytes) {
    KIRQL irql;
    NTSTATUS status;

    KeAcquireSpinLock(&device->lock, &irql);
    // Looked at again under the lock: a read must not slip into the list behind the one who has
    // just emptied it for good.
    status = DeviceReadiness(device);
    if (NT_SUCCESS(status) && device->loopback.count > 0) {
        const ULONG count = min(ReadLength(irp), device->loopback.count);
        TakeBytes(&device->loopback, irp->AssociatedIrp.SystemBuffer, count);
        *bytes = count;
    } else if (NT_SUCCESS(status)) {
        // Marked before it can be seen in the list: others may complete it at once.
        IoMarkIrpPending(irp);
        status = QueueRead(device, irp) ? STATUS_PENDING : STATUS_CANCELLED;
    }
    KeReleaseSpinLock(&device->lock, irql);
    return status;
}

// Runs at PASSIVE_LEVEL. Buffered: the system buffer is as long as the read, and null for length 0.
NTSTATUS NTAPI QvSampleRead(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    ULONG_PTR bytes = 0;
    NTSTATUS status = EnterDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    if (ReadLength(irp) == 0) {
        status = STATUS_SUCCESS;
    } else if (irp->AssociatedIrp.SystemBuffer == NULL) {
        status = STATUS_INVALID_USER_BUFFER;
    } else {
        status = ReadOrQueue(device, irp, &bytes);
    }

    // A pending read goes on holding the device.
    if (status == STATUS_PENDING) return STATUS_PENDING;
    CompleteIrp(irp, status, bytes);
    LeaveDevice(device, irp);
    // A read that was marked as pending has to be answered so, though it has been completed.
    return status == STATUS_CANCELLED ? STATUS_PENDING : status;
}

// Fills pending reads, oldest first, and keeps the rest. The reads that got something end in
// `taken`, to be completed without the lock. The lock is held.
static void DistributeBytes(QV_DEVICE* device, const UCHAR* bytes, ULONG count, LIST_ENTRY* taken) {
    IRP* irp;
    while (count > 0 && (irp = TakePendingRead(device, NULL)) != NULL) {
        const ULONG share = min(count, ReadLength(irp));
        RtlCopyMemory(irp->AssociatedIrp.SystemBuffer, bytes, share);
        irp->IoStatus.Information = share;
        InsertTailList(taken, &irp->Tail.Overlay.ListEntry);
        bytes += share;
        count -= share;
    }
    if (count > 0) PutBytes(&device->loopback, bytes, count);
}

// Takes a write as a whole or not at all. Pending reads are not counted as room: any of them may be
// cancelled at any moment, and then their share must still fit.
static NTSTATUS AcceptWrite(QV_DEVICE* device, const UCHAR* bytes, ULONG count) {
    LIST_ENTRY taken;
    KIRQL irql;
    NTSTATUS status;

    InitializeListHead(&taken);
    KeAcquireSpinLock(&device->lock, &irql);
    status = DeviceReadiness(device);
    if (NT_SUCCESS(status)) {
        if (count > device->loopback.capacity) {
            status = STATUS_INVALID_BUFFER_SIZE;
        } else if (count > device->loopback.capacity - device->loopback.count) {
            status = STATUS_DEVICE_BUSY;
        } else {
            DistributeBytes(device, bytes, count, &taken);
        }
    }
    KeReleaseSpinLock(&device->lock, irql);
    CompleteTakenReads(device, &taken, STATUS_SUCCESS);
    return status;
}

// Runs at PASSIVE_LEVEL. Buffered, as reads are.
NTSTATUS NTAPI QvSampleWrite(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    const ULONG length = IoGetCurrentIrpStackLocation(irp)->Parameters.Write.Length;
    NTSTATUS status = EnterDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    if (length == 0) {
        status = STATUS_SUCCESS;
    } else if (irp->AssociatedIrp.SystemBuffer == NULL) {
        status = STATUS_INVALID_USER_BUFFER;
    } else {
        status = AcceptWrite(device, irp->AssociatedIrp.SystemBuffer, length);
    }
    CompleteIrp(irp, status, status == STATUS_SUCCESS ? length : 0);
    LeaveDevice(device, irp);
    return status;
}

void CancelReads(QV_DEVICE* device, const FILE_OBJECT* file) {
    LIST_ENTRY taken;
    KIRQL irql;
    IRP* irp;

    InitializeListHead(&taken);
    KeAcquireSpinLock(&device->lock, &irql);
    while ((irp = TakePendingRead(device, file)) != NULL) {
        irp->IoStatus.Information = 0;
        InsertTailList(&taken, &irp->Tail.Overlay.ListEntry);
    }
    KeReleaseSpinLock(&device->lock, irql);
    CompleteTakenReads(device, &taken, STATUS_CANCELLED);
}

NTSTATUS StartReadWrite(QV_DEVICE* device) {
    const ULONG capacity = ParameterNumber(device, QV_SAMPLE_ID_BUFFER_SIZE) * 1024;
    UCHAR* bytes = ExAllocatePoolWithTag(NonPagedPool, capacity, QV_POOL_TAG);
    KIRQL irql;
    if (bytes == NULL) return STATUS_INSUFFICIENT_RESOURCES;

    KeAcquireSpinLock(&device->lock, &irql);
    device->loopback = (QV_LOOPBACK){.bytes = bytes, .capacity = capacity};
    KeReleaseSpinLock(&device->lock, irql);
    return STATUS_SUCCESS;
}

void StopReadWrite(QV_DEVICE* device) {
    KIRQL irql;
    UCHAR* bytes;

    CancelReads(device, NULL);

    KeAcquireSpinLock(&device->lock, &irql);
    bytes = device->loopback.bytes;
    device->loopback = (QV_LOOPBACK){.bytes = NULL};
    KeReleaseSpinLock(&device->lock, irql);
    if (bytes != NULL) ExFreePoolWithTag(bytes, QV_POOL_TAG);
}
