// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "verbs/TransferRun.h"

namespace Qvctl {

TransferSpan RunTransfer(QvKit::Transfer& aTransfer, ProgressDisplay& aDisplay,
                         const TransferItems& aItems) {
    const Moment began = Moment::Now();
    const QvKit::Stopwatch stopwatch;
    const auto figures = [&] {
        return FiguresOf(aTransfer.GetProgress(), aItems.noun, aItems.canDrop,
                         stopwatch.GetSeconds());
    };

    aTransfer.Start();
    while (!aTransfer.WaitFor(aDisplay.GetPeriod())) aDisplay.Show(figures());
    aDisplay.Finish(figures());
    return {began, Moment::Now()};
}

}  // namespace Qvctl
