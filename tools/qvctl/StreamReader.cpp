// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "StreamReader.h"

#include <algorithm>
#include <cmath>

#include "LibraryError.h"

namespace Qvctl {
namespace {

// The longest wait without a look at the progress of time.
constexpr DWORD kLongestWaitMs = 100;

constexpr double kMsPerSecond = 1000.0;

}  // namespace

StreamReader::StreamReader(QvUserLib::DeviceConnection& aConnection,
                           const StreamSettings& aSettings, PacketFile* aFile)
    : settings_(aSettings),
      file_(aFile),
      ring_(aConnection, aSettings.depth, aSettings.readSize),
      check_(aSettings.verify) {
    if (settings_.packets) {
        GetProgress().SetStepTotal(*settings_.packets);
    } else if (settings_.seconds) {
        GetProgress().SetStepTotal(static_cast<unsigned int>(*settings_.seconds * kMsPerSecond));
    }
}

void StreamReader::Transfer() {
    while (!MustEnd() && !IsComplete()) {
        SendReads();
        const DWORD waitMs = std::min(GetRemainingMs().value_or(kLongestWaitMs), kLongestWaitMs);
        if (ring_.WaitForOldest(GetStopEvent(), waitMs)) TakeOldest();
        ShowProgress();
    }
    StopTheClock();
    CancelReads();
}

bool StreamReader::IsComplete() const {
    if (settings_.packets && check_.GetPackets() >= *settings_.packets) return true;
    return GetRemainingMs().value_or(1) == 0;
}

std::optional<DWORD> StreamReader::GetRemainingMs() const {
    if (!settings_.seconds) return std::nullopt;
    const double remaining = *settings_.seconds - GetStopwatch().GetSeconds();
    return static_cast<DWORD>(std::ceil(std::max(remaining, 0.0) * kMsPerSecond));
}

// No more than are needed: a packet that nobody takes would be lost.
void StreamReader::SendReads() {
    while (!ring_.IsFull()) {
        if (settings_.packets && check_.GetPackets() + ring_.GetPending() >= *settings_.packets) {
            return;
        }
        ring_.Read();
    }
}

void StreamReader::TakeOldest() {
    const RequestRing::Outcome outcome = ring_.TakeOldest();
    if (isCancelling_ && outcome.error == ERROR_OPERATION_ABORTED) return;
    if (outcome.error != 0) {
        Fail(SystemFailure("reading from the device failed", outcome.error));
        return;
    }
    CountCompletion();
    TakePacket(outcome);
}

void StreamReader::TakePacket(const RequestRing::Outcome& aOutcome) {
    const bool isWhole = check_.Take(aOutcome.bytes, aOutcome.size);
    if (!isWhole || file_ == nullptr) return;
    try {
        file_->Append(aOutcome.bytes, aOutcome.size);
    } catch (const Failure& failure) {
        // The reads that are pending are still accounted for.
        file_ = nullptr;
        Fail(failure);
    }
}

void StreamReader::CancelReads() {
    if (ring_.IsEmpty()) return;
    GetProgress().SetStatus("stopping");
    isCancelling_ = true;
    ring_.CancelAll();
    while (!ring_.IsEmpty()) TakeOldest();
    ShowProgress();
}

void StreamReader::ShowProgress() {
    TransferProgress& progress = GetProgress();
    progress.SetCounts(check_.GetPackets(), check_.GetBytes(), check_.GetDropped());
    if (settings_.packets) {
        progress.SetStepCompleted(static_cast<unsigned int>(check_.GetPackets()));
    } else if (settings_.seconds) {
        const double elapsedMs = GetStopwatch().GetSeconds() * kMsPerSecond;
        progress.SetStepCompleted(
            static_cast<unsigned int>(std::min(elapsedMs, *settings_.seconds * kMsPerSecond)));
    } else {
        return;
    }
    progress.SetPercentage();
}

}  // namespace Qvctl
