// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Everything that matters to reads is done in the same way, under the lock: the reads are settled,
// the change is made, and they are settled again. Up to the moment of the change the old state
// holds, and afterwards the new one. The served reads are completed when the lock has been
// released.

#include "ReadWrite.h"

#include "CurrentTime.h"
#include "Irp.h"
#include "LateReads.h"
#include "Serving.h"

// Completes the reads that were served, and leaves to the clock what is not to be done here. IRQL
// <= DISPATCH_LEVEL, no lock held.
static void CompleteReads(QV_DEVICE* device) {
    CompleteServedReads(&device->reads);
    WakeClockInTime(&device->clock);
}

// Serves a read at once, or lets it wait until there is something for it. Returns as `QueueRead`
// does for a read that was not served at once. The lock is held.
static NTSTATUS AcceptRead(QV_DEVICE* device, IRP* irp, BOOLEAN* isServedAtOnce) {
    // Looked at again under the lock: a read must not slip into the list after a stop has emptied
    // it for good.
    NTSTATUS status = DeviceReadiness(device);
    const ULONG lateness = ParameterNumber(&device->parameters, QV_SAMPLE_ID_FAULT_IGNORE_CANCEL);
    if (!NT_SUCCESS(status)) return status;
    if (lateness > 0) return QueueLateRead(device, irp, (LONGLONG)lateness * (QV_SECOND / 1000));

    // What was due before this read is not for it.
    SettleReads(device);
    // Nor must it slip in when another thread has closed its handle.
    if (!BeginReading(&device->stream, IoGetCurrentIrpStackLocation(irp)->FileObject)) {
        return STATUS_FILE_CLOSED;
    }
    *isServedAtOnce = ServeReadAtOnce(device, irp);
    if (*isServedAtOnce) return STATUS_SUCCESS;

    status = QueueRead(&device->reads, irp);
    SettleReads(device);
    return status;
}

// Runs at PASSIVE_LEVEL. Buffered: the system buffer is as long as the read, and null for length 0.
NTSTATUS NTAPI QvSampleRead(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    BOOLEAN isServedAtOnce = FALSE;
    KIRQL irql;
    NTSTATUS status = EnterDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    if (ReadLength(irp) == 0) {
        status = STATUS_SUCCESS;
    } else if (irp->AssociatedIrp.SystemBuffer == NULL) {
        status = STATUS_INVALID_USER_BUFFER;
    } else if (IoGetCurrentIrpStackLocation(irp)->FileObject == NULL) {
        // Another driver sent it without opening the device; a stream belongs to open handles.
        status = STATUS_INVALID_HANDLE;
    } else {
        KeAcquireSpinLock(&device->lock, &irql);
        status = AcceptRead(device, irp, &isServedAtOnce);
        KeReleaseSpinLock(&device->lock, irql);
    }

    if (isServedAtOnce) {
        status = FinishReadAtOnce(&device->reads, irp);
    } else if (status != STATUS_PENDING) {
        // A read that waits has a hold of its own on the device, and may be gone by now.
        CompleteIrp(irp, status, 0);
    }
    CompleteReads(device);
    LeaveDevice(device, irp);
    // A read that was marked as pending has to return so, though it has been completed.
    return status == STATUS_CANCELLED && !isServedAtOnce ? STATUS_PENDING : status;
}

