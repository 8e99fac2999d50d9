// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Read and write requests, and what a read gets: a packet, bytes of the loop-back, or a fault.

#include "Device.h"

// Gives a read its outcome, without completing it. The lock is held.
static void SetOutcome(IRP* irp, NTSTATUS status, ULONG_PTR bytes) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
}

// What comes of trying to serve a read.
typedef enum QV_SERVING {
    QvServed,          // It is among the served reads now.
    QvBeingCancelled,  // It stays where it is, and is nobody's business any more.
    QvNothingThere     // It goes on waiting, and so do all reads behind it.
} QV_SERVING;

static QV_SERVING FailRead(QV_DEVICE* device, IRP* irp, LONGLONG now, NTSTATUS status) {
    if (!MoveToServed(device, irp, now)) return QvBeingCancelled;

    SetOutcome(irp, status, 0);
    return QvServed;
}

static QV_SERVING ServeBytes(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    ULONG bytes;
    if (device->loopback.count == 0) return QvNothingThere;
    if (!MoveToServed(device, irp, now)) return QvBeingCancelled;

    bytes = TakeBytes(&device->loopback, irp->AssociatedIrp.SystemBuffer, ReadLength(irp));
    SetOutcome(irp, STATUS_SUCCESS, bytes);
    return QvServed;
}

static QV_SERVING ServePacket(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    ULONG* shortReads = NumberInPlace(device, QV_SAMPLE_ID_FAULT_SHORT_READS);
    ULONG bytes;
    if (ReadLength(irp) < *NumberInPlace(device, QV_SAMPLE_ID_PACKET_SIZE)) {
        return FailRead(device, irp, now, STATUS_BUFFER_TOO_SMALL);
    }
    if (!IsPacketDue(device, now)) return QvNothingThere;
    if (!MoveToServed(device, irp, now)) return QvBeingCancelled;

    bytes = TakePacket(device, irp->AssociatedIrp.SystemBuffer, now);
    NotesOfRead(irp)->holdsPacket = TRUE;
    if (*shortReads > 0) {
        --*shortReads;
        bytes /= 2;
    }
    SetOutcome(irp, STATUS_SUCCESS, bytes);
    return QvServed;
}

static QV_SERVING ServeRead(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    ULONG* failReads = NumberInPlace(device, QV_SAMPLE_ID_FAULT_FAIL_READS);
    if (*failReads > 0) {
        const QV_SERVING serving =
            FailRead(device, irp, now, (NTSTATUS)*NumberInPlace(device, QV_SAMPLE_ID_FAULT_STATUS));
        if (serving == QvServed) --*failReads;
        return serving;
    }
    if (*NumberInPlace(device, QV_SAMPLE_ID_STREAM_MODE) == QV_SAMPLE_MODE_LOOP_BACK) {
        return ServeBytes(device, irp, now);
    }
    return ServePacket(device, irp, now);
}

static void ServeWaitingReads(QV_DEVICE* device, LONGLONG now) {
    LIST_ENTRY* entry;
    LIST_ENTRY* next;
    for (entry = device->waitingReads.Flink; entry != &device->waitingReads; entry = next) {
        next = entry->Flink;
        if (ServeRead(device, ReadOfEntry(entry), now) == QvNothingThere) return;
    }
}

BOOLEAN AreReadsHeld(QV_DEVICE* device) {
    return *NumberInPlace(device, QV_SAMPLE_ID_FAULT_HOLD) != 0;
}

void SettleReads(QV_DEVICE* device) {
    const LONGLONG now = CurrentTime();
    if (!AreReadsHeld(device)) ServeWaitingReads(device, now);
    DropDuePackets(device, now);
}

// Serves a read that need not wait. Answers false when it has to. The lock is held.
static BOOLEAN ServeReadAtOnce(QV_DEVICE* device, IRP* irp) {
    if (!BeginReadAtOnce(device, irp)) return FALSE;
    if (ServeRead(device, irp, CurrentTime()) == QvServed) return TRUE;

    CallOffReadAtOnce(device);
    return FALSE;
}

