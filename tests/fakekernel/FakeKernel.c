// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "FakeKernel.h"

#include <pthread.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>

#include <wdm.h>

#define SECOND 10000000LL

// One lock and one condition serve all events, and the remove lock.
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static int holders;
static int isRemoved;
static int sleepers;  // Threads that wait without limit.

// Of the thread that acts while it is in the driver.
static __thread int locksUntilAction;
static __thread void (*lockAction)(void);

static int blocks;
static int executableBlocks;

static DRIVER_OBJECT driver;
static DRIVER_EXTENSION driverExtension;
static DEVICE_OBJECT lowerDevice;
static DEVICE_OBJECT* device;

struct FakeFile {
    FILE_OBJECT file;
};

// An IRP with room for the driver's location in the stack and for the one below.
typedef struct FakeIrp {
    IRP irp;
    IO_STACK_LOCATION stack[2];
    FakeRequest* request;
    DRIVER_CANCEL* cancel;  // While it is being cancelled.
} FakeIrp;

// Time

static LONGLONG Now(void) {
    struct timespec time;
    (void)clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * SECOND + time.tv_nsec / 100;
}

static LARGE_INTEGER NTAPI QueryCounter(LARGE_INTEGER* frequency) {
    LARGE_INTEGER now;
    now.QuadPart = Now();
    if (frequency != NULL) frequency->QuadPart = SECOND;
    return now;
}

// Memory

static void* NTAPI Allocate(POOL_TYPE type, SIZE_T size, ULONG tag) {
    const ULONG paged = PagedPool;
    (void)tag;
    ++blocks;
    if ((type & (NonPagedPoolNx | paged)) == 0) ++executableBlocks;
    return malloc(size);
}

static void NTAPI Free(void* block, ULONG tag) {
    (void)tag;
    free(block);
}

// Locks, events and threads

static KIRQL NTAPI Lock(KSPIN_LOCK* lock) {
    if (locksUntilAction > 0) {
        --locksUntilAction;
        if (locksUntilAction == 0) lockAction();
    }
    while (__atomic_test_and_set(lock, __ATOMIC_ACQUIRE)) (void)sched_yield();
    return PASSIVE_LEVEL;
}

static void NTAPI Unlock(KSPIN_LOCK* lock, KIRQL irql) {
    (void)irql;
    __atomic_clear(lock, __ATOMIC_RELEASE);
}

static void NTAPI InitializeEvent(KEVENT* event, EVENT_TYPE type, BOOLEAN state) {
    event->Header.Type = (UCHAR)type;
    event->Header.SignalState = state;
}

static LONG NTAPI SetEvent(KEVENT* event, KPRIORITY increment, BOOLEAN wait) {
    (void)increment;
    (void)wait;
    (void)pthread_mutex_lock(&mutex);
    event->Header.SignalState = 1;
    (void)pthread_cond_broadcast(&changed);
    (void)pthread_mutex_unlock(&mutex);
    return 0;
}

// Waits for a change until then, or without limit. The mutex is held. Answers false when it is too
// late.
static int WaitForChange(const LARGE_INTEGER* timeout, LONGLONG until) {
    struct timespec end;
    LONGLONG left;
    if (timeout == NULL) {
        ++sleepers;
        (void)pthread_cond_broadcast(&changed);
        (void)pthread_cond_wait(&changed, &mutex);
        --sleepers;
        return 1;
    }

    left = until - Now();
    if (left <= 0) return 0;
    (void)clock_gettime(CLOCK_REALTIME, &end);
    left += end.tv_nsec / 100;
    end.tv_sec += left / SECOND;
    end.tv_nsec = (long)(left % SECOND) * 100;
    (void)pthread_cond_timedwait(&changed, &mutex, &end);
    return 1;
}

