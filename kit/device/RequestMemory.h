// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What a driver writes to while a request is pending, and what becomes of it when the driver does
// not give it back.

#ifndef QVKIT_DEVICE_REQUESTMEMORY_H
#define QVKIT_DEVICE_REQUESTMEMORY_H

#include <cstddef>
#include <memory>
#include <vector>

#include "Event.h"

namespace QvKit {

struct RequestMemory {
    explicit RequestMemory(std::size_t aCapacity) : event(CreateManualEvent()), buffer(aCapacity) {}

    QvBaseLib::KernelHandle event;
    std::vector<unsigned char> buffer;
    OVERLAPPED record = {};
};

// Leaves the memory of a pending request to the driver. A thread of the system frees it when the
// request completes. The device's handle may be closed before.
void LeaveToDriver(std::unique_ptr<RequestMemory> aMemory);

}  // namespace QvKit

#endif
