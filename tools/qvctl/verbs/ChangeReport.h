// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a change of settings did.

#ifndef QVCTL_VERBS_CHANGEREPORT_H
#define QVCTL_VERBS_CHANGEREPORT_H

#include "Context.h"
#include "QvKit/Change.h"
#include "output/Report.h"

namespace Qvctl {

// Sends the change and reports it. The JSON form has every edit; the text form has those that
// changed nothing only if `aWithUnchanged`. Throws `QvKit::Error`.
Outcome SendChange(const Context& aContext, const ChosenDevice& aDevice, QvKit::Change& aChange,
                   bool aWithUnchanged);

}  // namespace Qvctl

#endif