static NTSTATUS NTAPI WaitForEvent(void* object, KWAIT_REASON reason, KPROCESSOR_MODE mode,
                                   BOOLEAN alertable, LARGE_INTEGER* timeout) {
    KEVENT* event = object;
    const LONGLONG until = timeout != NULL ? Now() - timeout->QuadPart : 0;
    NTSTATUS status = STATUS_SUCCESS;
    (void)reason;
    (void)mode;
    (void)alertable;
    (void)pthread_mutex_lock(&mutex);
    while (event->Header.SignalState == 0 && status == STATUS_SUCCESS) {
        if (!WaitForChange(timeout, until)) status = STATUS_TIMEOUT;
    }
    if (event->Header.Type == SynchronizationEvent) event->Header.SignalState = 0;
    (void)pthread_mutex_unlock(&mutex);
    return status;
}

typedef struct FakeThread {
    KEVENT ended;
    pthread_t thread;
    KSTART_ROUTINE* routine;
    void* context;
} FakeThread;

static void* RunThread(void* argument) {
    FakeThread* thread = argument;
    thread->routine(thread->context);
    (void)SetEvent(&thread->ended, 0, FALSE);
    return NULL;
}

static NTSTATUS NTAPI CreateThread(HANDLE* handle, ULONG access, OBJECT_ATTRIBUTES* attributes,
                                   HANDLE process, CLIENT_ID* id, KSTART_ROUTINE* routine,
                                   void* context) {
    FakeThread* thread = calloc(1, sizeof *thread);
    (void)access;
    (void)attributes;
    (void)process;
    (void)id;
    InitializeEvent(&thread->ended, NotificationEvent, FALSE);
    thread->routine = routine;
    thread->context = context;
    *handle = thread;
    return pthread_create(&thread->thread, NULL, RunThread, thread) == 0
               ? STATUS_SUCCESS
               : STATUS_INSUFFICIENT_RESOURCES;
}

// The thread's routine returns afterwards.
static NTSTATUS NTAPI TerminateThread(NTSTATUS status) { return status; }

static NTSTATUS NTAPI ObjectOfHandle(HANDLE handle, ACCESS_MASK access, POBJECT_TYPE type,
                                     KPROCESSOR_MODE mode, void** object,
                                     OBJECT_HANDLE_INFORMATION* information) {
    (void)access;
    (void)type;
    (void)mode;
    (void)information;
    *object = handle;
    return STATUS_SUCCESS;
}

static NTSTATUS NTAPI CloseHandle(HANDLE handle) {
    (void)handle;
    return STATUS_SUCCESS;
}

static LONG_PTR NTAPI Dereference(void* object) {
    FakeThread* thread = object;
    (void)pthread_join(thread->thread, NULL);
    free(thread);
    return 0;
}

// The remove lock, and the cancel lock, which nobody takes

static void NTAPI InitializeRemoveLock(IO_REMOVE_LOCK* lock, ULONG tag, ULONG minutes,
                                       ULONG highWater, ULONG size) {
    (void)lock;
    (void)tag;
    (void)minutes;
    (void)highWater;
    (void)size;
    holders = 0;
    isRemoved = 0;
}

static NTSTATUS NTAPI AcquireRemoveLock(IO_REMOVE_LOCK* lock, void* tag, const char* file,
                                        ULONG line, ULONG size) {
    NTSTATUS status = STATUS_SUCCESS;
    (void)lock;
    (void)tag;
    (void)file;
    (void)line;
    (void)size;
    (void)pthread_mutex_lock(&mutex);
    if (isRemoved) {
        status = STATUS_DELETE_PENDING;
    } else {
        ++holders;
    }
    (void)pthread_mutex_unlock(&mutex);
    return status;
}

static void NTAPI ReleaseRemoveLock(IO_REMOVE_LOCK* lock, void* tag, ULONG size) {
    (void)lock;
    (void)tag;
    (void)size;
    (void)pthread_mutex_lock(&mutex);
    --holders;
    (void)pthread_cond_broadcast(&changed);
    (void)pthread_mutex_unlock(&mutex);
}

