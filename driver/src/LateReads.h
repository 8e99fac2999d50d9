// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The fault of a driver that ignores cancelling: reads that nothing ends before their time, except
// for the end of the device. They are apart from all other reads.

#ifndef QVSAMPLE_LATEREADS_H
#define QVSAMPLE_LATEREADS_H

#include "Device.h"

// Marks a read as pending and completes it after `delay`, with a full buffer. Returns
// STATUS_PENDING, and the read must not be touched any more; or why it is refused. The device's
// lock is held. The clock is to be woken in time.
NTSTATUS QueueLateRead(QV_DEVICE* device, IRP* irp, LONGLONG delay);

// When the next late read is to be completed, or QV_NEVER. The device's lock is held.
LONGLONG NextLateReadTime(const QV_DEVICE* device);

// Completes the late reads whose time has come. IRQL <= DISPATCH_LEVEL, no lock held.
void CompleteLateReads(QV_DEVICE* device);

// Ends all late reads with `status`. No new ones come. IRQL <= DISPATCH_LEVEL, no lock held.
void EndLateReads(QV_DEVICE* device, NTSTATUS status);

#endif
