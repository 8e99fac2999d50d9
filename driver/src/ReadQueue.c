// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The pending reads. Each waits in `waitingReads` until there is something for it, and goes from
// there to `servedReads`, with its outcome, to be completed in its turn. It holds the device all
// the time.
//
// Whoever takes a read out of its list completes it. Two might want to, and the exchange of the
// cancel routine decides between them: a read whose routine the system has cleared belongs to that
// routine, and stays in its list for it. A served read that completes at once has no cancel routine
// any more; one that is delayed keeps it until it completes.
//
// A read that finds nobody before it and something for it takes a short cut past both lists: it is
// completed in the dispatch routine without ever having been pending.
//
// Reads are completed without the lock, so only one thread at a time may do it, or they would
// overtake each other. A thread that finds another at work leaves its reads to that one. Programs
// send new reads as fast as old ones complete, so a thread stops after a number of them: what is
// left is for the clock.

#include "Device.h"

// How many reads a thread completes in a row. They may all be of other programs, and the request
// that the thread came with is kept waiting meanwhile.
#define QV_READS_IN_A_ROW 16

static DRIVER_CANCEL QvSampleCancelRead;

IRP* ReadOfEntry(LIST_ENTRY* entry) {
    return CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
}

QV_READ* NotesOfRead(IRP* irp) { return (QV_READ*)irp->Tail.Overlay.DriverContext; }

ULONG ReadLength(IRP* irp) { return IoGetCurrentIrpStackLocation(irp)->Parameters.Read.Length; }

// Called at DISPATCH_LEVEL with the system's cancel lock held.
static void NTAPI QvSampleCancelRead(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    KIRQL irql;

    IoReleaseCancelSpinLock(irp->CancelIrql);

    KeAcquireSpinLock(&device->lock, &irql);
    DropPacketOfRead(device, irp);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    KeReleaseSpinLock(&device->lock, irql);

    CompleteIrp(irp, STATUS_CANCELLED, 0);
    LeaveDevice(device, irp);
}

NTSTATUS QueueRead(QV_DEVICE* device, IRP* irp) {
    const NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return status;

    // Marked before it can be seen in the list: others may complete it at once.
    IoMarkIrpPending(irp);
    *NotesOfRead(irp) = (QV_READ){.due = 0};
    (void)IoSetCancelRoutine(irp, QvSampleCancelRead);
    if (irp->Cancel && IoSetCancelRoutine(irp, NULL) != NULL) {
        LeaveDevice(device, irp);
        return STATUS_CANCELLED;
    }
    // When the cancel routine is being called already, it waits for the lock and finds the read.
    InsertTailList(&device->waitingReads, &irp->Tail.Overlay.ListEntry);
    return STATUS_PENDING;
}

BOOLEAN BeginReadAtOnce(QV_DEVICE* device, IRP* irp) {
    if (device->isCompleting || AreReadsHeld(device) ||
        *NumberInPlace(device, QV_SAMPLE_ID_FAULT_DELAY) > 0 ||
        !IsListEmpty(&device->waitingReads) || !IsListEmpty(&device->servedReads)) {
        return FALSE;
    }
    *NotesOfRead(irp) = (QV_READ){.isAtOnce = TRUE};
    device->isCompleting = TRUE;
    return TRUE;
}

void CallOffReadAtOnce(QV_DEVICE* device) { device->isCompleting = FALSE; }

// When a read that is served now may complete: not before one that was served earlier.
static LONGLONG CompletionTime(QV_DEVICE* device, LONGLONG now) {
    const ULONG delayMs = *NumberInPlace(device, QV_SAMPLE_ID_FAULT_DELAY);
    const LONGLONG due = now + (LONGLONG)delayMs * (QV_SECOND / 1000);
    if (IsListEmpty(&device->servedReads)) return due;
    return max(due, NotesOfRead(ReadOfEntry(device->servedReads.Blink))->due);
}

BOOLEAN MoveToServed(QV_DEVICE* device, IRP* irp, LONGLONG now) {
    QV_READ* notes = NotesOfRead(irp);
    if (notes->isAtOnce) return TRUE;

    notes->due = CompletionTime(device, now);
    notes->isDelayed = notes->due > now;
    if (!notes->isDelayed && IoSetCancelRoutine(irp, NULL) == NULL) return FALSE;

    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    InsertTailList(&device->servedReads, &irp->Tail.Overlay.ListEntry);
    return TRUE;
}

