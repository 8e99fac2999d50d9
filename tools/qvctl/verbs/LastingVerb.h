// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// When a verb ends that prints what comes: after so many things, after a time, or at Ctrl-C.

#ifndef QVCTL_VERBS_LASTINGVERB_H
#define QVCTL_VERBS_LASTINGVERB_H

#include <cstdint>
#include <optional>
#include <string>

#include "Context.h"
#include "QvKit/StopSignal.h"
#include "commandline/Arguments.h"

namespace Qvctl {

struct LastingEnd {
    std::optional<std::uint64_t> count;
    std::optional<double> seconds;
};

// Adds --count, which the summary describes, and --seconds.
void AddEndOptions(Arguments& aArguments, const std::string& aCountSummary, LastingEnd& aEnd);

// Waits until `aIsDone` is requested. Returns false when the time is over before. Throws
// `QvKit::Error` at Ctrl-C.
bool WaitForEnd(const Context& aContext, const QvKit::StopSignal& aIsDone, const LastingEnd& aEnd);

}  // namespace Qvctl

#endif
