// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Clock.h"

#include "CurrentTime.h"

static KSTART_ROUTINE ClockThread;

void InitializeClock(QV_CLOCK* clock, KSPIN_LOCK* lock, const QV_CLOCK_CALLS* calls, void* owner) {
    clock->calls = calls;
    clock->owner = owner;
    clock->thread = NULL;
    KeInitializeEvent(&clock->wake, SynchronizationEvent, FALSE);
    clock->lock = lock;
    clock->isStopping = FALSE;
    clock->sleepsUntil = 0;
}

// Works once. Stores how long to sleep afterwards, and returns false when the thread is to end.
static BOOLEAN RunClock(QV_CLOCK* clock, LONGLONG* sleep) {
    KIRQL irql;
    BOOLEAN isStopping;

    KeAcquireSpinLock(clock->lock, &irql);
    // Looked at before the work, so that work is done after the stop was asked for.
    isStopping = clock->isStopping;
    clock->sleepsUntil = 0;
    KeReleaseSpinLock(clock->lock, irql);

    clock->calls->work(clock->owner);

    KeAcquireSpinLock(clock->lock, &irql);
    clock->sleepsUntil = clock->calls->nextTime(clock->owner);
    *sleep = clock->sleepsUntil == QV_NEVER ? QV_NEVER : clock->sleepsUntil - CurrentTime();
    KeReleaseSpinLock(clock->lock, irql);
    return !isStopping;
}

static void NTAPI ClockThread(void* context) {
    QV_CLOCK* clock = context;
    LONGLONG sleep;

    while (RunClock(clock, &sleep)) {
        // A negative time counts from now.
        LARGE_INTEGER timeout;
        timeout.QuadPart = -max(sleep, 0);
        (void)KeWaitForSingleObject(&clock->wake, Executive, KernelMode, /*Alertable=*/FALSE,
                                    sleep == QV_NEVER ? NULL : &timeout);
    }
    (void)PsTerminateSystemThread(STATUS_SUCCESS);
}

NTSTATUS StartClock(QV_CLOCK* clock) {
    OBJECT_ATTRIBUTES attributes;
    HANDLE handle;
    NTSTATUS status;

    clock->isStopping = FALSE;
    clock->sleepsUntil = 0;
    InitializeObjectAttributes(&attributes, NULL, OBJ_KERNEL_HANDLE, NULL, NULL);
    status =
        PsCreateSystemThread(&handle, SYNCHRONIZE, &attributes, NULL, NULL, ClockThread, clock);
    if (!NT_SUCCESS(status)) return status;

    // The handle was made just now: this cannot fail, and must not, with the thread running. The
    // type need not be named in kernel mode; mingw-w64's declaration of `PsThreadType` is not that
    // of the data that the kernel exports.
    status = ObReferenceObjectByHandle(handle, SYNCHRONIZE, /*ObjectType=*/NULL, KernelMode,
                                       &clock->thread, NULL);
    NT_ASSERT(NT_SUCCESS(status));
    (void)ZwClose(handle);
    return status;
}

void StopClock(QV_CLOCK* clock) {
    KIRQL irql;
    if (clock->thread == NULL) return;

    KeAcquireSpinLock(clock->lock, &irql);
    clock->isStopping = TRUE;
    KeReleaseSpinLock(clock->lock, irql);

    // The thread runs the driver's code: it has to be gone before the driver may be unloaded.
    (void)KeSetEvent(&clock->wake, IO_NO_INCREMENT, /*Wait=*/FALSE);
    (void)KeWaitForSingleObject(clock->thread, Executive, KernelMode, /*Alertable=*/FALSE, NULL);
    ObDereferenceObject(clock->thread);
    clock->thread = NULL;
}

void WakeClockInTime(QV_CLOCK* clock) {
    KIRQL irql;
    BOOLEAN sleepsTooLong;

    KeAcquireSpinLock(clock->lock, &irql);
    sleepsTooLong = clock->calls->nextTime(clock->owner) < clock->sleepsUntil;
    // It counts as awake from now on, so that it is woken once only.
    if (sleepsTooLong) clock->sleepsUntil = 0;
    KeReleaseSpinLock(clock->lock, irql);
    if (sleepsTooLong) (void)KeSetEvent(&clock->wake, IO_NO_INCREMENT, /*Wait=*/FALSE);
}
