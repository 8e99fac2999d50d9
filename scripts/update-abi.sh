#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Renews the tables of the binary interface in tests/abi, from the headers and the DLLs of
# build/PRESET. Run it when you change the interface on purpose, and check the change in the tables.
# Usage: scripts/update-abi.sh [PRESET]      (default: mingw)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

preset=${1:-mingw}
scripts/build.sh "$preset" QvBaseLib QvUserLib
bin=build/$preset/bin
update() {
    python3 tests/abi/abi.py update "$1" . "${@:2}"
}
update msvc
update names
update itanium --cxx x86_64-w64-mingw32-g++-posix
update values
for table in exports imports; do
    update "$table" --objdump x86_64-w64-mingw32-objdump \
        --dlls "$bin/QvBaseLib64.dll" "$bin/QvUserLib64.dll"
done
git --no-pager diff --stat -- tests/abi
