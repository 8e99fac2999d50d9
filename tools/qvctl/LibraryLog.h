// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// The library's error log as a file.

#ifndef QVCTL_LIBRARYLOG_H
#define QVCTL_LIBRARYLOG_H

#include <string>

#include "QvKit/Error.h"

namespace Qvctl {

class LibraryLog {
public:
    // Opens the process-wide log of the library. The path is UTF-8. Throws `QvKit::Error`.
    explicit LibraryLog(const std::string& aPath);

    // Adds the refusals that the library did not write itself.
    void Record(const QvKit::Error& aError);
};

}  // namespace Qvctl

#endif
