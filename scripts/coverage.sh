#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs all test programs and counts which lines and branches of the libraries' and the kit's sources
# they reach. Fails below 98 % of the lines or 90 % of the branches. Leaves out the branches that only
# an exception takes, as the compiler adds one to almost every call. The tables are in
# build/coverage.md, a page for each source is in build/mingw-coverage/coverage.
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

require_log4cxx_if_built

step "Running the tests"
# One process runs all tests of a program, and adds to the counts when it ends. The tests that press
# Ctrl-C need a process each; they are about the tool.
find "$build" -name '*.gcda' -delete
for program in "$build"/bin/*Test.exe; do
    log=$build/$(basename "$program" .exe).log
    run_test_program "$log" 300 "$program" '--gtest_filter=-QvctlCtrlCTest.*' || {
        tail -n 60 "$log" >&2
        exit 1
    }
done
stop_wine

step "Coverage"
pages=$build/coverage
rm -rf "$pages"
mkdir -p "$pages"
code=0
gcovr --root . --filter src/ --filter base/src/ --filter kit/ --exclude-throw-branches \
    --gcov-executable x86_64-w64-mingw32-gcov-posix --object-directory "$build" \
    --csv "$pages/files.csv" --html-details "$pages/index.html" \
    --fail-under-line 98 --fail-under-branch 90 "$build" >"$pages/gcovr.log" 2>&1 || code=$?
((code == 0)) || cat "$pages/gcovr.log" >&2
{
    describe_run scripts/coverage.sh
    printf '| source | lines reached | branches reached |\n|---|---:|---:|\n'
    awk -F , '
        function row(name, line_count, lines, branch_count, branches) {
            printf "| %s | %d of %d | %d of %d |\n", name, lines, line_count, branches, branch_count
        }
        NR > 1 { row($1, $2, $3, $5, $6); a += $2; b += $3; c += $5; d += $6 }
        END { row("all", a, b, c, d); printf "\n%.1f %% of the lines, %.1f %% of the branches\n", \
              100 * b / a, 100 * d / c }
    ' "$pages/files.csv"
} | tee build/coverage.md
echo "Line by line: $pages/index.html"
exit "$code"
