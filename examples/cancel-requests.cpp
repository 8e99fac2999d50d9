// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Cancels the requests that a silent device leaves pending, and collects each of them.

#include <windows.h>

#include <cstdio>
#include <vector>

#include "QvSample/QvSampleDevice.h"
#include "QvUserLib/QvUserLib.h"

namespace {

const unsigned int kRequests = 4;
const unsigned int kBytes = 4096;
const DWORD kLimitMs = 100;

/// Makes the device hold its reads back, or serve them again.
bool SetSilent(QvUserLib::DeviceConnection& aDevice, bool aIsSilent) {
    QvUserLib::DeviceParameterRepository parameters;
    if (parameters.Connect(&aDevice).IsFailure() || parameters.ResetDefaults().IsFailure()) {
        return false;
    }
    // By default it serves them. To set the same value once more would take the change mark away.
    if (aIsSilent && parameters.GetByID(QV_SAMPLE_ID_FAULT_HOLD)->SetInt(1).IsFailure()) {
        return false;
    }
    return parameters.Apply().IsSuccess();
}

}  // namespace

int main() {
    QvUserLib::DeviceConnection device;
    if (device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsFailure()) return 3;
    if (!SetSilent(device, true)) return 1;

    std::vector<std::vector<char>> buffers(kRequests, std::vector<char>(kBytes));
    std::vector<OVERLAPPED*> pending;  // The oldest first.
    QvUserLib::DeviceRequestQueue queue;
    if (queue.Allocate(kRequests + 1, &device).IsFailure()) return 1;
    for (std::vector<char>& buffer : buffers) {
        pending.push_back(static_cast<OVERLAPPED*>(queue.GetNextAvailableRequest()));
        unsigned long notYet = 0;
        // A failure is reported again when the request is collected.
        (void)device.Read(buffer.data(), kBytes, &notYet, pending.back());
    }
    // A record's event is signalled when its request has completed.
    if (::WaitForSingleObject(pending.front()->hEvent, kLimitMs) == WAIT_TIMEOUT) {
        std::printf("no packet within %lu ms\n", kLimitMs);
    }

    // Only the owner of the handle can cancel. The connection no longer has it then, so the program
    // collects in the place of the queue.
    const HANDLE handle = device.ReleaseHandle();
    ::CancelIoEx(handle, /*lpOverlapped=*/nullptr);
    unsigned int completed = 0;
    unsigned int cancelled = 0;
    for (OVERLAPPED* request : pending) {
        DWORD size = 0;
        if (::GetOverlappedResult(handle, request, &size, /*bWait=*/TRUE)) {
            ++completed;  // A packet of `size` bytes has come after all.
        } else if (::GetLastError() == ERROR_OPERATION_ABORTED) {
            ++cancelled;
        }
    }
    ::CloseHandle(handle);
    std::printf("%u completed, %u cancelled\n", completed, cancelled);

    // The driver has let go of buffers and records. The connection can be used again, with another
    // queue.
    if (device.Connect(GUID_DEVINTERFACE_QVSAMPLE, 0).IsFailure()) return 1;
    return SetSilent(device, false) ? 0 : 1;
}
