#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs a Windows program in the Wine prefix of its build directory.
# Usage: scripts/run-in-wine.sh PROGRAM [ARGUMENT…]
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/wine-environment.sh"

build=$(dirname "$(realpath "$1")")
while [[ ! -e "$build/CMakeCache.txt" ]]; do
    if [[ "$build" == / ]]; then
        echo "error: $1 does not lie in a build directory" >&2
        exit 2
    fi
    build=$(dirname "$build")
done

use_wine "$build"
start_wine
exec wine "$@"