static void NTAPI ReleaseRemoveLockAndWait(IO_REMOVE_LOCK* lock, void* tag, ULONG size) {
    (void)lock;
    (void)tag;
    (void)size;
    (void)pthread_mutex_lock(&mutex);
    isRemoved = 1;
    --holders;
    while (holders > 0) (void)pthread_cond_wait(&changed, &mutex);
    (void)pthread_mutex_unlock(&mutex);
}

static void NTAPI ReleaseCancelLock(KIRQL irql) { (void)irql; }

// Devices

static NTSTATUS NTAPI CreateDevice(DRIVER_OBJECT* owner, ULONG extensionSize, UNICODE_STRING* name,
                                   DEVICE_TYPE type, ULONG characteristics, BOOLEAN exclusive,
                                   DEVICE_OBJECT** created) {
    (void)owner;
    (void)name;
    (void)type;
    (void)characteristics;
    (void)exclusive;
    device = calloc(1, sizeof *device + extensionSize);
    device->DeviceExtension = device + 1;
    *created = device;
    return STATUS_SUCCESS;
}

static void NTAPI DeleteDevice(DEVICE_OBJECT* deleted) {
    free(deleted);
    device = NULL;
}

static DEVICE_OBJECT* NTAPI AttachDevice(DEVICE_OBJECT* upper, DEVICE_OBJECT* lower) {
    (void)upper;
    return lower;
}

static void NTAPI DetachDevice(DEVICE_OBJECT* lower) { (void)lower; }

static NTSTATUS NTAPI RegisterInterface(DEVICE_OBJECT* physical, const GUID* interfaceClass,
                                        UNICODE_STRING* reference, UNICODE_STRING* link) {
    static WCHAR name[] = L"\\??\\fake";
    (void)physical;
    (void)interfaceClass;
    (void)reference;
    link->Buffer = name;
    link->Length = sizeof name - sizeof(WCHAR);
    link->MaximumLength = sizeof name;
    return STATUS_SUCCESS;
}

static NTSTATUS NTAPI SetInterfaceState(UNICODE_STRING* link, BOOLEAN enable) {
    (void)link;
    (void)enable;
    return STATUS_SUCCESS;
}

static void NTAPI FreeText(UNICODE_STRING* text) { (void)text; }

// Requests

static void FASTCALL CompleteRequest(IRP* irp, CCHAR boost) {
    FakeIrp* whole = CONTAINING_RECORD(irp, FakeIrp, irp);
    FakeRequest* request = whole->request;
    (void)boost;
    request->status = irp->IoStatus.Status;
    request->bytes = irp->IoStatus.Information;
    request->irp = NULL;
    free(whole);
    if (request->completed != NULL) request->completed(request);
}

// The driver below has nothing to do.
static NTSTATUS FASTCALL CallDriver(DEVICE_OBJECT* lower, IRP* irp) {
    const IO_STACK_LOCATION* stack;
    (void)lower;
    IoSetNextIrpStackLocation(irp);
    stack = IoGetCurrentIrpStackLocation(irp);
    irp->IoStatus.Status = STATUS_SUCCESS;
    if (stack->CompletionRoutine == NULL) {
        CompleteRequest(irp, IO_NO_INCREMENT);
    } else {
        IoSkipCurrentIrpStackLocation(irp);
        (void)stack->CompletionRoutine(device, irp, stack->Context);
    }
    return STATUS_SUCCESS;
}

long FakeKernelSend(FakeRequest* request) {
    FakeIrp* whole = calloc(1, sizeof *whole);
    IO_STACK_LOCATION* stack = &whole->stack[1];
    IRP* irp = &whole->irp;
    whole->request = request;
    request->irp = whole;
    irp->StackCount = RTL_NUMBER_OF(whole->stack);
    irp->CurrentLocation = irp->StackCount;
    irp->Tail.Overlay.CurrentStackLocation = stack;
    irp->AssociatedIrp.SystemBuffer = request->buffer;
    stack->MajorFunction = request->major;
    stack->MinorFunction = request->minor;
    stack->FileObject = request->file != NULL ? &request->file->file : NULL;
    if (request->major == IRP_MJ_DEVICE_CONTROL) {
        stack->Parameters.DeviceIoControl.IoControlCode = request->code;
        stack->Parameters.DeviceIoControl.InputBufferLength = request->inputBytes;
        stack->Parameters.DeviceIoControl.OutputBufferLength = request->outputBytes;
    } else if (request->major == IRP_MJ_READ) {
        stack->Parameters.Read.Length = request->outputBytes;
    }
    return driver.MajorFunction[request->major](device, irp);
}

