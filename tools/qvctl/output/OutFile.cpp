// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "output/OutFile.h"

#include "WindowsApi.h"

namespace Qvctl {

std::unique_ptr<QvKit::PacketFile> OpenOutFile(const std::string& aName) {
    if (aName.empty()) return nullptr;
    if (aName != kStandardOutput) return std::make_unique<QvKit::PacketFile>(aName);
    return std::make_unique<QvKit::PacketFile>(::GetStdHandle(STD_OUTPUT_HANDLE), aName);
}

}  // namespace Qvctl
