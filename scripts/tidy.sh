#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Checks the sources with clang-tidy, which takes longer than building them. Checks a file again only
# when the file, a header that it may include, or the rules have changed.
# Usage: scripts/tidy.sh [PRESET [--products]]      (default: mingw; built before)
#   --products  skips tests and benchmarks, which take two thirds of the time
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

scripts/install-packages.sh --quiet clang-tidy-19
preset=${1:-mingw}
tidied=('*.cpp' '*.c')
if [[ "${2:-}" == --products ]]; then tidied+=(':!tests' ':!bench'); fi
build=build/$preset
mkdir -p "$build/tidy"

step "Checking the sources with clang-tidy"
hash_of() { list_sources '*.clang-tidy' scripts/tidy.sh "$@" | sort -z | xargs -0 sha256sum | sha256sum; }
headers=$(hash_of '*.h')
product_headers=$(hash_of '*.h' ':!tests' ':!bench')

# check_file FILE: prints what clang-tidy found. Fails when it found anything.
check_file() {
    local key log seen=$product_headers
    case $1 in tests/* | bench/*) seen=$headers ;; esac
    key=$( (sha256sum "$1"; echo "$seen") | sha256sum | cut -c1-32)
    log=$build/tidy/$key
    [[ -e "$log.passed" ]] && return 0
    # The compile commands are those of GCC, which has its target in its name, and options and
    # precompiled headers of its own.
    if clang-tidy-19 -p "$build" --quiet --extra-arg-before=--target=x86_64-w64-mingw32 \
        --extra-arg=-Wno-ignored-gch --extra-arg=-Wno-unused-command-line-argument "$1" \
        >"$log.log" 2>&1; then
        rm "$log.log"
        touch "$log.passed"
    else
        grep -v 'warnings generated' "$log.log"
        return 1
    fi
}
export -f check_file
export build headers product_headers

# Only the sources that this preset compiles have compile commands.
compiled=()
while IFS= read -r -d '' file; do
    if grep -qF "\"$PWD/$file\"" "$build/compile_commands.json"; then compiled+=("$file"); fi
done < <(list_sources "${tidied[@]}")
if ((${#compiled[@]} == 0)); then
    echo "error: $build compiles none of the sources here: run scripts/build.sh $preset" >&2
    exit 1
fi
# shellcheck disable=SC2016
printf '%s\0' "${compiled[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'check_file "$1"' check_file
