// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// How large the packets of a device may be.

#ifndef QVCTL_PACKETSIZE_H
#define QVCTL_PACKETSIZE_H

#include <cstddef>

#include "QvUserLib/ParameterRepository.h"

namespace Qvctl {

// The size of a read, in bytes, that gets one packet. While the device makes packets it is that of
// the largest, so that they may change their size; while it returns what was written to it, that of
// the packets at the moment. Large for a device that says nothing about it.
std::size_t PacketReadSize(QvUserLib::ParameterRepository& aParameters);

}  // namespace Qvctl

#endif
