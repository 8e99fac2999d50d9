#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Packs the last commit twice, each time from a copy of the sources in another directory, log4cxx
# included, and compares what is in the zip files, times of files included. With a TARGET, only builds
# that twice, and compares the directories of programs, DLLs and libraries.
# Usage: scripts/test-reproducible.sh [TARGET…]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

work=$PWD/build/reproducible
export QV_DOWNLOADS=${QV_DOWNLOADS:-$PWD/build/downloads}
# A cache would give the second build the first one's objects.
export CCACHE_DISABLE=1

# build NAME [TARGET…]: fills the directory NAME.results from a copy of the sources in NAME.
build() {
    local copy=$work/$1 results=$work/$1.results
    shift
    step "Building in $copy"
    git clone --quiet --local --no-hardlinks . "$copy"
    mkdir "$results"
    if (($# > 0)); then
        (cd "$copy" && run_quietly "$copy.log" scripts/build.sh mingw "$@")
        mv "$copy"/build/mingw/{bin,lib} "$results"
        return
    fi
    (cd "$copy" && run_quietly "$copy.log" scripts/package.sh)
    # Times of files are stored in local time.
    TZ=UTC unzip -q -d "$results" "$copy"/build/mingw/dist/*.zip
    (cd "$results" && find . -printf '%p %TY-%Tm-%Td %TH:%TM\n' | sort >times.txt)
}

rm -rf "$work"
mkdir -p "$work"
build one "$@"
build another-directory "$@"
diff -r "$work"/{one,another-directory}.results
echo "Both builds gave the same files"
