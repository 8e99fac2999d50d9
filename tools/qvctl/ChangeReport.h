// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a change did, as text and as JSON.

#ifndef QVCTL_CHANGEREPORT_H
#define QVCTL_CHANGEREPORT_H

#include "Context.h"
#include "DeviceList.h"
#include "ParameterChange.h"

namespace Qvctl {

// To be called after `Send`. What was edited to the value it had is always in the JSON; in the text
// it is only when asked for.
void ReportChange(const Context& aContext, const Device& aDevice, const ParameterChange& aChange,
                  bool aWithUnchanged);

}  // namespace Qvctl

#endif
