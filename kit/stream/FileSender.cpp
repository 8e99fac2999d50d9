// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/FileSender.h"

#include <algorithm>
#include <utility>

#include "SystemFile.h"

namespace QvKit {
namespace {

// How long a device that is busy is left alone.
constexpr std::chrono::milliseconds kBusyPause(5);

}  // namespace

FileSender::FileSender(Channel& aChannel, Settings aSettings, const StopSignal& aStop,
                       const Clock& aClock)
    : Transfer(aStop, aClock),
      settings_(std::move(aSettings)),
      file_(std::make_unique<SystemFile>(SystemFile::Open(settings_.path))),
      fileSize_(file_->GetSize()),
      ring_(aChannel, /*aDepth=*/1, settings_.requestSize) {
    // Without a size there is progress without an end.
    if (fileSize_ > 0) ChangeProgress().SetDone(0);
}

FileSender::~FileSender() { StopAndWait(); }

void FileSender::Run() {
    for (;;) {
        const std::size_t size = file_->Read(ring_.GetNextBuffer(), settings_.requestSize);
        if (size == 0 || !Send(size)) return;
    }
}

// Sends what is in the ring's buffer. Returns false when the transfer was stopped before.
bool FileSender::Send(std::size_t aSize) {
    const std::chrono::nanoseconds start = GetElapsed();
    for (;;) {
        if (MustEnd()) return false;
        ring_.Write(aSize);
        const bool isInTime = ring_.WaitForOldest(settings_.requestLimit, GetStopSignal());
        if (!isInTime) {
            ChangeProgress().SetStopping();
            ring_.CancelAll();
        }
        const RequestRing::Outcome outcome = ring_.TakeOldest();
        if (outcome.error == ERROR_SUCCESS) {
            CountSent(aSize, outcome.size);
            return true;
        }
        if (outcome.error == ERROR_OPERATION_ABORTED && MustEnd()) return false;
        if (outcome.error == ERROR_OPERATION_ABORTED && !isInTime) {
            throw Error(ErrorKind::TimedOut,
                        "Write of " + std::to_string(aSize) + " bytes timed out after " +
                            std::to_string(settings_.requestLimit.count()) + " ms",
                        ERROR_TIMEOUT);
        }
        if (outcome.error != ERROR_BUSY) {
            throw SystemError(ErrorKind::DeviceFailed, "writing to the device failed",
                              outcome.error);
        }
        if (!PauseWhileBusy(start)) return false;
    }
}

// Returns false when the transfer was stopped meanwhile.
bool FileSender::PauseWhileBusy(std::chrono::nanoseconds aSince) {
    if (GetElapsed() - aSince >= settings_.busyLimit) {
        throw SystemError(ErrorKind::DeviceFailed,
                          "the device has taken nothing for " +
                              std::to_string(settings_.busyLimit.count()) + " ms",
                          ERROR_BUSY);
    }
    ++busyRetries_;
    return !GetStopSignal().WaitFor(kBusyPause);
}

void FileSender::CountSent(std::size_t aSize, std::size_t aTaken) {
    CountCompletion();
    ++requests_;
    bytes_ += aTaken;
    ChangeProgress().SetCounts(requests_, bytes_, /*aDropped=*/0);
    if (fileSize_ > 0) {
        const double done = static_cast<double>(bytes_) / static_cast<double>(fileSize_);
        // The file may grow meanwhile.
        ChangeProgress().SetDone(std::min(done, 1.0));
    }
    if (aTaken == aSize) return;
    throw Error(ErrorKind::DeviceFailed, "the device has taken only " + std::to_string(aTaken) +
                                             " of the " + std::to_string(aSize) +
                                             " bytes of a request");
}

}  // namespace QvKit
