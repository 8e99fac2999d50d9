// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The driver's entry.

#include "CreateClose.h"
#include "DeviceControl.h"
#include "Kernel.h"
#include "PlugAndPlay.h"
#include "Power.h"
#include "ReadWrite.h"

DRIVER_INITIALIZE DriverEntry;
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
