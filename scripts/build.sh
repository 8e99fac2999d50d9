#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Installs what is missing and builds everything, or only the targets named, into build/PRESET.
# Usage: scripts/build.sh [PRESET [TARGET…]]      (default: mingw)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

preset=${1:-mingw}
targets=("${@:2}")
scripts/install-packages.sh --quiet
# Without the sources of log4cxx everything is built all the same, as the script says then.
scripts/build-log4cxx.sh || (($? == 3))
mkdir -p "build/$preset"
step "Building build/$preset"
run_quietly "build/$preset/configure.log" cmake --preset "$preset"
run_quietly "build/$preset/build.log" cmake --build --preset "$preset" \
    ${targets:+--target "${targets[@]}"}
