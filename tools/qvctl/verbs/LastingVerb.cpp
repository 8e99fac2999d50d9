// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/LastingVerb.h"

#include <chrono>
#include <limits>

#include "CtrlC.h"
#include "commandline/ArgumentValues.h"

namespace Qvctl {
namespace {

std::chrono::milliseconds ToLimit(const std::optional<double>& aSeconds) {
    if (!aSeconds) return QvKit::kNoLimit;
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(*aSeconds));
}

}  // namespace

void AddEndOptions(Arguments& aArguments, const std::string& aCountSummary, LastingEnd& aEnd) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    const Argument count = aArguments.Add("--count N", aEnd.count,
                                          WholeNumber<std::uint64_t>(1, kMost), aCountSummary);
    aArguments.Add("--seconds S", aEnd.seconds, &ParseSeconds, "End after so many seconds")
        .Exclude(count);
}

bool WaitForEnd(const Context& aContext, const QvKit::StopSignal& aIsDone, const LastingEnd& aEnd) {
    (void)aIsDone.WaitForEither(*aContext.stop, ToLimit(aEnd.seconds));
    if (aIsDone.IsRequested()) return true;
    if (aContext.stop->IsRequested()) throw Interrupted();
    return false;
}

}  // namespace Qvctl
