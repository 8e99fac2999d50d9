// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The thread that sees to reads when time has passed: a packet has become due, or a delayed read is
// to complete. It also completes the reads that requests leave over. While there is nothing to wait
// for it sleeps without limit.
//
// Time is that of the performance counter. The system's other clocks advance in steps of up to
// 16 ms, which is many packets.

#include "Device.h"

static KSTART_ROUTINE ClockThread;

// What `sleepsUntil` says of a clock that only an event can wake.
#define QV_FOREVER MAXLONGLONG

LONGLONG CurrentTime(void) {
    LARGE_INTEGER frequency;
    const LONGLONG ticks = KeQueryPerformanceCounter(&frequency).QuadPart;
    // In two parts: the product of all ticks overflows after some days.
    return ticks / frequency.QuadPart * QV_SECOND +
           ticks % frequency.QuadPart * QV_SECOND / frequency.QuadPart;
}

// When the clock has something to do. The lock is held.
static LONGLONG NextClockTime(QV_DEVICE* device) {
    LONGLONG next = QV_FOREVER;

    // Whoever completes reads now looks at the clock again afterwards.
    if (!device->isCompleting && !IsListEmpty(&device->servedReads)) {
        next = NotesOfRead(ReadOfEntry(device->servedReads.Flink))->due;
    }
    if (!IsListEmpty(&device->waitingReads) && IsPacketTimed(device) && !AreReadsHeld(device)) {
        next = min(next, NextPacketTime(device));
    }
    return next;
}

BOOLEAN ClockHasToWake(QV_DEVICE* device) {
    if (NextClockTime(device) >= device->clock.sleepsUntil) return FALSE;

    device->clock.sleepsUntil = 0;
    return TRUE;
}

// Does what is to be done now. Returns how long to sleep afterwards, and false when the clock is to
// stop.
static BOOLEAN RunClock(QV_DEVICE* device, LONGLONG* sleep) {
    KIRQL irql;
    BOOLEAN isStopping;

    KeAcquireSpinLock(&device->lock, &irql);
    // Looked at before the reads are completed: only the last time all of them are.
    isStopping = device->clock.stopping;
    device->clock.sleepsUntil = 0;
    SettleReads(device);
    KeReleaseSpinLock(&device->lock, irql);
    CompleteServedReads(device);

    KeAcquireSpinLock(&device->lock, &irql);
    device->clock.sleepsUntil = NextClockTime(device);
    *sleep = device->clock.sleepsUntil == QV_FOREVER ? QV_FOREVER
                                                     : device->clock.sleepsUntil - CurrentTime();
    KeReleaseSpinLock(&device->lock, irql);
    return !isStopping;
}

static void NTAPI ClockThread(void* context) {
    QV_DEVICE* device = context;
    LONGLONG sleep;

    while (RunClock(device, &sleep)) {
        // A negative time counts from now.
        LARGE_INTEGER timeout;
        timeout.QuadPart = -max(sleep, 0);
        (void)KeWaitForSingleObject(&device->clock.wake, Executive, KernelMode, /*Alertable=*/FALSE,
                                    sleep == QV_FOREVER ? NULL : &timeout);
    }
    (void)PsTerminateSystemThread(STATUS_SUCCESS);
}

NTSTATUS StartClock(QV_DEVICE* device) {
    OBJECT_ATTRIBUTES attributes;
    HANDLE handle;
    NTSTATUS status;

    device->clock.stopping = FALSE;
    device->clock.sleepsUntil = 0;
    InitializeObjectAttributes(&attributes, NULL, OBJ_KERNEL_HANDLE, NULL, NULL);
    status =
        PsCreateSystemThread(&handle, SYNCHRONIZE, &attributes, NULL, NULL, ClockThread, device);
    if (!NT_SUCCESS(status)) return status;

    // The handle was made just now: this cannot fail, and must not, with the thread running. The
    // type need not be named in kernel mode; mingw-w64's declaration of `PsThreadType` is not that
    // of the data that the kernel exports.
    status = ObReferenceObjectByHandle(handle, SYNCHRONIZE, /*ObjectType=*/NULL, KernelMode,
                                       &device->clock.thread, NULL);
    NT_ASSERT(NT_SUCCESS(status));
    (void)ZwClose(handle);
    return status;
}

void StopClock(QV_DEVICE* device) {
    KIRQL irql;
    if (device->clock.thread == NULL) return;

    KeAcquireSpinLock(&device->lock, &irql);
    device->clock.stopping = TRUE;
    KeReleaseSpinLock(&device->lock, irql);

    // The thread runs the driver's code: it has to be gone before the driver may be unloaded.
    (void)KeSetEvent(&device->clock.wake, IO_NO_INCREMENT, /*Wait=*/FALSE);
    (void)KeWaitForSingleObject(device->clock.thread, Executive, KernelMode, /*Alertable=*/FALSE,
                                NULL);
    ObDereferenceObject(device->clock.thread);
    device->clock.thread = NULL;
}
