// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What is done with IRPs of every kind: completing them, and passing them down.

#ifndef QVSAMPLE_IRP_H
#define QVSAMPLE_IRP_H

#include "Kernel.h"

// Completes an IRP and returns its status, for `return CompleteIrp(…)`. The IRP is gone afterwards.
// IRQL <= DISPATCH_LEVEL, no lock held.
NTSTATUS CompleteIrp(IRP* irp, NTSTATUS status, ULONG_PTR bytes);

// Sends an IRP down the stack unchanged. It belongs to the drivers below afterwards. IRQL <=
// DISPATCH_LEVEL.
NTSTATUS PassIrpDown(DEVICE_OBJECT* lowerDevice, IRP* irp);

// Sends an IRP down the stack and waits until all drivers below have handled it. The IRP is ours
// again afterwards, and still has to be completed.
NTSTATUS PassIrpDownAndWait(DEVICE_OBJECT* lowerDevice, IRP* irp);

#endif
