// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Turns Ctrl-C into a stop signal.

#ifndef QVCTL_CTRLC_H
#define QVCTL_CTRLC_H

#include "QvKit/Error.h"
#include "QvKit/StopSignal.h"

namespace Qvctl {

// While one exists, Ctrl-C and Ctrl-Break request its stop signal and do not end the process.
// Pressed a second time they end it as always, in case that what was asked to stop does not. There
// can be one at a time.
class CtrlC {
public:
    CtrlC();
    ~CtrlC();

    CtrlC(const CtrlC&) = delete;
    CtrlC& operator=(const CtrlC&) = delete;

    // Called by the system when the user presses the keys. Returns whether that was the first time.
    bool Press() const;

    bool IsPressed() const { return stop_.IsRequested(); }

    const QvKit::StopSignal& GetStopSignal() const { return stop_; }

private:
    QvKit::StopSignal stop_;
};

// How a verb ends that the user has stopped.
QvKit::Error Interrupted();

}  // namespace Qvctl

#endif