// Takes a write as a whole or not at all. Pending reads are not counted as room: any of them may be
// cancelled at any moment, and then their share must still fit.
static NTSTATUS AcceptWrite(QV_DEVICE* device, const UCHAR* bytes, ULONG count) {
    QV_LOOPBACK* loopback = &device->loopback;
    KIRQL irql;
    NTSTATUS status;

    KeAcquireSpinLock(&device->lock, &irql);
    status = DeviceReadiness(device);
    if (NT_SUCCESS(status)) {
        if (count > loopback->capacity) {
            status = STATUS_INVALID_BUFFER_SIZE;
        } else if (count > loopback->capacity - loopback->count) {
            status = STATUS_DEVICE_BUSY;
        } else {
            PutBytes(loopback, bytes, count);
            SettleReads(device);
        }
    }
    KeReleaseSpinLock(&device->lock, irql);
    CompleteReads(device);
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

NTSTATUS ChangeParameters(QV_DEVICE* device, const QV_PARAMETER_RECORD* records, ULONG count) {
    KIRQL irql;
    // The records are the driver's own copy: what has been checked cannot change any more.
    NTSTATUS status = CheckParameters(records, count);
    if (!NT_SUCCESS(status)) return status;

    KeAcquireSpinLock(&device->lock, &irql);
    // Looked at again under the lock: no packet may become due on a device that has stopped.
    status = DeviceReadiness(device);
    if (NT_SUCCESS(status)) {
        SettleReads(device);
        ApplyParameters(&device->parameters, records, count);
        FollowPacketRate(device);
        SettleReads(device);
    }
    KeReleaseSpinLock(&device->lock, irql);
    CompleteReads(device);
    return status;
}

void LeaveStream(QV_DEVICE* device, FILE_OBJECT* file) {
    LIST_ENTRY taken;
    KIRQL irql;

    // Under one lock: a stream never begins while a read of an earlier one is waiting.
    KeAcquireSpinLock(&device->lock, &irql);
    TakeReadsOfHandle(&device->reads, file, &taken);
    EndReading(&device->stream, file);
    KeReleaseSpinLock(&device->lock, irql);

    EndTakenReads(&device->reads, &taken, STATUS_CANCELLED);
}

// The clock has been woken: a packet has become due, a delayed read is to complete, or a request
// has left reads over.
static void WorkOnTime(void* owner) {
    QV_DEVICE* device = owner;
    KIRQL irql;

    KeAcquireSpinLock(&device->lock, &irql);
    SettleReads(device);
    KeReleaseSpinLock(&device->lock, irql);
    CompleteServedReads(&device->reads);
    CompleteLateReads(device);
}

static LONGLONG NextWorkTime(void* owner) {
    const LONGLONG late = NextLateReadTime(owner);
    return min(late, NextReadTime(owner));
}

void InitializeReadWrite(QV_DEVICE* device) {
    static const QV_CLOCK_CALLS kClockCalls = {.work = WorkOnTime, .nextTime = NextWorkTime};
    InitializeReadQueue(&device->reads, &device->lock, &device->removeLock, &kServingCalls, device);
    InitializeListHead(&device->lateReads);
    InitializeClock(&device->clock, &device->lock, &kClockCalls, device);
}

NTSTATUS StartReadWrite(QV_DEVICE* device) {
    KIRQL irql;
    NTSTATUS status;
    UCHAR* bytes;
    ULONG capacity;

    KeAcquireSpinLock(&device->lock, &irql);
    capacity = ParameterNumber(&device->parameters, QV_SAMPLE_ID_BUFFER_SIZE) * 1024;
    KeReleaseSpinLock(&device->lock, irql);

    bytes = ExAllocatePoolWithTag(NonPagedPoolNx, capacity, QV_POOL_TAG);
    if (bytes == NULL) return STATUS_INSUFFICIENT_RESOURCES;

    KeAcquireSpinLock(&device->lock, &irql);
    device->loopback = (QV_LOOPBACK){.bytes = bytes, .capacity = capacity};
    // A stream goes on when its device was only stopped.
    FollowPacketRate(device);
    OpenReadQueue(&device->reads);
    KeReleaseSpinLock(&device->lock, irql);

    status = StartClock(&device->clock);
    if (!NT_SUCCESS(status)) StopReadWrite(device, STATUS_CANCELLED);
    return status;
}

void StopReadWrite(QV_DEVICE* device, NTSTATUS status) {
    KIRQL irql;
    UCHAR* bytes;

    // In this order: the clock completes what is left in the closed queue before it ends.
    CloseReadQueue(&device->reads, status);
    EndLateReads(device, status);
    StopClock(&device->clock);

    KeAcquireSpinLock(&device->lock, &irql);
    bytes = device->loopback.bytes;
    device->loopback = (QV_LOOPBACK){.bytes = NULL};
    // No packet is due while the device is stopped.
    SetPacketRate(&device->stream, 0);
    KeReleaseSpinLock(&device->lock, irql);
    if (bytes != NULL) ExFreePoolWithTag(bytes, QV_POOL_TAG);
}
