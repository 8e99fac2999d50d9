// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Events of the system that stay set until they are reset, and waits for them.

#ifndef QVKIT_SUPPORT_EVENT_H
#define QVKIT_SUPPORT_EVENT_H

#include <chrono>

#include "UniqueHandle.h"

namespace QvKit {

// Throws `Error` when the system has no event left.
QvBaseLib::KernelHandle CreateManualEvent();

// The limit as system calls take it.
DWORD ToSystemWait(std::chrono::milliseconds aLimit);

}  // namespace QvKit

#endif
