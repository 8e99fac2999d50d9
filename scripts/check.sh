#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Checks the sources: layout with clang-format, spelling with codespell, links in the pages,
# descriptions of everything public with doxygen, code with clang-tidy. clang-tidy checks a file again
# only when the file, a header that it may include, or the rules have changed.
# Usage: scripts/check.sh [PRESET [--products]]      (default: mingw; built before)
#   --products  clang-tidy skips tests and benchmarks, which take two thirds of its time
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

preset=${1:-mingw}
tidied=('*.cpp' '*.c')
if [[ "${2:-}" == --products ]]; then tidied+=(':!tests' ':!bench'); fi
build=build/$preset
mkdir -p "$build/tidy"

sources() {
    git ls-files -z --cached --others --exclude-standard -- "$@"
}

step "Checking the layout of the sources"
sources '*.cpp' '*.c' '*.h' | xargs -0 clang-format-19 --dry-run --Werror

step "Checking the spelling"
sources . ':!tests/abi/exports.txt' | xargs -0 codespell

step "Checking the links of the pages"
sources '*.md' | xargs -0 python3 scripts/check_docs.py

scripts/docs.sh

step "Checking the sources with clang-tidy"
hash_of() { sources '*.clang-tidy' scripts/check.sh "$@" | sort -z | xargs -0 sha256sum | sha256sum; }
headers=$(hash_of '*.h')
product_headers=$(hash_of '*.h' ':!tests' ':!bench')

# check_file FILE: prints what clang-tidy found. Fails when it found anything.
check_file() {
    local key log seen=$product_headers
    case $1 in tests/* | bench/*) seen=$headers ;; esac
    key=$( (sha256sum "$1"; echo "$seen") | sha256sum | cut -c1-32)
    log=$build/tidy/$key
    [[ -e "$log.passed" ]] && return 0
    # The compile commands are GCC's, which has its target in its name.
    if clang-tidy-19 -p "$build" --quiet --extra-arg-before=--target=x86_64-w64-mingw32 "$1" \
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
done < <(sources "${tidied[@]}")
if ((${#compiled[@]} == 0)); then
    echo "error: $build compiles none of the sources here: run scripts/build.sh $preset" >&2
    exit 1
fi
# shellcheck disable=SC2016
printf '%s\0' "${compiled[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'check_file "$1"' check_file
