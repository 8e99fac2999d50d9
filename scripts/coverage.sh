#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs all tests with the DLLs' lines counted, and tells which lines and branches of the libraries'
# sources they reach. Fails below 98 % of the lines or 90 % of the branches. Branches that only an
# exception takes, which the compiler adds to almost every call, are left out.
# Usage: scripts/coverage.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

preset=mingw-coverage
build=build/$preset
scripts/install-packages.sh --quiet gcovr
scripts/build.sh "$preset" QvTests

start_wine_with_devices "$PWD/$build" 2

if scripts/build-log4cxx.sh --sources-only >/dev/null; then export QV_LOG4CXX_REQUIRED=1; fi

step "Running the tests"
# All tests of a program in one process, which adds to the counts when it ends. Only those that
# press Ctrl-C want a process for each; they are about the tool.
find "$build" -name '*.gcda' -delete
run_program() {
    run_quietly "$build/$(basename "$1" .exe).log" \
        timeout 300 wine "$1" '--gtest_filter=-QvctlCtrlCTest.*'
}
for program in "$build"/bin/*Test.exe; do
    # As with scripts/test.sh, what Wine did not start is run a second time.
    run_program "$program" || {
        [[ ! -s $build/$(basename "$program" .exe).log ]] && run_program "$program"
    }
done
stop_wine

step "Coverage"
# count REPORT OPTION…: what gcovr counts, in that report.
count() {
    local report=$1
    shift
    gcovr --root . --filter src/ --filter base/src/ --exclude-throw-branches \
        --gcov-executable x86_64-w64-mingw32-gcov-posix --object-directory "$build" "$@" "$build" \
        >"$build/coverage/$report"
}
mkdir -p "$build/coverage"
code=0
count pages.log --html-details "$build/coverage/index.html"
count branches --branches --sort-uncovered
count lines --sort-uncovered --print-summary --fail-under-line 98 --fail-under-branch 90 || code=$?
cat "$build/coverage/branches" "$build/coverage/lines"
echo "Line by line: $build/coverage/index.html"
if ((code != 0)); then echo "error: less than 98 % of the lines or 90 % of the branches" >&2; fi
exit "$code"
