// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#include "DeviceUse.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "QvKit/Error.h"

namespace Qvctl {

DeviceUse::DeviceUse(const QvKit::DeviceAddress& aDevice) : instance_(NameFor(aDevice).c_str()) {
    if (instance_.IsAnyOtherInstance() != 0) {
        throw QvKit::Error(QvKit::ErrorKind::DeviceInUse,
                           "the device is in use: another qvctl is streaming from " + aDevice.path);
    }
}

std::string DeviceUse::NameFor(const QvKit::DeviceAddress& aDevice) {
    // A path may be too long for a name, and has backslashes, which a name cannot have. So the name
    // holds its hash (FNV-1a).
    constexpr std::uint64_t kBasis = 0xCBF29CE484222325;
    constexpr std::uint64_t kPrime = 0x100000001B3;
    constexpr std::size_t kPrefix = 4;  // \\?\ and \\.\ mean the same.
    std::uint64_t hash = kBasis;
    for (const char character : aDevice.link.substr(std::min(kPrefix, aDevice.link.size()))) {
        hash ^= static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(character)));
        hash *= kPrime;
    }
    char name[64];
    std::snprintf(name, sizeof name, "Global\\qvctl stream %016llx",
                  static_cast<unsigned long long>(hash));
    return name;
}

}  // namespace Qvctl
