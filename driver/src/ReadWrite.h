// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Read and write requests, and everything else that changes what reads get: parameters, handles
// that are closed, the start and stop of the device, and the passing of time.

#ifndef QVSAMPLE_READWRITE_H
#define QVSAMPLE_READWRITE_H

#include "Device.h"

DRIVER_DISPATCH QvSampleRead;
DRIVER_DISPATCH QvSampleWrite;

// Prepares a new device. No request can reach it yet.
void InitializeReadWrite(QV_DEVICE* device);

// Makes what reads and writes need: the loop-back buffer, in the size that the parameter asks for,
// and the clock. The device is not started.
NTSTATUS StartReadWrite(QV_DEVICE* device);

// Ends all pending reads with `status`, stops the clock, and frees the loop-back buffer. The state
// that `DeviceReadiness` looks at has been changed before, so that no new read is queued. May be
// called again.
void StopReadWrite(QV_DEVICE* device, NTSTATUS status);

// Checks all records and applies them if none is refused.
NTSTATUS ChangeParameters(QV_DEVICE* device, const QV_PARAMETER_RECORD* records, ULONG count);

// Ends the reads of a handle that is being closed, and its part in the stream.
void LeaveStream(QV_DEVICE* device, FILE_OBJECT* file);

#endif
