// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVKIT_SUPPORT_TURN_H
#define QVKIT_SUPPORT_TURN_H

#include "UniqueHandle.h"

namespace QvKit {

// While one exists, other programs and threads that use the kit wait to change a device: between
// looking at it, sending, and looking again. One program can keep others waiting for 5 seconds
// only, as its device may hang. Then, and where the system denies the wait, the change goes without
// it.
class Turn {
public:
    Turn();
    ~Turn();

    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    QvBaseLib::KernelHandle mutex_;
    bool isOwner_;
};

}  // namespace QvKit

#endif
