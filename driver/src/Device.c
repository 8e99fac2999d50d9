// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "Device.h"

NTSTATUS HoldDevice(QV_DEVICE* device, IRP* irp) {
    return IoAcquireRemoveLock(&device->removeLock, irp);
}

NTSTATUS EnterDevice(QV_DEVICE* device, IRP* irp) {
    KIRQL irql;
    NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return status;

    KeAcquireSpinLock(&device->lock, &irql);
    status = DeviceReadiness(device);
    KeReleaseSpinLock(&device->lock, irql);
    if (!NT_SUCCESS(status)) LeaveDevice(device, irp);
    return status;
}

void LeaveDevice(QV_DEVICE* device, IRP* irp) { IoReleaseRemoveLock(&device->removeLock, irp); }

NTSTATUS DeviceReadiness(const QV_DEVICE* device) {
    switch (device->state) {
        case QvStarted:
            return STATUS_SUCCESS;
        case QvSurpriseRemoved:
        case QvRemoved:
            return STATUS_DELETE_PENDING;
        default:
            return STATUS_DEVICE_NOT_READY;
    }
}
