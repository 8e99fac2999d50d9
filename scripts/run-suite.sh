#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs the tests of build/PRESET, built before, in Wine, with the sample driver installed.
# Usage: scripts/run-suite.sh PRESET [CTEST OPTION…]      (such as -L unit, or -R Parameter)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

preset=$1
shift
start_wine_with_devices "$PWD/build/$preset" 2

# Tests of logging are skipped when log4cxx could not be had, and only then.
if scripts/build-log4cxx.sh --sources-only >/dev/null; then export QV_LOG4CXX_REQUIRED=1; fi

step "Testing build/$preset"
# Wine fails to start a program once in some thousand times, without a word: what failed is run a
# second time, and named below.
failed=0
ctest --preset "$preset" --progress --repeat until-pass:2 "$@" </dev/null || failed=$?
awk '/ Testing: / { name = $NF } /^Test Failed/ { print "Failed at first: " name }' \
    "build/$preset/Testing/Temporary/LastTest.log"
exit "$failed"
