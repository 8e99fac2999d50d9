#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Installs missing packages and builds everything, or only the given targets, into build/PRESET.
# Usage: scripts/build.sh [--without-log4cxx] [PRESET [TARGET…]]      (default: mingw)
#   --without-log4cxx  does not build it first; loggers stay empty if it was never built
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

makes_log4cxx=1
if [[ "${1:-}" == --without-log4cxx ]]; then
    makes_log4cxx=0
    shift
fi
preset=${1:-mingw}
targets=("${@:2}")
scripts/install-packages.sh --quiet
# Without the sources of log4cxx (exit code 3) everything else is built.
if ((makes_log4cxx)); then scripts/build-log4cxx.sh || (($? == 3)); fi
mkdir -p "build/$preset"
step "Building build/$preset"
run_quietly "build/$preset/configure.log" cmake --preset "$preset"
run_quietly "build/$preset/build.log" cmake --build --preset "$preset" \
    ${targets:+--target "${targets[@]}"}
