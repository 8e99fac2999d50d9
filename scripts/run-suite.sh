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

require_log4cxx_if_built

# A second try uses the same seed.
export QVTEST_SEED=${QVTEST_SEED:-$((RANDOM * 32768 + RANDOM))}

step "Testing build/$preset"
# Lists the tests of programs that are new. If Wine does not start one of them, the run below lists
# its tests.
ctest --preset "$preset" -N >/dev/null 2>&1 </dev/null || true

# As in run_test_program, a test that Wine did not start is run again; so is one that passed, but
# whose process Wine did not end within the test's time. Any other test has to pass the first time.
failed=0
ctest --preset "$preset" --progress --repeat until-pass:2 "$@" </dev/null || failed=$?
awk '
    / Testing: / { name = $NF; lines = 0; isOutput = 0; hasPassed = 0 }
    /^<end of output>/ { isOutput = 0 }
    isOutput && !/^-+$/ { ++lines }
    isOutput && /^\[  PASSED  \]/ { hasPassed = 1 }
    isOutput && /^\[  FAILED  \]/ { hasPassed = 0 }
    /^Output:/ { isOutput = 1 }
    /^Test time =/ { seconds = $4 }
    /^Test Failed/ {
        reason = !lines ? ", not started" : hasPassed && seconds >= 59 ? ", passed but not ended" : ""
        print "Failed at first" reason ": " name
        began += reason == ""
    }
    END { exit began > 0 }
' "build/$preset/Testing/Temporary/LastTest.log" || ((failed)) || failed=1
exit "$failed"
