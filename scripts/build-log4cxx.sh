#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds log4cxx for Windows into build/log4cxx/prefix, from Debian's source packages, because Debian
# has no such package. Does nothing unless third-party/ or the toolchain file has changed.
# Usage: scripts/build-log4cxx.sh
# Exit code: 3 when the sources cannot be downloaded.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

place=$PWD/build/log4cxx
toolchain=$PWD/cmake/x86_64-w64-mingw32.cmake
recipe=$(cat third-party/sources.tsv third-party/log4cxx/* "$toolchain" | sha256sum)
[[ "$(cat "$place/.built" 2>/dev/null)" != "$recipe" ]] || exit 0

packages=(log4cxx apr apr-util expat)
if ! tarballs=$(scripts/fetch-sources.sh "${packages[@]}"); then
    echo "log4cxx is not built: loggers will stay empty"
    exit 3
fi
archives=()
for package in "${packages[@]}"; do
    read -r tarball
    archives+=(-D "${package}_ARCHIVE=$tarball")
done <<<"$tarballs"

step "Building log4cxx for Windows, once (about two minutes)"
rm -rf "$place"
mkdir -p "$place"
run_quietly "$place/build.log" cmake -S third-party/log4cxx -B "$place/work" -G Ninja \
    -D CMAKE_TOOLCHAIN_FILE="$toolchain" -D CMAKE_INSTALL_PREFIX="$place/prefix" "${archives[@]}"
run_quietly "$place/build.log" cmake --build "$place/work"
rm -rf "$place/work"
echo "$recipe" >"$place/.built"
