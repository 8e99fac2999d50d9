#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds everything, checks the sources, and runs all tests in Wine: unit tests, the same tests on a
# guarded heap, and tests on the sample driver.
# Usage: scripts/test.sh [CTEST OPTION…]      (such as -L unit, -L guarded, or -R Parameter)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/build.sh mingw
scripts/check.sh
scripts/run-suite.sh mingw "$@"
