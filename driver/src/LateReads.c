// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// These reads have no cancel routine. So the system can't end them, and whoever finds one in the
// list under the lock may complete it.

#include "LateReads.h"

#include "CurrentTime.h"
#include "Irp.h"

static IRP* ReadOfEntry(LIST_ENTRY* entry) {
    return CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
}

// When the read is to be completed, in the part of an IRP that belongs to its driver.
static LONGLONG* DueTime(IRP* irp) { return (LONGLONG*)irp->Tail.Overlay.DriverContext; }

NTSTATUS QueueLateRead(QV_DEVICE* device, IRP* irp, LONGLONG delay) {
    const NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return status;

    IoMarkIrpPending(irp);
    *DueTime(irp) = CurrentTime() + delay;
    InsertTailList(&device->lateReads, &irp->Tail.Overlay.ListEntry);
    return STATUS_PENDING;
}

LONGLONG NextLateReadTime(const QV_DEVICE* device) {
    LONGLONG next = QV_NEVER;
    LIST_ENTRY* entry;
    for (entry = device->lateReads.Flink; entry != &device->lateReads; entry = entry->Flink) {
        next = min(next, *DueTime(ReadOfEntry(entry)));
    }
    return next;
}

// Moves the reads that are due at a time to `taken`.
static void TakeLateReads(QV_DEVICE* device, LONGLONG now, LIST_ENTRY* taken) {
    KIRQL irql;
    LIST_ENTRY* entry;
    LIST_ENTRY* next;

    InitializeListHead(taken);
    KeAcquireSpinLock(&device->lock, &irql);
    for (entry = device->lateReads.Flink; entry != &device->lateReads; entry = next) {
        next = entry->Flink;
        if (*DueTime(ReadOfEntry(entry)) > now) continue;
        RemoveEntryList(entry);
        InsertTailList(taken, entry);
    }
    KeReleaseSpinLock(&device->lock, irql);
}

static void EndLateRead(QV_DEVICE* device, IRP* irp, NTSTATUS status, ULONG bytes) {
    CompleteIrp(irp, status, bytes);
    LeaveDevice(device, irp);
}

void CompleteLateReads(QV_DEVICE* device) {
    LIST_ENTRY taken;
    TakeLateReads(device, CurrentTime(), &taken);
    while (!IsListEmpty(&taken)) {
        IRP* irp = ReadOfEntry(RemoveHeadList(&taken));
        const ULONG length = IoGetCurrentIrpStackLocation(irp)->Parameters.Read.Length;
        RtlFillMemory(irp->AssociatedIrp.SystemBuffer, length, QV_SAMPLE_LATE_BYTE);
        EndLateRead(device, irp, STATUS_SUCCESS, length);
    }
}

void EndLateReads(QV_DEVICE* device, NTSTATUS status) {
    LIST_ENTRY taken;
    TakeLateReads(device, QV_NEVER, &taken);
    while (!IsListEmpty(&taken)) {
        EndLateRead(device, ReadOfEntry(RemoveHeadList(&taken)), status, 0);
    }
}
