// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A transfer from its start to its end, as the user sees it.

#ifndef QVCTL_TRANSFERRUN_H
#define QVCTL_TRANSFERRUN_H

#include "Event.h"
#include "ProgressDisplay.h"
#include "TransferThread.h"

namespace Qvctl {

// What the items of a transfer are called, and whether any can be dropped.
struct TransferItems {
    const char* noun;
    bool canDrop;
};

// Starts the transfer, shows its progress, and comes back when it has ended. Asks it to stop when
// the event is set. Throws `Failure` when it cannot be started.
void RunTransfer(TransferThread& aTransfer, const Event& aStop, ProgressDisplay& aDisplay,
                 const TransferItems& aItems);

}  // namespace Qvctl

#endif
