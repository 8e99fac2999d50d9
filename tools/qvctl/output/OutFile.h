// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The file that the user names for what a device returns.

#ifndef QVCTL_OUTPUT_OUTFILE_H
#define QVCTL_OUTPUT_OUTFILE_H

#include <memory>
#include <string>

#include "QvKit/PacketFile.h"

namespace Qvctl {

// The name of standard output as a file.
constexpr char kStandardOutput[] = "-";

// Makes the file, or takes standard output; null for an empty name. Throws `QvKit::Error`.
std::unique_ptr<QvKit::PacketFile> OpenOutFile(const std::string& aName);

}  // namespace Qvctl

#endif
