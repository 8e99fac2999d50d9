// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The pending reads of a device: waiting, cancelling, completing in order. What a read gets is not
// known here; the owner of the queue decides.

#ifndef QVSAMPLE_READQUEUE_H
#define QVSAMPLE_READQUEUE_H

#include "Kernel.h"

// What a queue asks of its owner.
typedef struct QV_READ_CALLS {
    // A served read ends without what it was given. The lock is held.
    void (*takeBack)(void* owner, IRP* irp);
    // Completes the contents of a served read's buffer. IRQL <= DISPATCH_LEVEL, no lock held.
    void (*fill)(IRP* irp);
} QV_READ_CALLS;

typedef struct QV_READ_QUEUE {
    const QV_READ_CALLS* calls;
    void* owner;
    IO_REMOVE_LOCK* removeLock;  // Held by each pending read, so that its device stays.

    // Guards everything below. Taken at any IRQL up to DISPATCH_LEVEL.
    KSPIN_LOCK* lock;
    LIST_ENTRY waiting;    // Of IRPs, oldest first, linked by Tail.Overlay.ListEntry.
    LIST_ENTRY served;     // Likewise: their outcome is in IoStatus, and they are to complete.
    BOOLEAN isCompleting;  // A thread completes reads; no other may, to keep their order.
    BOOLEAN isClosed;      // No read comes any more, and no thread takes over reads that are left.
} QV_READ_QUEUE;

// What is noted in a pending read, in the part of an IRP that belongs to its driver.
typedef struct QV_READ {
    QV_READ_QUEUE* queue;
    LONGLONG due;       // When a served read may be completed.
    BOOLEAN isDelayed;  // A served read that waits for that time, and can be cancelled until then.
    BOOLEAN isAtOnce;   // A read that never waits: it is in no list, and cannot be cancelled.
    BOOLEAN holdsPacket;  // For the owner: the buffer begins with a packet's header.
} QV_READ;

C_ASSERT(sizeof(QV_READ) <= RTL_FIELD_SIZE(IRP, Tail.Overlay.DriverContext));

// The queue is closed until `OpenReadQueue`. `lock` and `removeLock` have to live as long as it.
void InitializeReadQueue(QV_READ_QUEUE* queue, KSPIN_LOCK* lock, IO_REMOVE_LOCK* removeLock,
                         const QV_READ_CALLS* calls, void* owner);

// From now on threads may leave reads over: somebody calls `CompleteServedReads` for the rest. The
// lock is held.
void OpenReadQueue(QV_READ_QUEUE* queue);

// Ends all pending reads with `status`. The owner lets no new ones in. From now on whoever
// completes reads goes on to the last one. May be called again. IRQL <= DISPATCH_LEVEL, no lock
// held.
void CloseReadQueue(QV_READ_QUEUE* queue, NTSTATUS status);

// Moves the pending reads of one handle, or all when `file` is null, to `taken`, out of turn, for
// `EndTakenReads`. What they were given is taken back. Only served reads without a delay go on to
// their completion. The lock is held.
void TakeReadsOfHandle(QV_READ_QUEUE* queue, const FILE_OBJECT* file, LIST_ENTRY* taken);

// Ends reads that were taken. IRQL <= DISPATCH_LEVEL, no lock held.
void EndTakenReads(QV_READ_QUEUE* queue, LIST_ENTRY* taken, NTSTATUS status);

QV_READ* NotesOfRead(IRP* irp);
ULONG ReadLength(IRP* irp);

// Marks a read as pending and lets it wait behind all others. Returns STATUS_PENDING, and the read
// must not be touched any more; or why it does not wait. A read with STATUS_CANCELLED was marked as
// pending all the same. The lock is held.
NTSTATUS QueueRead(QV_READ_QUEUE* queue, IRP* irp);

// The oldest waiting read, and the one behind a waiting read. Null when there is none. The lock is
// held.
IRP* FirstWaitingRead(const QV_READ_QUEUE* queue);
IRP* NextWaitingRead(const QV_READ_QUEUE* queue, IRP* irp);

// The read behind a served read. Null when there is none. The lock is held.
IRP* NextServedRead(const QV_READ_QUEUE* queue, IRP* irp);

// Moves a waiting read to the served ones, to be completed after `delay`. Returns false, and leaves
// the read alone, when it is being cancelled. The caller sets the outcome at once, in IoStatus. The
// lock is held.
BOOLEAN MoveToServed(QV_READ_QUEUE* queue, IRP* irp, LONGLONG now, LONGLONG delay);

// Whether a new read may be served and completed without waiting: no other is before it. The caller
// then serves it and calls `FinishReadAtOnce`, or calls this off. The lock is held.
BOOLEAN BeginReadAtOnce(QV_READ_QUEUE* queue, IRP* irp);
void CallOffReadAtOnce(QV_READ_QUEUE* queue);

// Completes a read for which `BeginReadAtOnce` returned true, and returns its status. Others may
// have come up behind it meanwhile, for `CompleteServedReads`. IRQL <= DISPATCH_LEVEL, no lock
// held.
NTSTATUS FinishReadAtOnce(QV_READ_QUEUE* queue, IRP* irp);

// Completes served reads whose time has come, in their order. The number is limited, however fast
// new reads come, unless the queue is closed. `NextServedTime` shows what is left over. IRQL <=
// DISPATCH_LEVEL, no lock held. The caller sees to it that the device stays.
void CompleteServedReads(QV_READ_QUEUE* queue);

// When the next served read is to be completed, or QV_NEVER. The thread that completes reads at the
// moment looks here afterwards, so the time is QV_NEVER meanwhile. The lock is held.
LONGLONG NextServedTime(const QV_READ_QUEUE* queue);

#endif
