// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "FileSender.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "LibraryError.h"
#include "Utf8.h"

namespace Qvctl {
namespace {

// How long a device that is busy is left alone.
constexpr DWORD kBusyPauseMs = 5;

constexpr std::uint64_t kNsPerMs = 1000000;

HANDLE OpenFile(const std::string& aPath) {
    const HANDLE file =
        ::CreateFileW(FromUtf8(aPath).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    const DWORD error = ::GetLastError();
    if (file == INVALID_HANDLE_VALUE) throw SystemFailure("cannot open '" + aPath + "'", error);
    return file;
}

}  // namespace

FileSender::FileSender(QvUserLib::DeviceConnection& aConnection, Settings aSettings)
    : settings_(std::move(aSettings)),
      file_(OpenFile(settings_.path)),
      ring_(aConnection, /*aDepth=*/1, settings_.requestSize) {
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(file_, &size)) return;  // Then there is progress without an end.
    fileSize_ = static_cast<std::uint64_t>(size.QuadPart);
    const std::uint64_t requests = (fileSize_ + settings_.requestSize - 1) / settings_.requestSize;
    GetProgress().SetStepTotal(static_cast<unsigned int>(
        std::min<std::uint64_t>(requests, std::numeric_limits<unsigned int>::max())));
}

FileSender::~FileSender() {
    StopAndWait();
    ::CloseHandle(file_);
}

void FileSender::Transfer() {
    for (;;) {
        const std::size_t size = ReadFile(ring_.GetNextBuffer());
        if (size == 0 || !Send(size)) return;
    }
}

std::size_t FileSender::ReadFile(unsigned char* aBuffer) const {
    DWORD size = 0;
    const BOOL done = ::ReadFile(file_, aBuffer, static_cast<DWORD>(settings_.requestSize), &size,
                                 /*lpOverlapped=*/nullptr);
    const DWORD error = ::GetLastError();
    if (!done) throw SystemFailure("cannot read '" + settings_.path + "'", error);
    return size;
}

// Sends what is in the ring's buffer. Answers false when it was asked to stop before.
bool FileSender::Send(std::size_t aSize) {
    const std::uint64_t start = GetStopwatch().GetNanoseconds();
    for (;;) {
        if (MustEnd()) return false;
        ring_.Write(aSize);
        if (!ring_.WaitForOldest(GetStopEvent(), INFINITE)) {
            GetProgress().SetStatus("stopping");
            ring_.CancelAll();
        }
        const RequestRing::Outcome outcome = ring_.TakeOldest();
        if (outcome.error == 0) {
            CountSent(aSize, outcome.size);
            return true;
        }
        if (outcome.error == ERROR_OPERATION_ABORTED && MustEnd()) return false;
        if (outcome.error != ERROR_BUSY) {
            throw SystemFailure("writing to the device failed", outcome.error);
        }
        if (!WaitWhileBusy(start)) return false;
    }
}

// Answers false when it was asked to stop meanwhile.
bool FileSender::WaitWhileBusy(std::uint64_t aSinceNs) {
    if (GetStopwatch().GetNanoseconds() - aSinceNs >= settings_.busyMs * kNsPerMs) {
        throw SystemFailure(
            "the device has taken nothing for " + std::to_string(settings_.busyMs) + " ms",
            ERROR_BUSY);
    }
    ++busyRetries_;
    return !GetStopEvent().Wait(kBusyPauseMs);
}

void FileSender::CountSent(std::size_t aSize, std::size_t aTaken) {
    CountCompletion();
    ++requests_;
    bytes_ += aTaken;
    GetProgress().SetCounts(requests_, bytes_, 0);
    GetProgress().StepIncrement();
    GetProgress().SetPercentage();
    if (aTaken == aSize) return;
    throw Failure(ExitCode::Failed, "the device has taken only " + std::to_string(aTaken) +
                                        " of the " + std::to_string(aSize) + " bytes of a request");
}

}  // namespace Qvctl
