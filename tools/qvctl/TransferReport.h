// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a transfer achieved, as text and as JSON. The names of the JSON's members stay as they are;
// new ones may be added.

#ifndef QVCTL_TRANSFERREPORT_H
#define QVCTL_TRANSFERREPORT_H

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "Context.h"
#include "DeviceSession.h"
#include "FileSender.h"
#include "PacketFile.h"
#include "StreamReader.h"

namespace Qvctl {

// Of a transfer that has ended. `aFile` may be null.
std::string StreamReportText(const StreamReader& aReader, const PacketFile* aFile);
nlohmann::ordered_json StreamReportJson(const StreamReader& aReader, const PacketFile* aFile);

std::string SendReportText(const FileSender& aSender);
nlohmann::ordered_json SendReportJson(const FileSender& aSender);

// Why the stream is no success: the device or the file failed, something was lost though it had to
// be verified, or the user stopped it, in this order. Nothing when it is one.
std::optional<Failure> StreamFailure(const StreamReader& aReader, bool aIsInterrupted);

// Likewise for a file that was sent.
std::optional<Failure> SendFailure(const FileSender& aSender, bool aIsInterrupted);

// Prints the report in the form that was asked for, with the failure in the JSON, and throws the
// failure if there is one.
void FinishTransfer(const Context& aContext, const DeviceSession& aSession,
                    const std::string& aText, const nlohmann::ordered_json& aJson,
                    const std::optional<Failure>& aFailure);

}  // namespace Qvctl

#endif
