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
      isSinkOpen_(settings_.onRead != nullptr) {}

void StreamReader::Run() {
    while (!MustEnd() && !IsComplete()) {
        SubmitReads();
        const bool hasCome =
            ring_.WaitForOldest(GetLongestWait(), GetStopSignal()) && TakeOldest() > 0;
        ShowProgress();
        if (!hasCome && IsSilent()) break;
    }
    StopTheClock();
    CancelReads();
}

bool StreamReader::IsComplete() const {
    if (settings_.packets && account_.GetPackets() >= *settings_.packets) return true;
    return settings_.time && GetElapsed() >= *settings_.time;
}

bool StreamReader::IsSilent() const {
    return settings_.silence && GetElapsed() - lastRead_ >= *settings_.silence;
}

milliseconds StreamReader::GetLongestWait() const {
    std::chrono::nanoseconds wait = kLongestWait;
    const std::chrono::nanoseconds now = GetElapsed();
    if (settings_.time) wait = std::min(wait, *settings_.time - now);
    if (settings_.silence) wait = std::min(wait, lastRead_ + *settings_.silence - now);
    // A part of a millisecond counts as a whole one, or the last one would be spent busy.
    return std::chrono::ceil<milliseconds>(wait);
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

// Returns how many bytes have come.
std::size_t StreamReader::TakeOldest() {
    const RequestRing::Outcome outcome = ring_.TakeOldest();
    if (isCancelling_ && outcome.error == ERROR_OPERATION_ABORTED) return 0;
    // What is more than one read can hold comes with the next one.
    if (outcome.error != ERROR_SUCCESS && outcome.error != ERROR_MORE_DATA) {
        Fail(SystemError(ErrorKind::DeviceFailed, "reading from the device failed", outcome.error));
        return 0;
    }
    CountCompletion();
    TakePacket(outcome);
    if (outcome.size > 0) lastRead_ = GetElapsed();
    return outcome.size;
}

void StreamReader::TakePacket(const RequestRing::Outcome& aOutcome) {
    account_.Take(aOutcome.bytes, aOutcome.size);
    if (!isSinkOpen_) return;
    try {
        settings_.onRead(aOutcome.bytes, aOutcome.size);
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
    while (!ring_.IsEmpty()) (void)TakeOldest();  // Whatever has come is counted.
    ShowProgress();
}

void StreamReader::ShowProgress() {
    TransferProgress& progress = ChangeProgress();
    progress.SetCounts(account_.GetPackets(), account_.GetBytes(), account_.GetDropped());
    if (!settings_.packets && !settings_.time) return;
    double done = 0;
    if (settings_.packets) {
        done = static_cast<double>(account_.GetPackets()) / static_cast<double>(*settings_.packets);
    }
    if (settings_.time) {
        const auto elapsed = static_cast<double>(GetElapsed().count());
        done = std::max(done, elapsed / static_cast<double>(settings_.time->count()));
    }
    progress.SetDone(std::min(1.0, done));
}

}  // namespace QvKit
