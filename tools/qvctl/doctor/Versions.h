// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// Which libraries the tool runs with.

#ifndef QVCTL_DOCTOR_VERSIONS_H
#define QVCTL_DOCTOR_VERSIONS_H

#include <string>
#include <vector>

namespace Qvctl {

struct Library {
    std::string name;
    std::string path;     // Empty when it is not loaded.
    std::string version;  // Of its version resource; empty when it has none.
};

// The project's DLLs, from where the system found them.
std::vector<Library> GetLibraries();

}  // namespace Qvctl

#endif
