#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Writes the tables of the binary interface in tests/abi anew, from the headers and the DLLs of
# build/PRESET. To be run when a change of the interface is meant; what changed is then to be seen in
# the tables.
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
