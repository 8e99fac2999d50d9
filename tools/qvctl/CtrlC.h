// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The user's wish to stop.

#ifndef QVCTL_CTRLC_H
#define QVCTL_CTRLC_H

#include "Event.h"
#include "Failure.h"

namespace Qvctl {

// While one exists, Ctrl-C and Ctrl-Break ask to stop and do not end the process. Pressed a second
// time they end it as always, should what was asked to stop not come to an end. There can be one at
// a time.
class CtrlC {
public:
    CtrlC();
    ~CtrlC();

    CtrlC(const CtrlC&) = delete;
    CtrlC& operator=(const CtrlC&) = delete;

    // As the system calls it when the user presses the keys; answers whether that was the first
    // time.
    bool Press() const;

    bool IsPressed() const { return pressed_.IsSet(); }

    // Is set when the user has asked to stop.
    const Event& GetEvent() const { return pressed_; }

private:
    Event pressed_;
};

// How a verb ends that the user has stopped.
Failure Interrupted();

}  // namespace Qvctl

#endif
