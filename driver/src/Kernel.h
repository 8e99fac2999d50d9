// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The kernel's own declarations, and how this driver allocates memory.

#ifndef QVSAMPLE_KERNEL_H
#define QVSAMPLE_KERNEL_H

#include <wdm.h>

// Memory that holds data must not be executable: `NonPagedPoolNx` is the one to allocate from.
#pragma GCC poison NonPagedPool NonPagedPoolCacheAligned

// Reads "Qvsm" in a pool dump.
#define QV_POOL_TAG 0x6D737651u

#endif
