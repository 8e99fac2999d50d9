// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// What usually goes wrong, and what helps. Looking (Inspection.h) and judging are apart, so that
// each judgement can be tested without the fault.

#ifndef QVCTL_DOCTOR_DOCTOR_H
#define QVCTL_DOCTOR_DOCTOR_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QvKit/Error.h"
#include "doctor/Versions.h"

namespace Qvctl {

// What happened when a device was tried.
struct DeviceFinding {
    std::string path;
    std::optional<QvKit::ErrorKind> openKind;  // With the reason, if it did not open.
    std::string openReason;
    std::string loadReason;  // Why its parameters did not load; empty if they did.
};

struct Findings {
    std::string toolVersion;
    std::vector<Library> libraries;
    std::string interfaceClass;
    bool isSample;                       // Whether that is the sample driver's.
    std::size_t registered;              // Devices that have had the interface, started or not.
    std::vector<DeviceFinding> devices;  // Those that are started.
    std::string logDirectory;            // Where the library looks for log4cxx.
    bool hasLog4cxx;
    std::string logConfig;  // The configuration that would be used.
    bool hasLogConfig;
};

enum class Verdict { Ok, Warning, Problem };

struct Check {
    std::string name;
    Verdict verdict;
    std::string found;
    std::string advice;  // Empty when all is well.
};

std::vector<Check> Judge(const Findings& aFindings);

}  // namespace Qvctl

#endif