// Takes the oldest served read if it is to be completed now, and null if there is none. One that is
// being cancelled holds up nobody, but its packet is dropped before a later one leaves the list,
// which has to tell of it. The lock is held.
static IRP* TakeServedRead(QV_DEVICE* device, LONGLONG now) {
    LIST_ENTRY* entry;
    for (entry = device->servedReads.Flink; entry != &device->servedReads; entry = entry->Flink) {
        IRP* irp = ReadOfEntry(entry);
        const QV_READ* notes = NotesOfRead(irp);
        if (notes->due > now) return NULL;
        if (notes->isDelayed && IoSetCancelRoutine(irp, NULL) == NULL) {
            DropPacketOfRead(device, irp);
            continue;
        }
        RemoveEntryList(entry);
        return irp;
    }
    return NULL;
}

static NTSTATUS CompleteRead(IRP* irp) {
    const ULONG_PTR bytes = irp->IoStatus.Information;
    if (NotesOfRead(irp)->holdsPacket) FillPayload(irp->AssociatedIrp.SystemBuffer, (ULONG)bytes);
    return CompleteIrp(irp, irp->IoStatus.Status, bytes);
}

NTSTATUS FinishReadAtOnce(QV_DEVICE* device, IRP* irp) {
    const NTSTATUS status = CompleteRead(irp);
    KIRQL irql;

    KeAcquireSpinLock(&device->lock, &irql);
    device->isCompleting = FALSE;
    KeReleaseSpinLock(&device->lock, irql);
    return status;
}

// Whether a thread that has completed so many reads goes on. Nobody would take over from it while
// the clock is stopped; by then the device takes no more reads, so there is an end. The lock is
// held.
static BOOLEAN MayCompleteMore(const QV_DEVICE* device, ULONG completed) {
    return completed < QV_READS_IN_A_ROW || device->clock.stopping;
}

void CompleteServedReads(QV_DEVICE* device) {
    KIRQL irql;
    BOOLEAN wakeClock = FALSE;

    KeAcquireSpinLock(&device->lock, &irql);
    if (!device->isCompleting) {
        ULONG completed = 0;
        IRP* irp;
        device->isCompleting = TRUE;
        while (MayCompleteMore(device, completed) &&
               (irp = TakeServedRead(device, CurrentTime())) != NULL) {
            ++completed;
            KeReleaseSpinLock(&device->lock, irql);
            (void)CompleteRead(irp);
            LeaveDevice(device, irp);
            KeAcquireSpinLock(&device->lock, &irql);
        }
        device->isCompleting = FALSE;
        wakeClock = ClockHasToWake(device);
    }
    KeReleaseSpinLock(&device->lock, irql);
    if (wakeClock) (void)KeSetEvent(&device->clock.wake, IO_NO_INCREMENT, /*Wait=*/FALSE);
}

// Moves the reads of one open handle, or all when `file` is null, from a list to `taken`, except
// for those that are being cancelled, or completed in a moment. The lock is held.
static void TakeReads(QV_DEVICE* device, LIST_ENTRY* reads, const FILE_OBJECT* file,
                      LIST_ENTRY* taken) {
    LIST_ENTRY* entry;
    LIST_ENTRY* next;
    for (entry = reads->Flink; entry != reads; entry = next) {
        IRP* irp = ReadOfEntry(entry);
        next = entry->Flink;
        if (file != NULL && IoGetCurrentIrpStackLocation(irp)->FileObject != file) continue;
        if (IoSetCancelRoutine(irp, NULL) == NULL) continue;
        DropPacketOfRead(device, irp);
        RemoveEntryList(entry);
        InsertTailList(taken, entry);
    }
}

void EndReads(QV_DEVICE* device, const FILE_OBJECT* file, NTSTATUS status) {
    LIST_ENTRY taken;
    KIRQL irql;

    InitializeListHead(&taken);
    KeAcquireSpinLock(&device->lock, &irql);
    TakeReads(device, &device->servedReads, file, &taken);
    TakeReads(device, &device->waitingReads, file, &taken);
    KeReleaseSpinLock(&device->lock, irql);

    while (!IsListEmpty(&taken)) {
        IRP* irp = ReadOfEntry(RemoveHeadList(&taken));
        CompleteIrp(irp, status, 0);
        LeaveDevice(device, irp);
    }
}
