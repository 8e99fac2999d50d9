// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

#ifndef QVTESTS_REQUIRELOG4CXX_H
#define QVTESTS_REQUIRELOG4CXX_H

#include <gtest/gtest.h>

#include <cstdlib>

/// For tests that need a library which was built with log4cxx: they are skipped otherwise, unless
/// whoever runs them knows that log4cxx could be had.
#ifdef QVTESTS_HAS_LOG4CXX
#define REQUIRE_LOG4CXX() static_cast<void>(0)
#else
#define REQUIRE_LOG4CXX()                                                  \
    if (std::getenv("QV_LOG4CXX_REQUIRED") != nullptr) {                   \
        FAIL() << "built without log4cxx, although its sources are there"; \
    }                                                                      \
    GTEST_SKIP() << "built without log4cxx"
#endif

#endif
