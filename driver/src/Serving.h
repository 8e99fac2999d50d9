// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What reads get: a packet, bytes of the loop-back, or a fault. The device's lock is held, except
// where it says otherwise.

#ifndef QVSAMPLE_SERVING_H
#define QVSAMPLE_SERVING_H

#include "Device.h"

// For the device's queue of reads.
extern const QV_READ_CALLS kServingCalls;

// Brings the device's reads up to the present: serves the waiting ones as far as there is something
// for them, in their order, and drops the packets that became due without one. To be called before
// and after every change that matters to reads. The served reads are then to be completed.
void SettleReads(QV_DEVICE* device);

// Serves a new read if it need not wait. It is then to be completed with `FinishReadAtOnce`.
BOOLEAN ServeReadAtOnce(QV_DEVICE* device, IRP* irp);

// Has packets become due as the parameters ask for.
void FollowPacketRate(QV_DEVICE* device);

// When there is something to do for reads without a request, or QV_NEVER.
LONGLONG NextReadTime(const QV_DEVICE* device);

#endif
