// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvUserLib/DeviceConnection.h"

#include <cstdio>

#include "DeviceInterfaceSet.h"
#include "ReportError.h"
#include "UniqueDeviceSet.h"
#include "WindowsApi.h"

namespace QvUserLib {

namespace {

constexpr char kSource[] = ".\\DeviceConnection";

constexpr char kConnectFirst[] = "Connect first";
constexpr char kCannotOpen[] = "CreateFile failed";

// The size of the longest detail, path included, that Connect can read.
constexpr DWORD kDetailSize = 16384;

// How long to wait before a request without an event is checked again. The file handle stays
// signalled, so waiting for it would return at once.
constexpr DWORD kRetryMs = 1;

// A device name with its index, and the terminator.
constexpr std::size_t kIndexedNameSize = 64;

Result Fail(unsigned long aCode, unsigned long aLine, const char* aMessage) {
    return ReportError(Result(aCode), kSource, aLine, "%s", aMessage);
}

// Whether the system has yet to write the outcome of a request to its OVERLAPPED.
bool IsInFlight(const OVERLAPPED& aOverlapped) { return aOverlapped.Internal == STATUS_PENDING; }

// The OVERLAPPED of one request. If the caller gave none, this object owns one with an event, to
// wait for the request.
class RequestOverlapped {
public:
    explicit RequestOverlapped(void* aCallers)
        : callers_(static_cast<OVERLAPPED*>(aCallers)), own_() {
        // If no event can be created, GetOverlappedResult polls.
        if (callers_ == nullptr) {
            event_.Reset(
                ::CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr));
            own_.hEvent = event_.Get();
        }
    }

    RequestOverlapped(const RequestOverlapped&) = delete;
    RequestOverlapped& operator=(const RequestOverlapped&) = delete;

    OVERLAPPED* Get() { return IsCallers() ? callers_ : &own_; }
    bool IsCallers() const { return callers_ != nullptr; }

private:
    OVERLAPPED* callers_;
    QvBaseLib::KernelHandle event_;
    OVERLAPPED own_;
};

// A request that the system refused at once leaves its OVERLAPPED marked as pending, and nothing
// will ever complete it. So store the refusal there: a later GetOverlappedResult, such as a request
// queue's, then reports it instead of waiting forever.
void MarkRefused(OVERLAPPED& aOverlapped, DWORD aError) {
    if (!IsInFlight(aOverlapped)) return;
    aOverlapped.Internal = static_cast<ULONG>(HRESULT_FROM_WIN32(aError));
    aOverlapped.InternalHigh = 0;
}

// Turns the outcome of a read or write that the system did not complete at once into a result.
// Waits for a pending request unless the caller is to complete it.
Result FinishTransfer(DeviceConnection& aConnection, DWORD aError, RequestOverlapped& aRequest,
                      unsigned long* aInfo) {
    if ((aError & 0xFFFF) != ERROR_IO_PENDING) {
        MarkRefused(*aRequest.Get(), aError);
        return Result(aError);
    }
    if (aRequest.IsCallers()) return Result(Code::Pending);
    return aConnection.GetOverlappedResult(aRequest.Get(), aInfo, /*aWait=*/true);
}

}  // namespace

DeviceConnection::DeviceConnection() : handle_(INVALID_HANDLE_VALUE) {}

DeviceConnection::~DeviceConnection() {
    (void)Close();  // With no device open there is nothing to close.
}

Result DeviceConnection::Connect(const char* aName) {
    const HANDLE handle =
        aName == nullptr ? INVALID_HANDLE_VALUE
                         : ::CreateFileA(aName, GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_OVERLAPPED | FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return Fail(Code::InvalidArgument, __LINE__, kCannotOpen);

    handle_ = handle;
    name_ = String(aName[0]);
    return Result(Code::Success);
}

Result DeviceConnection::Connect(const char* aName, unsigned int aIndex) {
    char name[kIndexedNameSize];
    const int length = std::snprintf(name, sizeof name, "%s%d", aName != nullptr ? aName : "",
                                     static_cast<int>(aIndex));
    if (aName == nullptr || length < 0 || static_cast<std::size_t>(length) >= sizeof name) {
        return Fail(Code::InvalidArgument, __LINE__, kCannotOpen);
    }
    return Connect(name);
}

Result DeviceConnection::Connect(const GUID& aInterface, unsigned int aIndex) {
    const QvBaseLib::UniqueDeviceSet set(OpenPresentInterfaces(&aInterface));
    if (!set.IsValid()) return Result(Code::InvalidArgument);

    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_A) unsigned char detail[kDetailSize];
    const char* const path = QueryDevicePath(set.Get(), &aInterface, aIndex, detail, sizeof detail);
    if (path == nullptr) return Result(Code::NoSuchDevice);
    return Connect(path);
}

Result DeviceConnection::Close() {
    if (!IsConnected()) return Result(Code::NotSet);
    ::CloseHandle(ReleaseHandle());
    return Result(Code::Success);
}

