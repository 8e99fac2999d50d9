// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a change of settings did.

#ifndef QVCTL_VERBS_CHANGEREPORT_H
#define QVCTL_VERBS_CHANGEREPORT_H

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Context.h"
#include "QvKit/Change.h"
#include "output/Report.h"

namespace Qvctl {

// "Gain: 6 dB -> 12 dB".
std::string DescribeEdit(const QvKit::Change::Edit& aEdit);

nlohmann::ordered_json EditsToJson(const std::vector<QvKit::Change::Edit>& aEdits);

// How many of the edits change a value.
std::size_t CountChanges(const std::vector<QvKit::Change::Edit>& aEdits);

// Sends the change and reports it. The JSON form has every edit; the text form has those that
// changed nothing only if `aWithUnchanged`. Throws `QvKit::Error`.
Outcome SendChange(const Context& aContext, const ChosenDevice& aDevice, QvKit::Change& aChange,
                   bool aWithUnchanged);

}  // namespace Qvctl

#endif
