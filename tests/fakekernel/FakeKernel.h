// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The part of the kernel that the sample driver uses, in a test program. A test sends requests on
// the threads it likes, and acts while the driver completes them. There is one device.

#ifndef QVTESTS_FAKEKERNEL_H
#define QVTESTS_FAKEKERNEL_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// A handle of a program, as the driver sees it.
typedef struct FakeFile FakeFile;

/// A request of a program. It has to stay until it has been completed.
typedef struct FakeRequest {
    unsigned char major;  ///< `IRP_MJ_READ` and so on.
    unsigned char minor;
    FakeFile* file;      ///< Null for requests of the system.
    unsigned long code;  ///< Of an I/O control.
    void* buffer;        ///< Null when both lengths are 0.
    unsigned long inputBytes;
    unsigned long outputBytes;

    /// Called on the thread that completes the request.
    void (*completed)(struct FakeRequest* request);
    void* context;
    long status;
    size_t bytes;

    struct FakeIrp* irp;  ///< The fake's own, until the request has been completed.
} FakeRequest;

/// What takes the place of a function that the driver imports. Null when the fake has none.
void* FakeKernelFunction(const char* name);

/// Calls `DriverEntry` and `AddDevice`. Returns the status of the one that fails, or of the latter.
long FakeKernelAddDevice(void* driverEntry);

/// Makes and frees a file object. The driver hears of it by the requests that the test sends:
/// create, cleanup and close, in the order that the test likes.
FakeFile* FakeKernelNewFile(void);
void FakeKernelFreeFile(FakeFile* file);

/// Sends a request to the device. Returns what the driver's dispatch routine returned.
long FakeKernelSend(FakeRequest* request);

/// Cancels a pending request, in two steps, as another processor may act between them. The first
/// takes the driver's cancel routine, and does nothing when there is none. The second calls it.
void FakeKernelBeginCancel(FakeRequest* request);
void FakeKernelEndCancel(FakeRequest* request);

/// Acts when the driver, on the calling thread, is about to take its lock for the `count`-th time
/// from now on.
void FakeKernelBeforeLock(int count, void (*action)(void));

/// Waits until the driver's thread has nothing to do.
void FakeKernelWaitForSleep(void);

/// How many blocks of executable memory the driver has allocated since the device was added.
int FakeKernelExecutableBlocks(void);

/// How many blocks of any kind the driver has allocated since then.
int FakeKernelBlocks(void);

#ifdef __cplusplus
}
#endif

#endif
