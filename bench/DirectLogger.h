// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVBENCH_DIRECTLOGGER_H
#define QVBENCH_DIRECTLOGGER_H

namespace QvBench {

/// Logs a formatted text with log4cxx directly, as a program that links it does: gets the logger at
/// the first call, and composes the text only if the level is on.
using DirectLogger = void(const char* aName, int aLevel, const char* aFormat, const char* aPrefix,
                          int aNumber);

}  // namespace QvBench

#endif
