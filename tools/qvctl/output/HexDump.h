// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Bytes for people and for JSON.

#ifndef QVCTL_OUTPUT_HEXDUMP_H
#define QVCTL_OUTPUT_HEXDUMP_H

#include <string>
#include <vector>

namespace Qvctl {

// Lines of 16 bytes: the offset, the bytes in hexadecimal, and their characters, with a dot for
// those that are not printable ASCII.
std::string HexDump(const std::vector<unsigned char>& aBytes);

// Two digits a byte and nothing else.
std::string ToHex(const std::vector<unsigned char>& aBytes);

}  // namespace Qvctl

#endif
