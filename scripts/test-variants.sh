#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds everything in other ways and runs all tests with each: with undefined behaviour that ends
# the program, and with Clang.
# Usage: scripts/test-variants.sh [PRESET…]      (default: mingw-ubsan mingw-clang)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

presets=("$@")
((${#presets[@]} > 0)) || presets=(mingw-ubsan mingw-clang)

scripts/install-packages.sh --quiet clang-19 lld-19
for preset in "${presets[@]}"; do
    scripts/build.sh "$preset"
    scripts/run-suite.sh "$preset"
done
