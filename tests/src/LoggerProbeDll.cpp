// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A DLL with a logger of static lifetime. It is made while the system's loader starts the DLL, and
// destroyed while the loader ends it.

#include "QvUserLib/Logger.h"

namespace {

using QvUserLib::Logger;
using QvUserLib::PriorityLevel;

Logger logger("probe.dll");

// Logs at the start and at the end of the DLL, while the logger exists.
class Companion {
public:
    Companion() { logger.Log(PriorityLevel::Info, "", 0, "dll", "started"); }
    ~Companion() { logger.Log(PriorityLevel::Info, "", 0, "dll", "ended"); }
};

const Companion companion;

}  // namespace
