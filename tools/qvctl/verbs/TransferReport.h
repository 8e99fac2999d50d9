// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a transfer achieved.

#ifndef QVCTL_VERBS_TRANSFERREPORT_H
#define QVCTL_VERBS_TRANSFERREPORT_H

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "DeviceChoice.h"
#include "QvKit/FileSender.h"
#include "QvKit/IntervalStatistics.h"
#include "QvKit/PacketFile.h"
#include "QvKit/StreamReader.h"
#include "output/Report.h"
#include "verbs/TransferRun.h"

namespace Qvctl {

// "min 10.0 us, median 11.2 us, p99 1.05 ms, max 2.00 s"; "too few" without any time.
std::string IntervalsText(const QvKit::IntervalStatistics& aIntervals);

// In us; null without any time.
nlohmann::ordered_json IntervalsJson(const QvKit::IntervalStatistics& aIntervals);

// The reports of transfers that have ended. What is given is borrowed only for the call, but for
// the packet format. `aFile` may be null.
std::unique_ptr<Report> MakeStreamReport(const ChosenDevice& aDevice,
                                         const QvKit::StreamReader& aReader,
                                         const TransferSpan& aSpan, const QvKit::PacketFile* aFile);
std::unique_ptr<Report> MakeSendReport(const ChosenDevice& aDevice,
                                       const QvKit::FileSender& aSender, const TransferSpan& aSpan);

// Why the stream is no success: the device or the file failed, something was lost when it had to be
// verified, the user stopped it, or it ended with fewer packets than were asked for, in this order.
// Nothing when it is one.
std::optional<QvKit::Error> StreamError(const QvKit::StreamReader& aReader, bool aIsInterrupted);

// Why a transfer is no success: it failed, or the user stopped it.
std::optional<QvKit::Error> TransferError(const QvKit::Transfer& aTransfer, bool aIsInterrupted);

// The outcome with that error, which says so if the device has been removed.
Outcome MakeOutcome(const ChosenDevice& aDevice, std::unique_ptr<Report> aReport,
                    const std::optional<QvKit::Error>& aError);

}  // namespace Qvctl

#endif
