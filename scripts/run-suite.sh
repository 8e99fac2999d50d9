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

# A second try is to meet what the first one met.
export QVTEST_SEED=${QVTEST_SEED:-$((RANDOM * 32768 + RANDOM))}

step "Testing build/$preset"
# Wine fails to start a program once in some thousand times, without a word: what failed is run a
# second time, and named below. Whatever began to run has to pass the first time.
failed=0
ctest --preset "$preset" --progress --repeat until-pass:2 "$@" </dev/null || failed=$?
awk '
    / Testing: / { name = $NF; lines = 0; isOutput = 0 }
    /^<end of output>/ { isOutput = 0 }
    isOutput && !/^-+$/ { ++lines }
    /^Output:/ { isOutput = 1 }
    /^Test Failed/ { print "Failed at first" (lines ? "" : ", not started") ": " name; began += lines }
    END { exit began > 0 }
' "build/$preset/Testing/Temporary/LastTest.log" || ((failed)) || failed=1
exit "$failed"
