// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Power.h"

#include "Device.h"
#include "Irp.h"

static NTSTATUS HandleBelow(QV_DEVICE* device, IRP* irp) {
    NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    status = PassIrpDown(device->lowerDevice, irp);
    LeaveDevice(device, irp);
    return status;
}

// Runs at any IRQL up to DISPATCH_LEVEL. Since Windows Vista power IRPs are passed on like all
// others.
NTSTATUS NTAPI QvSamplePower(DEVICE_OBJECT* deviceObject, IRP* irp) {
    return HandleBelow(deviceObject->DeviceExtension, irp);
}

// Runs at PASSIVE_LEVEL.
NTSTATUS NTAPI QvSampleSystemControl(DEVICE_OBJECT* deviceObject, IRP* irp) {
    return HandleBelow(deviceObject->DeviceExtension, irp);
}
