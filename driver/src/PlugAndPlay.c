// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// All of this runs at PASSIVE_LEVEL, and the plug-and-play manager sends one request at a time.

#include "PlugAndPlay.h"

#include "Irp.h"
#include "Parameters.h"
#include "ReadWrite.h"

static void SetState(QV_DEVICE* device, QV_DEVICE_STATE state) {
    KIRQL irql;
    KeAcquireSpinLock(&device->lock, &irql);
    device->state = state;
    KeReleaseSpinLock(&device->lock, irql);
}

static void SetRemovePending(QV_DEVICE* device, BOOLEAN pending) {
    KIRQL irql;
    KeAcquireSpinLock(&device->lock, &irql);
    device->removePending = pending;
    KeReleaseSpinLock(&device->lock, irql);
}

static void InitializeDevice(QV_DEVICE* device, DEVICE_OBJECT* self, DEVICE_OBJECT* physical) {
    RtlZeroMemory(device, sizeof(*device));
    device->self = self;
    device->physicalDevice = physical;
    device->state = QvAdded;
    KeInitializeSpinLock(&device->lock);
    IoInitializeRemoveLock(&device->removeLock, QV_POOL_TAG, 0, 0);
    InitializeReadWrite(device);
}

NTSTATUS NTAPI QvSampleAddDevice(DRIVER_OBJECT* driver, DEVICE_OBJECT* physicalDevice) {
    DEVICE_OBJECT* self = NULL;
    QV_DEVICE* device;
    NTSTATUS status = IoCreateDevice(driver, sizeof(QV_DEVICE), NULL, FILE_DEVICE_UNKNOWN,
                                     FILE_DEVICE_SECURE_OPEN, /*Exclusive=*/FALSE, &self);
    if (!NT_SUCCESS(status)) return status;

    device = self->DeviceExtension;
    InitializeDevice(device, self, physicalDevice);

    status = IoRegisterDeviceInterface(physicalDevice, &GUID_DEVINTERFACE_QVSAMPLE, NULL,
                                       &device->interfaceName);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(self);
        return status;
    }
    InitializeParameters(&device->parameters, &device->interfaceName);

    device->lowerDevice = IoAttachDeviceToDeviceStack(self, physicalDevice);
    if (device->lowerDevice == NULL) {
        RtlFreeUnicodeString(&device->interfaceName);
        IoDeleteDevice(self);
        return STATUS_NO_SUCH_DEVICE;
    }

    self->Flags |= DO_BUFFERED_IO | DO_POWER_PAGABLE;
    self->Flags &= ~DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

// What stop, surprise removal and removal have in common. The state changes first, so that no new
// request begins while the pending ones are ended.
static void StopDevice(QV_DEVICE* device, QV_DEVICE_STATE state) {
    SetState(device, state);
    StopReadWrite(device, state == QvStopped ? STATUS_CANCELLED : STATUS_DEVICE_REMOVED);
}

// The drivers below start first. The interface comes last: from then on programs come in.
static NTSTATUS StartDevice(QV_DEVICE* device, IRP* irp) {
    NTSTATUS status = PassIrpDownAndWait(device->lowerDevice, irp);
    if (!NT_SUCCESS(status)) return status;

    status = StartReadWrite(device);
    if (!NT_SUCCESS(status)) return status;

    SetState(device, QvStarted);
    status = IoSetDeviceInterfaceState(&device->interfaceName, TRUE);
    // Success, too, when it is on already because the device was only stopped.
    if (NT_SUCCESS(status)) return STATUS_SUCCESS;

    StopDevice(device, QvStopped);
    return status;
}

// Fails when the interface is off already, as it is after a surprise removal.
static void DisableInterface(QV_DEVICE* device) {
    (void)IoSetDeviceInterfaceState(&device->interfaceName, FALSE);
}

// The plug-and-play request itself holds the device until here. After the wait no other request is
// inside the driver.
static NTSTATUS RemoveDevice(QV_DEVICE* device, IRP* irp) {
    NTSTATUS status;

    StopDevice(device, QvRemoved);
    DisableInterface(device);
    IoReleaseRemoveLockAndWait(&device->removeLock, irp);

    irp->IoStatus.Status = STATUS_SUCCESS;
    status = PassIrpDown(device->lowerDevice, irp);

    IoDetachDevice(device->lowerDevice);
    RtlFreeUnicodeString(&device->interfaceName);
    IoDeleteDevice(device->self);
    return status;
}

// Agrees to a request before the drivers below get it. A request that this driver does not know
// keeps its status.
//
// Queries are agreed to without holding requests back: no request uses a resource of the system,
// and all can be ended at any time.
static NTSTATUS HandleOnTheWayDown(QV_DEVICE* device, IRP* irp) {
    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
        case IRP_MN_QUERY_STOP_DEVICE:
        case IRP_MN_CANCEL_STOP_DEVICE:
            break;
        case IRP_MN_STOP_DEVICE:
            StopDevice(device, QvStopped);
            break;
        case IRP_MN_QUERY_REMOVE_DEVICE:
            SetRemovePending(device, TRUE);
            break;
        case IRP_MN_CANCEL_REMOVE_DEVICE:
            SetRemovePending(device, FALSE);
            break;
        case IRP_MN_SURPRISE_REMOVAL:
            StopDevice(device, QvSurpriseRemoved);
            DisableInterface(device);
            break;
        default:
            return PassIrpDown(device->lowerDevice, irp);
    }
    irp->IoStatus.Status = STATUS_SUCCESS;
    return PassIrpDown(device->lowerDevice, irp);
}

NTSTATUS NTAPI QvSamplePnp(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    NTSTATUS status = HoldDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
        case IRP_MN_START_DEVICE:
            status = StartDevice(device, irp);
            CompleteIrp(irp, status, 0);
            break;
        case IRP_MN_REMOVE_DEVICE:
            return RemoveDevice(device, irp);
        default:
            status = HandleOnTheWayDown(device, irp);
            break;
    }
    LeaveDevice(device, irp);
    return status;
}
