// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// All requests are buffered: the system buffer is the driver's own copy, as long as the larger of
// the two lengths, and null when both are 0.

#include "DeviceControl.h"

#include "Irp.h"
#include "Parameters.h"
#include "ReadWrite.h"

static BOOLEAN HasInput(const IO_STACK_LOCATION* stack) {
    return stack->Parameters.DeviceIoControl.InputBufferLength != 0;
}

static BOOLEAN HasOutput(const IO_STACK_LOCATION* stack) {
    return stack->Parameters.DeviceIoControl.OutputBufferLength != 0;
}

// The byte count itself is what the caller wants to know. The system copies that many bytes of the
// system buffer to the caller if there is one, and kernel memory with them if it is shorter. So
// there must be no buffer.
static NTSTATUS GetSize(const IO_STACK_LOCATION* stack, ULONG_PTR* bytes) {
    if (HasInput(stack) || HasOutput(stack)) return STATUS_INVALID_PARAMETER;

    *bytes = ParameterBlockSize();
    return STATUS_SUCCESS;
}

// The values are read under one lock, so that no change of another program is seen half done.
static void ReadBlock(QV_DEVICE* device, QV_PARAMETER_RECORD* records) {
    KIRQL irql;
    DescribeParameters(records);
    KeAcquireSpinLock(&device->lock, &irql);
    ReadParameters(&device->parameters, records);
    KeReleaseSpinLock(&device->lock, irql);
}

static NTSTATUS GetBlock(QV_DEVICE* device, IRP* irp, const IO_STACK_LOCATION* stack,
                         ULONG_PTR* bytes) {
    if (HasInput(stack)) return STATUS_INVALID_PARAMETER;
    if (stack->Parameters.DeviceIoControl.OutputBufferLength < ParameterBlockSize()) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    if (irp->AssociatedIrp.SystemBuffer == NULL) return STATUS_INVALID_USER_BUFFER;

    ReadBlock(device, irp->AssociatedIrp.SystemBuffer);
    *bytes = ParameterBlockSize();
    return STATUS_SUCCESS;
}

static NTSTATUS SetRecords(QV_DEVICE* device, IRP* irp, const IO_STACK_LOCATION* stack) {
    const ULONG length = stack->Parameters.DeviceIoControl.InputBufferLength;

    if (HasOutput(stack)) return STATUS_INVALID_PARAMETER;
    if (length == 0 || length > ParameterBlockSize() || length % QV_PARAMETER_RECORD_SIZE != 0) {
        return STATUS_INVALID_BUFFER_SIZE;
    }
    if (irp->AssociatedIrp.SystemBuffer == NULL) return STATUS_INVALID_USER_BUFFER;

    return ChangeParameters(device, irp->AssociatedIrp.SystemBuffer,
                            length / QV_PARAMETER_RECORD_SIZE);
}

// Runs at PASSIVE_LEVEL.
NTSTATUS NTAPI QvSampleDeviceControl(DEVICE_OBJECT* deviceObject, IRP* irp) {
    QV_DEVICE* device = deviceObject->DeviceExtension;
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    ULONG_PTR bytes = 0;
    NTSTATUS status = EnterDevice(device, irp);
    if (!NT_SUCCESS(status)) return CompleteIrp(irp, status, 0);

    switch (stack->Parameters.DeviceIoControl.IoControlCode) {
        case IOCTL_PARAMETERS_GET_SIZE:
            status = GetSize(stack, &bytes);
            break;
        case IOCTL_PARAMETERS_GET:
            status = GetBlock(device, irp, stack, &bytes);
            break;
        case IOCTL_PARAMETERS_SET:
            status = SetRecords(device, irp, stack);
            break;
        default:
            status = STATUS_INVALID_DEVICE_REQUEST;
            break;
    }
    CompleteIrp(irp, status, bytes);
    LeaveDevice(device, irp);
    return status;
}