// Serves a read at once, or lets it wait until there is something for it. Answers as `QueueRead`
// does for a read that was not served at once.
static NTSTATUS AcceptRead(QV_DEVICE* device, IRP* irp, BOOLEAN* isServedAtOnce) {
    KIRQL irql;
    NTSTATUS status;

    KeAcquireSpinLock(&device->lock, &irql);
    // Looked at again under the lock: a read must not slip into the list behind the one who has
    // just emptied it for good.
    status = DeviceReadiness(device);
    if (NT_SUCCESS(status)) {
        // What was due before this read is not for it.
        SettleReads(device);
        BeginReading(device, IoGetCurrentIrpStackLocation(irp)->FileObject);
        *isServedAtOnce = ServeReadAtOnce(device, irp);
        if (!*isServedAtOnce) {
            status = QueueRead(device, irp);
            SettleReads(device);
        }
    }
    KeReleaseSpinLock(&device->lock, irql);
    return status;
}

// Runs at PASSIVE_LEVEL. Buffered: the system buffer is as long as the read, and null for length 0.
NTSTATUS NTAPI QvSampleRead(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    BOOLEAN isServedAtOnce = FALSE;
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
        status = AcceptRead(device, irp, &isServedAtOnce);
    }

    if (isServedAtOnce) {
        status = FinishReadAtOnce(device, irp);
    } else if (status != STATUS_PENDING) {
        // A read that waits has a hold of its own on the device, and may be gone by now.
        CompleteIrp(irp, status, 0);
    }
    CompleteServedReads(device);
    LeaveDevice(device, irp);
    // A read that was marked as pending has to be answered so, though it has been completed.
    return status == STATUS_CANCELLED && !isServedAtOnce ? STATUS_PENDING : status;
}

// Takes a write as a whole or not at all. Pending reads are not counted as room: any of them may be
// cancelled at any moment, and then their share must still fit.
static NTSTATUS AcceptWrite(QV_DEVICE* device, const UCHAR* bytes, ULONG count) {
    KIRQL irql;
    NTSTATUS status;

    KeAcquireSpinLock(&device->lock, &irql);
    status = DeviceReadiness(device);
    if (NT_SUCCESS(status)) {
        if (count > device->loopback.capacity) {
            status = STATUS_INVALID_BUFFER_SIZE;
        } else if (count > device->loopback.capacity - device->loopback.count) {
            status = STATUS_DEVICE_BUSY;
        } else {
            PutBytes(&device->loopback, bytes, count);
            SettleReads(device);
        }
    }
    KeReleaseSpinLock(&device->lock, irql);
    CompleteServedReads(device);
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

NTSTATUS StartReadWrite(QV_DEVICE* device) {
    const ULONG capacity = ParameterNumber(device, QV_SAMPLE_ID_BUFFER_SIZE) * 1024;
    KIRQL irql;
    NTSTATUS status;
    UCHAR* bytes = ExAllocatePoolWithTag(NonPagedPoolNx, capacity, QV_POOL_TAG);
    if (bytes == NULL) return STATUS_INSUFFICIENT_RESOURCES;

    KeAcquireSpinLock(&device->lock, &irql);
    device->loopback = (QV_LOOPBACK){.bytes = bytes, .capacity = capacity};
    // A stream goes on when its device was only stopped.
    FollowPacketRate(device);
    KeReleaseSpinLock(&device->lock, irql);

    status = StartClock(device);
    if (!NT_SUCCESS(status)) StopReadWrite(device, STATUS_CANCELLED);
    return status;
}

void StopReadWrite(QV_DEVICE* device, NTSTATUS status) {
    KIRQL irql;
    UCHAR* bytes;

    EndReads(device, NULL, status);
    StopClock(device);

    KeAcquireSpinLock(&device->lock, &irql);
    bytes = device->loopback.bytes;
    device->loopback = (QV_LOOPBACK){.bytes = NULL};
    // No packet is due while the device is stopped.
    device->stream.rate = 0;
    KeReleaseSpinLock(&device->lock, irql);
    if (bytes != NULL) ExFreePoolWithTag(bytes, QV_POOL_TAG);
}
