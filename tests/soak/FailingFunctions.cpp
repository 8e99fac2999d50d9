// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "FailingFunctions.h"

#include <io.h>
#include <process.h>
#include <pthread.h>
#include <shlobj.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <cerrno>
#include <utility>

#include "QvUserLib/BaseTypes.h"
#include "WindowsApi.h"

#include <cfgmgr32.h>
#include <setupapi.h>

namespace QvTests {
namespace {

using QvUserLib::Code;

// The system error of a failing call for which no other is likely.
constexpr DWORD kError = ERROR_GEN_FAILURE;

constexpr auto kNone = nullptr;

using Codes = std::vector<unsigned long>;

struct FunctionList {
    void Add(std::unique_ptr<FailingCall> aCall, Codes aCodes = {}) {
        functions.push_back({std::move(aCall), std::move(aCodes)});
    }

    std::vector<FailingFunction> functions;
};

#define QV_CALL(aFunction, ...) MakeFailingCall<__COUNTER__>(#aFunction, &::aFunction, __VA_ARGS__)

void AddSystemCalls(FunctionList& aList) {
    aList.Add(QV_CALL(CreateFileA, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED, Effect::Takes),
              {Code::InvalidArgument});
    aList.Add(QV_CALL(CreateEventA, kNone, ERROR_NO_SYSTEM_RESOURCES, Effect::Takes));
    aList.Add(QV_CALL(CreateMutexA, kNone, ERROR_ACCESS_DENIED, Effect::Takes));
    aList.Add(
        QV_CALL(CloseHandle, FALSE, ERROR_INVALID_HANDLE, Effect::GivesBack, Failure::AfterWork));
    aList.Add(QV_CALL(DeviceIoControl, FALSE, kError), {kError});
    aList.Add(QV_CALL(ReadFile, FALSE, kError), {kError});
    aList.Add(QV_CALL(WriteFile, FALSE, kError), {kError});
    aList.Add(QV_CALL(GetOverlappedResult, FALSE, kError, Effect::None, Failure::AfterWork),
              {kError});
    aList.Add(QV_CALL(WaitForSingleObject, WAIT_FAILED, ERROR_INVALID_HANDLE),
              {Code::SystemCallFailed});
    aList.Add(QV_CALL(SetThreadPriority, FALSE, ERROR_ACCESS_DENIED), {Code::SystemCallFailed});
    aList.Add(QV_CALL(GetExitCodeThread, FALSE, ERROR_ACCESS_DENIED), {Code::NotAllowed});
    aList.Add(QV_CALL(AddVectoredExceptionHandler, kNone, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes));
    aList.Add(
        QV_CALL(RemoveVectoredExceptionHandler, 0, kError, Effect::GivesBack, Failure::AfterWork));
    aList.Add(QV_CALL(CopyFileA, FALSE, ERROR_DISK_FULL));
    aList.Add(QV_CALL(DeleteFileA, FALSE, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(CreateDirectoryA, FALSE, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(MultiByteToWideChar, 0, ERROR_INVALID_PARAMETER));
    aList.Add(QV_CALL(WideCharToMultiByte, 0, ERROR_INVALID_PARAMETER));
    aList.Add(QV_CALL(SHGetFolderPathA, E_FAIL));
    aList.Add(QV_CALL(LoadLibraryA, kNone, ERROR_MOD_NOT_FOUND, Effect::Takes),
              {Code::Md5Unavailable});
    aList.Add(QV_CALL(FreeLibrary, FALSE, kError, Effect::GivesBack, Failure::AfterWork));
    aList.Add(QV_CALL(GetProcAddress, kNone, ERROR_PROC_NOT_FOUND), {Code::Md5Unavailable});
}

void AddDeviceSets(FunctionList& aList) {
    aList.Add(
        QV_CALL(SetupDiGetClassDevsA, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes),
        {Code::InvalidArgument});
    aList.Add(QV_CALL(SetupDiEnumDeviceInterfaces, FALSE, kError), {Code::NoSuchDevice});
    aList.Add(QV_CALL(SetupDiGetDeviceInterfaceDetailA, FALSE, kError), {Code::NoSuchDevice});
    aList.Add(QV_CALL(SetupDiDestroyDeviceInfoList, FALSE, kError, Effect::GivesBack,
                      Failure::AfterWork));
}

void AddMemoryAndThreads(FunctionList& aList) {
    const Codes noMemory = {Code::OutOfMemory};
    aList.Add(QV_CALL(malloc, kNone, ERROR_NOT_ENOUGH_MEMORY), noMemory);
    aList.Add(QV_CALL(calloc, kNone, ERROR_NOT_ENOUGH_MEMORY), noMemory);
    aList.Add(QV_CALL(realloc, kNone, ERROR_NOT_ENOUGH_MEMORY), noMemory);
    aList.Add(QV_CALL(_beginthreadex, 0, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes),
              {Code::SystemCallFailed});
}

void AddFiles(FunctionList& aList) {
    aList.Add(QV_CALL(fopen, kNone, ERROR_ACCESS_DENIED, Effect::Takes), {Code::CannotOpenFile});
    aList.Add(QV_CALL(fclose, EOF, ERROR_DISK_FULL, Effect::GivesBack, Failure::AfterWork),
              {Code::ShortWrite});
    aList.Add(QV_CALL(fflush, EOF, ERROR_DISK_FULL), {Code::ShortWrite});
    aList.Add(QV_CALL(fwrite, 0, ERROR_DISK_FULL), {Code::ShortWrite});
    aList.Add(QV_CALL(fputc, EOF, ERROR_DISK_FULL));
    aList.Add(QV_CALL(fread, 0, kError));
    aList.Add(QV_CALL(_get_osfhandle, -1, EBADF));
    aList.Add(QV_CALL(SetHandleInformation, FALSE, kError));
    aList.Add(QV_CALL(_setmode, -1, kError));
    aList.Add(QV_CALL(fgetpos, -1, kError));
    aList.Add(QV_CALL(fsetpos, -1, kError));
    aList.Add(QV_CALL(_filelengthi64, -1, kError));
    aList.Add(QV_CALL(_time64, -1, kError));
    // The C++ headers overload it.
    using GetVariable = errno_t (*)(size_t*, char*, size_t, const char*);
    aList.Add(MakeFailingCall<__COUNTER__>("getenv_s", GetVariable{&::getenv_s}, ENOMEM));
}

// The kit's.
void AddKitFilesAndWaits(FunctionList& aList) {
    aList.Add(QV_CALL(CreateFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED, Effect::Takes));
    aList.Add(QV_CALL(CreateMutexW, kNone, ERROR_ACCESS_DENIED, Effect::Takes));
    aList.Add(QV_CALL(FlushFileBuffers, FALSE, ERROR_DISK_FULL));
    aList.Add(QV_CALL(MoveFileExW, FALSE, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(GetFileSizeEx, FALSE, kError));
    aList.Add(QV_CALL(WaitForMultipleObjects, WAIT_FAILED, ERROR_INVALID_HANDLE));
    aList.Add(QV_CALL(pthread_create, EAGAIN));
}

void AddWindows(FunctionList& aList) {
    aList.Add(QV_CALL(CreateWindowExW, kNone, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes));
    aList.Add(QV_CALL(DestroyWindow, FALSE, kError, Effect::GivesBack, Failure::AfterWork));
    aList.Add(QV_CALL(RegisterDeviceNotificationW, kNone, ERROR_NOT_ENOUGH_MEMORY, Effect::Takes));
    aList.Add(QV_CALL(UnregisterDeviceNotification, FALSE, kError, Effect::GivesBack,
                      Failure::AfterWork));
}

void AddDeviceRecords(FunctionList& aList) {
    aList.Add(QV_CALL(SetupDiGetClassDevsW, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY,
                      Effect::Takes));
    aList.Add(QV_CALL(SetupDiGetDeviceInterfaceDetailW, FALSE, kError));
    aList.Add(QV_CALL(SetupDiEnumDeviceInfo, FALSE, kError));
    aList.Add(QV_CALL(SetupDiCreateDeviceInfoList, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY,
                      Effect::Takes));
    aList.Add(QV_CALL(SetupDiOpenDeviceInfoW, FALSE, ERROR_NOT_ENOUGH_MEMORY));
    aList.Add(QV_CALL(SetupDiGetDeviceInstanceIdW, FALSE, kError));
    aList.Add(QV_CALL(SetupDiGetDeviceRegistryPropertyW, FALSE, kError));
    aList.Add(QV_CALL(SetupDiGetDevicePropertyW, FALSE, kError));
    aList.Add(QV_CALL(SetupDiOpenDevRegKey, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(RegOpenKeyExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(RegEnumKeyExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(RegQueryValueExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED));
    aList.Add(QV_CALL(CM_Get_DevNode_Status, CR_FAILURE));
    aList.Add(QV_CALL(CM_Get_Parent, CR_FAILURE));
    aList.Add(QV_CALL(OpenSCManagerW, kNone, ERROR_ACCESS_DENIED, Effect::Takes));
    aList.Add(QV_CALL(OpenServiceW, kNone, ERROR_ACCESS_DENIED, Effect::Takes));
    aList.Add(QV_CALL(CloseServiceHandle, FALSE, kError, Effect::GivesBack, Failure::AfterWork));
    aList.Add(QV_CALL(QueryServiceConfigW, FALSE, kError));
    aList.Add(QV_CALL(GetFileVersionInfoSizeW, 0, kError));
    aList.Add(QV_CALL(GetFileVersionInfoW, FALSE, kError));
    aList.Add(QV_CALL(VerQueryValueW, FALSE, kError));
}

#undef QV_CALL

}  // namespace

std::vector<FailingFunction> MakeFailingFunctions() {
    FunctionList list;
    AddSystemCalls(list);
    AddDeviceSets(list);
    AddMemoryAndThreads(list);
    AddFiles(list);
    AddKitFilesAndWaits(list);
    AddWindows(list);
    AddDeviceRecords(list);
    return std::move(list.functions);
}

}  // namespace QvTests