void* DeviceConnection::ReleaseHandle() {
    void* const handle = handle_;
    handle_ = INVALID_HANDLE_VALUE;
    return handle;
}

bool DeviceConnection::IsConnected() const { return handle_ != INVALID_HANDLE_VALUE; }

Result DeviceConnection::IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                   void* aOut, unsigned int aOutSize, unsigned long aExpectedSize) {
    unsigned long returned = 0;
    const Result result = IoControl(aCode, aIn, aInSize, aOut, aOutSize, &returned, nullptr);
    if (result.IsSuccess() && returned < aExpectedSize) {
        return ReportError(Result(Code::UnexpectedSize), kSource, __LINE__,
                           "The driver did not return the expected size of data", returned);
    }
    return result;
}

Result DeviceConnection::IoControl(unsigned long aCode, const void* aIn, unsigned int aInSize,
                                   void* aOut, unsigned int aOutSize, unsigned long* aInfo,
                                   OVERLAPPED* aOverlapped) {
    if (aIn == nullptr && aInSize != 0) {
        return Fail(Code::InvalidArgument, __LINE__, "Invalid input buffer");
    }
    if (aOut == nullptr && aOutSize != 0) {
        return Fail(Code::InvalidArgument, __LINE__, "Invalid output buffer");
    }
    if (aInfo == nullptr) return Fail(Code::InvalidArgument, __LINE__, "aInfo cannot be NULL");
    if (!IsConnected()) return Fail(Code::NotAllowed, __LINE__, kConnectFirst);

    // DeviceIoControl takes the input as writable, but does not write to it.
    if (::DeviceIoControl(handle_, aCode, const_cast<void*>(aIn), aInSize, aOut, aOutSize, aInfo,
                          aOverlapped)) {
        return Result(Code::Success);
    }
    const DWORD error = ::GetLastError();
    if (error == ERROR_IO_PENDING) return Result(Code::Pending);
    if (aOverlapped != nullptr) MarkRefused(*aOverlapped, error);
    return ReportError(Result(error), kSource, __LINE__, "DeviceIoControl failed", error);
}

Result DeviceConnection::Read(void* aOut, unsigned int aSize, unsigned long* aInfo,
                              void* aOverlapped) {
    if (aOut == nullptr) return Fail(Code::InvalidArgument, __LINE__, "aOut cannot be NULL");
    if (aSize == 0) {
        return Fail(Code::InvalidArgument, __LINE__,
                    "The size of read operation must be greater than 0 byte");
    }
    if (aInfo == nullptr) return Fail(Code::InvalidArgument, __LINE__, "aInfo cannot be NULL");
    if (!IsConnected()) return Fail(Code::NotAllowed, __LINE__, kConnectFirst);

    RequestOverlapped request(aOverlapped);
    if (::ReadFile(handle_, aOut, aSize, aInfo, request.Get())) return Result(Code::Success);
    const DWORD error = ::GetLastError();
    return FinishTransfer(*this, error, request, aInfo);
}

Result DeviceConnection::Write(const void* aData, unsigned int aSize, unsigned long* aInfo,
                               void* aOverlapped) {
    if (aData == nullptr) {
        return Fail(Code::InvalidArgument, __LINE__, "The address of data to write cannot be NULL");
    }
    if (aSize == 0) {
        return Fail(Code::InvalidArgument, __LINE__,
                    "The size of data to write must be greater than 0 byte");
    }
    if (aInfo == nullptr) {
        return Fail(Code::InvalidArgument, __LINE__,
                    "The caller must specify an address where to write the size of written data");
    }
    if (!IsConnected()) return Fail(Code::NotAllowed, __LINE__, "The device is not connected");

    RequestOverlapped request(aOverlapped);
    if (::WriteFile(handle_, aData, aSize, aInfo, request.Get())) return Result(Code::Success);
    const DWORD error = ::GetLastError();
    return FinishTransfer(*this, error, request, aInfo);
}

Result DeviceConnection::GetOverlappedResult(void* aOverlapped, unsigned long* aInfo, bool aWait) {
    if (aOverlapped == nullptr) {
        return Fail(Code::InvalidArgument, __LINE__,
                    "The overlapped structure address cannot be NULL");
    }
    if (aInfo == nullptr) {
        return Fail(
            Code::InvalidArgument, __LINE__,
            "The caller must specify an address where to put the number of processed bytes");
    }
    if (!IsConnected()) return Fail(Code::NotAllowed, __LINE__, kConnectFirst);

    auto* const request = static_cast<OVERLAPPED*>(aOverlapped);
    while (::GetOverlappedResult(handle_, request, aInfo, aWait ? TRUE : FALSE)) {
        // Without an event the system waits on the file handle, which any other request on the
        // handle signals too. So this request may still be in flight.
        if (request->hEvent != nullptr || !IsInFlight(*request)) return Result(Code::Success);
        ::Sleep(kRetryMs);
    }
    const DWORD error = ::GetLastError();
    return Fail(error, __LINE__, "GetOverlappedResult failed");
}

}  // namespace QvUserLib
