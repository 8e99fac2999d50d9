// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceSession.h"

#include "Failure.h"
#include "LibraryError.h"

namespace Qvctl {
namespace {

// A path that does not open is no device; one from the list is there, and something else is wrong.
Failure CannotOpen(const Device& aDevice, const QvUserLib::Result& aResult) {
    const std::string reason = ReasonFor(aResult);
    if (!aDevice.index) {
        return Failure(ExitCode::NoSuchDevice,
                       "there is no device '" + aDevice.path + "': " + reason, aResult.GetCode());
    }
    return Failure(ExitCode::Failed,
                   "cannot open '" + aDevice.path + "': " + reason + "; \"qvctl doctor\" tells why",
                   aResult.GetCode());
}

// Whether nothing has the device's path any more. Its state does not matter: a device that others
// have locked is there.
bool IsGone(const Device& aDevice) {
    const HANDLE probe =
        ::CreateFileA(aDevice.link.c_str(), /*dwDesiredAccess=*/0,
                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    const DWORD error = ::GetLastError();
    if (probe == INVALID_HANDLE_VALUE) {
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    }
    ::CloseHandle(probe);
    return false;
}

// What requests end with on a device that is being removed, among other reasons.
bool IsSignOfRemoval(unsigned long aCode) {
    switch (aCode) {
        case ERROR_INVALID_FUNCTION:
        case ERROR_ACCESS_DENIED:
        case ERROR_NOT_READY:
        case ERROR_DELETE_PENDING:
        case ERROR_OPERATION_ABORTED:
        case ERROR_DEVICE_NOT_CONNECTED:
        case ERROR_DEVICE_REMOVED:
            return true;
        default:
            return false;
    }
}

// The device refuses requests before the system has taken its path away.
bool IsBeingRemoved(const Device& aDevice) {
    constexpr int kLooks = 25;
    constexpr DWORD kPauseMs = 20;
    for (int look = 0; look < kLooks; ++look) {
        if (IsGone(aDevice)) return true;
        ::Sleep(kPauseMs);
    }
    return false;
}

}  // namespace

DeviceSession::DeviceSession(const Context& aContext)
    : device_(FindDevice(aContext.options.interfaceClass, aContext.options.device)) {
    aContext.Note("opening " + device_.path);
    const QvUserLib::Result opened = connection_.Connect(device_.link.c_str());
    if (opened.IsFailure()) throw CannotOpen(device_, opened);

    const QvUserLib::Result loaded = parameters_.Connect(&connection_);
    if (loaded.IsFailure()) throw DriverFailure("cannot load the device's parameters", loaded);
    aContext.Note(std::to_string(parameters_.GetCount()) + " parameters loaded");
}

Failure DeviceSession::Explain(const Failure& aFailure) const {
    const std::optional<unsigned long> code = aFailure.GetCode();
    if (!code || !IsSignOfRemoval(*code) || !IsBeingRemoved(device_)) return aFailure;
    return Failure(ExitCode::Failed, std::string("the device has been removed: ") + aFailure.what(),
                   *code);
}

}  // namespace Qvctl
