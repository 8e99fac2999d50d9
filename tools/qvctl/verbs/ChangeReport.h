// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a change of settings did.

#ifndef QVCTL_VERBS_CHANGEREPORT_H
#define QVCTL_VERBS_CHANGEREPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Context.h"
#include "QvKit/Change.h"
#include "commandline/Arguments.h"
#include "output/Report.h"

namespace Qvctl {

// How a verb changes settings.
struct ChangeFlags {
    bool isDryRun = false;
    QvKit::SendOptions sending;
};

void AddChangeFlags(Arguments& aArguments, ChangeFlags& aFlags);

// Whether the edit changed the value, or would change it.
bool HasChanged(const QvKit::Edit& aEdit);

// "Gain: 6 dB -> 12 dB", and in brackets what else became of it.
std::string DescribeEdit(const QvKit::Edit& aEdit);

// The members "parameters" and "restored".
void AddToJson(nlohmann::ordered_json& aJson, const QvKit::ChangeOutcome& aOutcome);

// Whether anything was sent.
bool WasSent(const QvKit::ChangeOutcome& aOutcome);

// Sends the change, unless it is a dry run.
QvKit::ChangeOutcome SendChange(const Context& aContext, const ChosenDevice& aDevice,
                                QvKit::Change& aChange, const ChangeFlags& aFlags);

// The same with a report. The JSON form has every edit; the text form has those that changed
// nothing only if `aWithUnchanged`.
Outcome SendAndReport(const Context& aContext, const ChosenDevice& aDevice, QvKit::Change& aChange,
                      const ChangeFlags& aFlags, bool aWithUnchanged);

// The last line of a dry run.
constexpr char kDryRun[] = "a dry run: nothing was sent";

}  // namespace Qvctl

#endif
