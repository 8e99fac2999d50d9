// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/LastingVerb.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <limits>

#include "CtrlC.h"
#include "commandline/ArgumentChecks.h"

namespace Qvctl {
namespace {

std::chrono::milliseconds ToLimit(const std::optional<double>& aSeconds) {
    if (!aSeconds) return QvKit::kNoLimit;
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(*aSeconds));
}

}  // namespace

void AddEndOptions(CLI::App& aCommand, const std::string& aCountSummary, LastingEnd& aEnd) {
    auto* const count = aCommand.add_option("--count", aEnd.count, aCountSummary)
                            ->option_text("N")
                            ->check(CheckWhole(1, std::numeric_limits<std::uint64_t>::max()));
    aCommand.add_option("--seconds", aEnd.seconds, "End after so many seconds")
        ->option_text("S")
        ->check(CheckSeconds())
        ->excludes(count);
}

bool WaitForEnd(const Context& aContext, const QvKit::StopSignal& aIsDone, const LastingEnd& aEnd) {
    (void)aIsDone.WaitForEither(*aContext.stop, ToLimit(aEnd.seconds));
    if (aIsDone.IsRequested()) return true;
    if (aContext.stop->IsRequested()) throw Interrupted();
    return false;
}

}  // namespace Qvctl
