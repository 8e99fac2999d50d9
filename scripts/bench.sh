#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds the benchmarks, runs them in Wine, and shows a table of our times beside those of the bare
# alternative, with the calls that each operation makes. The table is also in build/performance.md.
# Usage: scripts/bench.sh [--check] [--rounds=N] [--seconds=S] [--filter=TEXT]
#   --check    fails when an operation makes more calls than bench/stated-counts.tsv states
#   --rounds   how often each side of a row is measured, in turn with the other (default 31)
#   --seconds  how long each time (default 0.005)
#   --filter   only the rows whose first column holds the text
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

build=build/mingw-bench
scripts/install-packages.sh --quiet libspdlog-dev libfmt-dev
tarball=$(scripts/fetch-sources.sh benchmark)
tar -xf "$tarball" -C build --one-top-level=benchmark --strip-components=1
scripts/build.sh mingw-bench
start_wine_with_devices "$PWD/$build" 1

step "Measuring"
{
    describe_run "scripts/bench.sh $*"
    # Wine shows the machine's files as drive Z.
    wine $build/bin/QvBench.exe "--stated=Z:$PWD/bench/stated-counts.tsv" "$@" </dev/null
} | tee build/performance.md
