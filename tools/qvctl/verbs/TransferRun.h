// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A transfer from its start to its end, with its progress on the terminal.

#ifndef QVCTL_VERBS_TRANSFERRUN_H
#define QVCTL_VERBS_TRANSFERRUN_H

#include <cstdint>

#include "QvKit/Transfer.h"
#include "output/Moment.h"
#include "output/ProgressDisplay.h"

namespace Qvctl {

// What the items of a transfer are called, and whether any can be dropped.
struct TransferItems {
    const char* noun;
    bool canDrop;
};

// From when until when it ran.
struct TransferSpan {
    Moment began;
    Moment ended;
};

// Starts the transfer, shows its progress, and returns when it has ended. Throws `QvKit::Error`
// when it cannot be started.
TransferSpan RunTransfer(QvKit::Transfer& aTransfer, ProgressDisplay& aDisplay,
                         const TransferItems& aItems);

}  // namespace Qvctl

#endif
