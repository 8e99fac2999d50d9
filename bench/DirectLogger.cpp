// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

// A separate DLL, so that the benchmarks start without log4cxx.

#include "DirectLogger.h"

#include <log4cxx/level.h>
#include <log4cxx/logger.h>

#include <cstdio>
#include <string>

extern "C" __declspec(dllexport) void QvBenchLogDirectly(const char* aName, int aLevel,
                                                         const char* aFormat, const char* aPrefix,
                                                         int aNumber) {
    static const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger(std::string(aName));
    const log4cxx::LevelPtr level = log4cxx::Level::toLevel(aLevel);
    if (!logger->isEnabledFor(level)) return;
    char text[1024];
    std::snprintf(text, sizeof text, aFormat, aPrefix, aNumber);
    logger->log(level, std::string(text));
}
