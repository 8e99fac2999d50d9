// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Each pending read is in `waiting` until there is something for it. It goes from there to
// `served`, with its outcome, and is completed in its turn.
//
// The thread that takes a read out of its list completes it. Two threads may want to, and the
// exchange of the cancel routine decides: when the system has cleared the routine, the read belongs
// to that routine and stays in its list for it, or alone when its handle is closed meanwhile. A
// served read without a delay has no cancel routine any more. One with a delay keeps it until it
// completes.
//
// A read that finds no other before it and something for it takes a short cut past both lists: it
// is completed in the dispatch routine and was never pending.
//
// Reads are completed without the lock, so only one thread at a time may do it, or they would
// overtake each other. A thread that finds another at work leaves its reads to that one. Programs
// may send new reads as fast as old ones complete, so a thread stops after a number of reads.

#include "ReadQueue.h"

#include "CurrentTime.h"
#include "Irp.h"

// How many reads a thread completes in a row. They may all be of other programs, and the request
// that the thread came with has to wait meanwhile.
#define QV_READS_IN_A_ROW 16

static DRIVER_CANCEL QvSampleCancelRead;

void InitializeReadQueue(QV_READ_QUEUE* queue, KSPIN_LOCK* lock, IO_REMOVE_LOCK* removeLock,
                         const QV_READ_CALLS* calls, void* owner) {
    queue->calls = calls;
    queue->owner = owner;
    queue->removeLock = removeLock;
    queue->lock = lock;
    InitializeListHead(&queue->waiting);
    InitializeListHead(&queue->served);
    queue->isCompleting = FALSE;
    queue->isClosed = TRUE;
}

void OpenReadQueue(QV_READ_QUEUE* queue) { queue->isClosed = FALSE; }

static IRP* ReadOfEntry(LIST_ENTRY* entry) {
    return CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
}

// The read that an entry of a list belongs to, or null for the list's head.
static IRP* ReadInList(const LIST_ENTRY* list, LIST_ENTRY* entry) {
    return entry == list ? NULL : ReadOfEntry(entry);
}

IRP* FirstWaitingRead(const QV_READ_QUEUE* queue) {
    return ReadInList(&queue->waiting, queue->waiting.Flink);
}

IRP* NextWaitingRead(const QV_READ_QUEUE* queue, IRP* irp) {
    return ReadInList(&queue->waiting, irp->Tail.Overlay.ListEntry.Flink);
}

IRP* NextServedRead(const QV_READ_QUEUE* queue, IRP* irp) {
    return ReadInList(&queue->served, irp->Tail.Overlay.ListEntry.Flink);
}

QV_READ* NotesOfRead(IRP* irp) { return (QV_READ*)irp->Tail.Overlay.DriverContext; }

ULONG ReadLength(IRP* irp) { return IoGetCurrentIrpStackLocation(irp)->Parameters.Read.Length; }

// Called at DISPATCH_LEVEL with the system's cancel lock held.
static void NTAPI QvSampleCancelRead(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_READ_QUEUE* queue = NotesOfRead(irp)->queue;
    KIRQL irql;
    UNREFERENCED_PARAMETER(deviceObject);

    IoReleaseCancelSpinLock(irp->CancelIrql);

    KeAcquireSpinLock(queue->lock, &irql);
    queue->calls->takeBack(queue->owner, irp);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    KeReleaseSpinLock(queue->lock, irql);

    CompleteIrp(irp, STATUS_CANCELLED, 0);
    IoReleaseRemoveLock(queue->removeLock, irp);
}

NTSTATUS QueueRead(QV_READ_QUEUE* queue, IRP* irp) {
    const NTSTATUS status = IoAcquireRemoveLock(queue->removeLock, irp);
    if (!NT_SUCCESS(status)) return status;

    // Marked before it can be seen in the list: others may complete it at once.
    IoMarkIrpPending(irp);
    *NotesOfRead(irp) = (QV_READ){.queue = queue};
    (void)IoSetCancelRoutine(irp, QvSampleCancelRead);
    if (irp->Cancel && IoSetCancelRoutine(irp, NULL) != NULL) {
        IoReleaseRemoveLock(queue->removeLock, irp);
        return STATUS_CANCELLED;
    }
    // When the cancel routine is being called already, it waits for the lock and finds the read.
    InsertTailList(&queue->waiting, &irp->Tail.Overlay.ListEntry);
    return STATUS_PENDING;
}

BOOLEAN BeginReadAtOnce(QV_READ_QUEUE* queue, IRP* irp) {
    if (queue->isCompleting || !IsListEmpty(&queue->waiting) || !IsListEmpty(&queue->served)) {
        return FALSE;
    }
    *NotesOfRead(irp) = (QV_READ){.queue = queue, .isAtOnce = TRUE};
    queue->isCompleting = TRUE;
    return TRUE;
}

void CallOffReadAtOnce(QV_READ_QUEUE* queue) { queue->isCompleting = FALSE; }

// When a read that is served now may complete: not before one that was served earlier.
static LONGLONG CompletionTime(const QV_READ_QUEUE* queue, LONGLONG now, LONGLONG delay) {
    const LONGLONG due = now + delay;
    if (IsListEmpty(&queue->served)) return due;
    return max(due, NotesOfRead(ReadOfEntry(queue->served.Blink))->due);
}

