// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "TransferRun.h"

namespace Qvctl {

void RunTransfer(TransferThread& aTransfer, const Event& aStop, ProgressDisplay& aDisplay,
                 const TransferItems& aItems) {
    const Stopwatch stopwatch;
    const auto figures = [&] {
        return FiguresOf(aTransfer.GetProgress(), aItems.noun, aItems.canDrop,
                         stopwatch.GetSeconds());
    };

    aTransfer.Start();
    const HANDLE handles[] = {aTransfer.GetHandle(), aStop.GetHandle()};
    // When it has been asked to stop, only its end is waited for.
    DWORD watched = ARRAYSIZE(handles);
    for (;;) {
        const DWORD woken =
            ::WaitForMultipleObjects(watched, handles, /*bWaitAll=*/FALSE, aDisplay.GetPeriodMs());
        if (woken == WAIT_TIMEOUT) {
            aDisplay.Show(figures());
        } else if (woken == WAIT_OBJECT_0 + 1) {
            aTransfer.RequestStop();
            watched = 1;
        } else {
            break;
        }
    }
    aDisplay.Finish(figures());
}

}  // namespace Qvctl
