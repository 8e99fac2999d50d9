#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs all test programs and counts which lines and branches of the libraries', the kit's and the
# tool's sources they reach. Fails below 98 % of the lines or 90 % of the branches of the libraries or
# the kit. Leaves out the branches that only an exception takes, as the compiler adds one to almost
# every call. The table is in build/coverage.md, a page for each source is in
# build/mingw-coverage/coverage.
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
run_quietly "$pages/gcovr.log" gcovr --root . --filter src/ --filter base/src/ --filter kit/ \
    --filter tools/qvctl/ --exclude-throw-branches \
    --gcov-executable x86_64-w64-mingw32-gcov-posix --object-directory "$build" \
    --csv "$pages/files.csv" --html-details "$pages/index.html" "$build"
code=0
{
    describe_run scripts/coverage.sh
    printf '| sources | lines reached | branches reached |\n|---|---:|---:|\n'
    awk -F , '
        function percent(part, all) { return all ? 100 * part / all : 100 }
        function row(name) {
            printf "| %s | %d of %d: %.1f %% | %d of %d: %.1f %% |\n", name, reached[name], lines[name],
                percent(reached[name], lines[name]), taken[name], branches[name],
                percent(taken[name], branches[name])
            if (!lines[name]) return 1
            return percent(reached[name], lines[name]) < 98 || percent(taken[name], branches[name]) < 90
        }
        NR > 1 {
            folder = $1
            sub(/\/.*/, "", folder)
            lines[folder] += $2; reached[folder] += $3; branches[folder] += $5; taken[folder] += $6
        }
        END {
            low = row("src") + row("base") + row("kit")
            row("tools")
            exit low > 0
        }
    ' "$pages/files.csv"
} | tee build/coverage.md || code=$?
echo "Each source, line by line: $pages/index.html"
exit "$code"
