// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Power and system-control requests. The device has no power states of its own, and offers nothing
// through WMI, so both go to the driver below.

#include "Device.h"

// Runs at any IRQL up to DISPATCH_LEVEL. Since Windows Vista power IRPs are passed on like all
// others.
NTSTATUS NTAPI QvSamplePower(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    status = PassIrpDown(device, irp);
    LeaveDevice(device, irp);
    return status;
}

// Runs at PASSIVE_LEVEL.
NTSTATUS NTAPI QvSampleSystemControl(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    status = PassIrpDown(device, irp);
    LeaveDevice(device, irp);
    return status;
}
