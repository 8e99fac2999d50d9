// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The driver's entry, and what its dispatch routines have in common.

#include "Device.h"

static DRIVER_UNLOAD QvSampleUnload;

NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* registryPath) {
    UNREFERENCED_PARAMETER(registryPath);

    driver->DriverUnload = QvSampleUnload;
    driver->DriverExtension->AddDevice = QvSampleAddDevice;
    driver->MajorFunction[IRP_MJ_PNP] = QvSamplePnp;
    driver->MajorFunction[IRP_MJ_POWER] = QvSamplePower;
    driver->MajorFunction[IRP_MJ_SYSTEM_CONTROL] = QvSampleSystemControl;
    driver->MajorFunction[IRP_MJ_CREATE] = QvSampleCreate;
    driver->MajorFunction[IRP_MJ_CLEANUP] = QvSampleCleanup;
    driver->MajorFunction[IRP_MJ_CLOSE] = QvSampleClose;
    driver->MajorFunction[IRP_MJ_READ] = QvSampleRead;
    driver->MajorFunction[IRP_MJ_WRITE] = QvSampleWrite;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = QvSampleDeviceControl;
    return STATUS_SUCCESS;
}

// The driver keeps nothing beside its devices, and they are gone by now. Without this routine it
// could not be unloaded at all.
static void NTAPI QvSampleUnload(DRIVER_OBJECT* driver) { UNREFERENCED_PARAMETER(driver); }

NTSTATUS CompleteIrp(IRP* irp, NTSTATUS status, ULONG_PTR bytes) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

NTSTATUS PassIrpDown(QV_DEVICE* device, IRP* irp) {
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(device->lowerDevice, irp);
}

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
