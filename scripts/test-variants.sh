#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Tests what scripts/test.sh has no time for: the sources with clang-tidy and in MSVC's mode of Clang;
# the unit tests on a guarded heap and at special dates; whether two builds give the same packages; and
# everything built in other ways: so that undefined behaviour ends the program, and with Clang.
# Usage: scripts/test-variants.sh [VARIANT | PRESET]…
#        (default: tidy msvc guarded dates reproducible mingw-ubsan mingw-clang)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

variants=("$@")
((${#variants[@]} > 0)) || variants=(tidy msvc guarded dates reproducible mingw-ubsan mingw-clang)

scripts/install-packages.sh --quiet clang-19 lld-19
for variant in "${variants[@]}"; do
    if [[ "$variant" == tidy ]]; then
        scripts/build.sh mingw
        scripts/tidy.sh mingw
    elif [[ "$variant" == guarded ]]; then
        scripts/build.sh mingw all QvGuardedTests
        scripts/run-suite.sh mingw -C Guarded -L guarded
    elif [[ "$variant" == dates ]]; then
        scripts/build.sh mingw
        scripts/test-dates.sh mingw
    elif [[ "$variant" == reproducible ]]; then
        scripts/test-reproducible.sh
    elif [[ "$variant" == msvc ]]; then
        cmake --preset mingw >/dev/null
        python3 scripts/check_msvc.py
    else
        scripts/build.sh "$variant"
        scripts/run-suite.sh "$variant"
    fi
done