FakeFile* FakeKernelNewFile(void) { return calloc(1, sizeof(FakeFile)); }

void FakeKernelFreeFile(FakeFile* file) { free(file); }

void FakeKernelBeginCancel(FakeRequest* request) {
    IRP* irp = &request->irp->irp;
    irp->Cancel = TRUE;
    request->irp->cancel = IoSetCancelRoutine(irp, NULL);
}

void FakeKernelEndCancel(FakeRequest* request) {
    if (request->irp->cancel != NULL) request->irp->cancel(device, &request->irp->irp);
}

long FakeKernelAddDevice(void* driverEntry) {
    UNICODE_STRING path = {0};
    NTSTATUS status;
    blocks = 0;
    executableBlocks = 0;
    driver.DriverExtension = &driverExtension;
    status = ((DRIVER_INITIALIZE*)driverEntry)(&driver, &path);
    if (!NT_SUCCESS(status)) return status;
    return driverExtension.AddDevice(&driver, &lowerDevice);
}

void FakeKernelBeforeLock(int count, void (*action)(void)) {
    locksUntilAction = count;
    lockAction = action;
}

void FakeKernelWaitForSleep(void) {
    (void)pthread_mutex_lock(&mutex);
    while (sleepers == 0) (void)pthread_cond_wait(&changed, &mutex);
    (void)pthread_mutex_unlock(&mutex);
}

int FakeKernelExecutableBlocks(void) { return executableBlocks; }

int FakeKernelBlocks(void) { return blocks; }

void* FakeKernelFunction(const char* name) {
    static const struct {
        const char* name;
        void* function;
    } kFunctions[] = {
        {"ExAllocatePoolWithTag", Allocate},
        {"ExFreePoolWithTag", Free},
        {"IoAcquireRemoveLockEx", AcquireRemoveLock},
        {"IoAttachDeviceToDeviceStack", AttachDevice},
        {"IoCreateDevice", CreateDevice},
        {"IoDeleteDevice", DeleteDevice},
        {"IoDetachDevice", DetachDevice},
        {"IoInitializeRemoveLockEx", InitializeRemoveLock},
        {"IoRegisterDeviceInterface", RegisterInterface},
        {"IoReleaseCancelSpinLock", ReleaseCancelLock},
        {"IoReleaseRemoveLockAndWaitEx", ReleaseRemoveLockAndWait},
        {"IoReleaseRemoveLockEx", ReleaseRemoveLock},
        {"IoSetDeviceInterfaceState", SetInterfaceState},
        {"IofCallDriver", CallDriver},
        {"IofCompleteRequest", CompleteRequest},
        {"KeAcquireSpinLockRaiseToDpc", Lock},
        {"KeInitializeEvent", InitializeEvent},
        {"KeQueryPerformanceCounter", QueryCounter},
        {"KeReleaseSpinLock", Unlock},
        {"KeSetEvent", SetEvent},
        {"KeWaitForSingleObject", WaitForEvent},
        {"ObReferenceObjectByHandle", ObjectOfHandle},
        {"ObfDereferenceObject", Dereference},
        {"PsCreateSystemThread", CreateThread},
        {"PsTerminateSystemThread", TerminateThread},
        {"RtlCompareMemory", RtlCompareMemory},
        {"RtlFreeUnicodeString", FreeText},
        {"ZwClose", CloseHandle},
        {"memcpy", memcpy},
        {"memset", memset},
    };
    size_t index;
    for (index = 0; index < RTL_NUMBER_OF(kFunctions); ++index) {
        if (strcmp(kFunctions[index].name, name) == 0) return kFunctions[index].function;
    }
    return NULL;
}
