#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds everything, checks the sources, and runs the tests in Wine: unit tests, and tests on the
# sample driver. What takes longer is in scripts/test-variants.sh.
# Usage: scripts/test.sh [CTEST OPTION…]      (such as -L unit, or -R Parameter)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/build.sh mingw
scripts/check.sh
scripts/run-suite.sh mingw "$@"
