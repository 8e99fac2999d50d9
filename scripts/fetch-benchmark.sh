#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Gets the source of Google Benchmark, of which Debian's binary packages hold no source, from
# Debian's source package into build/downloads. What was downloaded before is used again.
# Usage: scripts/fetch-benchmark.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

version=1.7.1
tarball=benchmark_$version.orig.tar.gz
sha256=6430e4092653380d9dc4ccb45a1e2dc9259d581f4866dc0759713126056bc1d7
downloads=$PWD/build/downloads

is_intact() {
    echo "$sha256  $downloads/$tarball" | sha256sum --check --status 2>/dev/null
}

# The machine's own package lists stay as they are: source packages get lists of their own.
download() {
    local state=$downloads/apt
    mkdir -p "$state/lists/partial"
    # The machine's own mirror and keys, with its binary packages left out.
    local entries=$state/source.sources
    cat /etc/apt/sources.list.d/debian.sources | sed 's/^Types:.*/Types: deb-src/' >"$entries"
    local options=(
        -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$state"
        -o Dir::State::Lists="$state/lists" -o Dir::Cache::srcpkgcache= -o Dir::Cache::pkgcache=
        -o APT::Sandbox::User=root
    )
    apt-get "${options[@]}" update
    cd "$downloads"
    apt-get "${options[@]}" source --download-only --tar-only --only-source "benchmark=$version-1"
}

mkdir -p "$downloads"
if ! is_intact; then
    step "Downloading the source of Google Benchmark"
    rm -f "$downloads/$tarball"
    # The mirror does not answer every time.
    run_quietly "$downloads/benchmark.log" download || run_quietly "$downloads/benchmark.log" download
    if ! is_intact; then
        echo "error: $downloads/$tarball is not the file that is expected" >&2
        exit 1
    fi
fi
if [[ ! -e "$downloads/benchmark-$version/CMakeLists.txt" ]]; then
    tar -xf "$downloads/$tarball" -C "$downloads"
fi
