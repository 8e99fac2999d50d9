// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "QvKit/StreamReader.h"

#include <algorithm>
#include <utility>

#include "WindowsApi.h"

namespace QvKit {
namespace {

using std::chrono::milliseconds;

// The longest wait before progress is shown again.
constexpr milliseconds kLongestWait(100);

}  // namespace

StreamReader::StreamReader(Channel& aChannel, const PacketFormat& aFormat, StreamSettings aSettings,
                           const StopSignal& aStop, const Clock& aClock)
    : Transfer(aStop, aClock),
      settings_(std::move(aSettings)),
      ring_(aChannel, settings_.depth, settings_.readSize),
      account_(aFormat, settings_.verify),
      isSinkOpen_(settings_.onPacket != nullptr) {}

void StreamReader::Run() {
    while (!MustEnd() && !IsComplete()) {
        SubmitReads();
        const milliseconds wait = std::min(GetTimeLeft().value_or(kLongestWait), kLongestWait);
        if (ring_.WaitForOldest(wait, GetStopSignal())) TakeOldest();
        ShowProgress();
    }
    StopTheClock();
    CancelReads();
}

bool StreamReader::IsComplete() const {
    if (settings_.packets && account_.GetPackets() >= *settings_.packets) return true;
    return settings_.time && GetElapsed() >= *settings_.time;
}

std::optional<milliseconds> StreamReader::GetTimeLeft() const {
    if (!settings_.time) return std::nullopt;
    // A part of a millisecond counts as a whole one, or the last one would be spent busy.
    return std::chrono::ceil<milliseconds>(*settings_.time - GetElapsed());
}

// No more than are needed: a packet that nobody takes would be lost.
void StreamReader::SubmitReads() {
    while (!ring_.IsFull()) {
        if (settings_.packets && account_.GetPackets() + ring_.GetPending() >= *settings_.packets) {
            return;
        }
        ring_.Read();
    }
}

void StreamReader::TakeOldest() {
    const RequestRing::Outcome outcome = ring_.TakeOldest();
    if (isCancelling_ && outcome.error == ERROR_OPERATION_ABORTED) return;
    if (outcome.error != ERROR_SUCCESS) {
        Fail(SystemError(ErrorKind::DeviceFailed, "reading from the device failed", outcome.error));
        return;
    }
    CountCompletion();
    TakePacket(outcome);
}

void StreamReader::TakePacket(const RequestRing::Outcome& aOutcome) {
    const bool isWhole = account_.Take(aOutcome.bytes, aOutcome.size);
    if (!isWhole || !isSinkOpen_) return;
    try {
        settings_.onPacket(aOutcome.bytes, aOutcome.size);
    } catch (const Error& error) {
        // The reads that are pending are still accounted for.
        isSinkOpen_ = false;
        Fail(error);
    }
}

void StreamReader::CancelReads() {
    if (ring_.IsEmpty()) return;
    ChangeProgress().SetStopping();
    isCancelling_ = true;
    ring_.CancelAll();
    while (!ring_.IsEmpty()) TakeOldest();
    ShowProgress();
}

void StreamReader::ShowProgress() {
    TransferProgress& progress = ChangeProgress();
    progress.SetCounts(account_.GetPackets(), account_.GetBytes(), account_.GetDropped());
    if (settings_.packets) {
        progress.SetDone(static_cast<double>(account_.GetPackets()) /
                         static_cast<double>(*settings_.packets));
    } else if (settings_.time) {
        const auto elapsed = static_cast<double>(GetElapsed().count());
        progress.SetDone(std::min(1.0, elapsed / static_cast<double>(settings_.time->count())));
    }
}

}  // namespace QvKit