BOOLEAN MoveToServed(QV_READ_QUEUE* queue, IRP* irp, LONGLONG now, LONGLONG delay) {
    QV_READ* notes = NotesOfRead(irp);
    if (notes->isAtOnce) return TRUE;

    notes->due = CompletionTime(queue, now, delay);
    notes->isDelayed = notes->due > now;
    if (!notes->isDelayed && IoSetCancelRoutine(irp, NULL) == NULL) return FALSE;

    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    InsertTailList(&queue->served, &irp->Tail.Overlay.ListEntry);
    return TRUE;
}

// Takes the oldest served read if it is to be completed now, and returns null if there is none. A
// read that is being cancelled holds up no other, but what it was given is taken back before a
// later one leaves the list. The lock is held.
static IRP* TakeServedRead(QV_READ_QUEUE* queue, LONGLONG now) {
    LIST_ENTRY* entry;
    for (entry = queue->served.Flink; entry != &queue->served; entry = entry->Flink) {
        IRP* irp = ReadOfEntry(entry);
        const QV_READ* notes = NotesOfRead(irp);
        if (notes->due > now) return NULL;
        if (notes->isDelayed && IoSetCancelRoutine(irp, NULL) == NULL) {
            queue->calls->takeBack(queue->owner, irp);
            continue;
        }
        RemoveEntryList(entry);
        return irp;
    }
    return NULL;
}

static NTSTATUS CompleteRead(const QV_READ_QUEUE* queue, IRP* irp) {
    queue->calls->fill(irp);
    return CompleteIrp(irp, irp->IoStatus.Status, irp->IoStatus.Information);
}

NTSTATUS FinishReadAtOnce(QV_READ_QUEUE* queue, IRP* irp) {
    const NTSTATUS status = CompleteRead(queue, irp);
    KIRQL irql;

    KeAcquireSpinLock(queue->lock, &irql);
    queue->isCompleting = FALSE;
    KeReleaseSpinLock(queue->lock, irql);
    return status;
}

// Whether a thread that has completed so many reads goes on. With a closed queue it does: no
// thread would take over the rest, and no new reads come, so there is an end. The lock is held.
static BOOLEAN MayCompleteMore(const QV_READ_QUEUE* queue, ULONG completed) {
    return completed < QV_READS_IN_A_ROW || queue->isClosed;
}

void CompleteServedReads(QV_READ_QUEUE* queue) {
    KIRQL irql;

    KeAcquireSpinLock(queue->lock, &irql);
    if (!queue->isCompleting) {
        ULONG completed = 0;
        IRP* irp;
        queue->isCompleting = TRUE;
        while (MayCompleteMore(queue, completed) &&
               (irp = TakeServedRead(queue, CurrentTime())) != NULL) {
            ++completed;
            KeReleaseSpinLock(queue->lock, irql);
            (void)CompleteRead(queue, irp);
            IoReleaseRemoveLock(queue->removeLock, irp);
            KeAcquireSpinLock(queue->lock, &irql);
        }
        queue->isCompleting = FALSE;
    }
    KeReleaseSpinLock(queue->lock, irql);
}

LONGLONG NextServedTime(const QV_READ_QUEUE* queue) {
    if (queue->isCompleting || IsListEmpty(&queue->served)) return QV_NEVER;
    return NotesOfRead(ReadOfEntry(queue->served.Flink))->due;
}

// Moves the reads of one handle, or all when `file` is null, from a list to `taken`. Served reads
// without a delay stay. Reads that are being cancelled leave the list, too: a stream that begins
// afterwards must neither serve them nor count what they held. The lock is held.
static void TakeReads(QV_READ_QUEUE* queue, LIST_ENTRY* reads, const FILE_OBJECT* file,
                      LIST_ENTRY* taken) {
    LIST_ENTRY* entry;
    LIST_ENTRY* next;
    for (entry = reads->Flink; entry != reads; entry = next) {
        IRP* irp = ReadOfEntry(entry);
        next = entry->Flink;
        if (file != NULL && IoGetCurrentIrpStackLocation(irp)->FileObject != file) continue;
        if (reads == &queue->served && !NotesOfRead(irp)->isDelayed) continue;
        queue->calls->takeBack(queue->owner, irp);
        RemoveEntryList(entry);
        if (IoSetCancelRoutine(irp, NULL) != NULL) {
            InsertTailList(taken, entry);
        } else {
            // The cancel routine is about to remove it from its list once more.
            InitializeListHead(entry);
        }
    }
}

void TakeReadsOfHandle(QV_READ_QUEUE* queue, const FILE_OBJECT* file, LIST_ENTRY* taken) {
    InitializeListHead(taken);
    TakeReads(queue, &queue->served, file, taken);
    TakeReads(queue, &queue->waiting, file, taken);
}

void EndTakenReads(QV_READ_QUEUE* queue, LIST_ENTRY* taken, NTSTATUS status) {
    while (!IsListEmpty(taken)) {
        IRP* irp = ReadOfEntry(RemoveHeadList(taken));
        CompleteIrp(irp, status, 0);
        IoReleaseRemoveLock(queue->removeLock, irp);
    }
}

void CloseReadQueue(QV_READ_QUEUE* queue, NTSTATUS status) {
    LIST_ENTRY taken;
    KIRQL irql;

    KeAcquireSpinLock(queue->lock, &irql);
    queue->isClosed = TRUE;
    TakeReadsOfHandle(queue, /*file=*/NULL, &taken);
    KeReleaseSpinLock(queue->lock, irql);

    EndTakenReads(queue, &taken, status);
}
