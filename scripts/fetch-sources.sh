#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Downloads source packages of third-party/sources.tsv from Debian into build/downloads, or into the
# directory that QV_DOWNLOADS names, and prints the path of each tarball. What is there is kept.
# Usage: scripts/fetch-sources.sh PACKAGE…
# Exit code: 3 when Debian's archive does not have one of them.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

downloads=${QV_DOWNLOADS:-$PWD/build/downloads}
suites=(bookworm forky sid)
lists=$PWD/build/apt
log=$lists/apt.log

# rows_of PACKAGE: its rows of the table, without the name.
rows_of() {
    awk -v package="$1" '$1 == package { print $2, $3, $4 }' third-party/sources.tsv
}

# print_tarball PACKAGE: prints the first one that is there; fails when none is.
print_tarball() {
    local version tarball sum
    while read -r version tarball sum; do
        if sha256sum --check --status <<<"$sum  $downloads/$tarball" 2>/dev/null; then
            echo "$downloads/$tarball"
            return 0
        fi
    done < <(rows_of "$1")
    return 1
}

# Runs apt-get with package lists of our own, so that those of the machine stay untouched.
private_apt() {
    apt-get -o Dir::Etc::SourceList="$lists/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$lists/lists" -o Dir::Cache::Archives="$lists/archives" \
        -o Dir::Cache::srcpkgcache= -o Dir::Cache::pkgcache= -o APT::Sandbox::User=root \
        -o Acquire::Retries=1 -o Acquire::http::Timeout=15 -o Acquire::https::Timeout=15 \
        "$@" </dev/null >>"$log" 2>&1
}

# Lists the sources of the archive that this machine gets its packages from.
write_source_list() {
    local release archive suite
    release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    archive=$(apt-get update --print-uris 2>>"$log" |
        sed -n "s,^'\(http.*\)/dists/$release/InRelease'.*,\1,p" | head -n 1)
    [[ -n "$archive" ]] || return 1
    for suite in "${suites[@]}"; do
        echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" \
            "$archive $suite main"
    done >"$lists/sources.list"
}

# download PACKAGE: only the tarball, as descriptions and signatures of some versions are gone.
download() {
    local version
    while read -r version _; do
        (cd "$downloads" && private_apt source --download-only --tar-only --only-source \
            "$1=$version") || true  # What counts is that the tarball is there.
        print_tarball "$1" >/dev/null && return 0
    done < <(rows_of "$1")
    return 1
}

mkdir -p "$downloads" "$lists/lists/partial" "$lists/archives/partial"
missing=()
for package in "$@"; do print_tarball "$package" >/dev/null || missing+=("$package"); done

# The archive does not have every file at every time.
for attempt in 1 2 3; do
    ((${#missing[@]} > 0)) || break
    echo "-- attempt $attempt" >>"$log"
    write_source_list || break
    private_apt update || true  # Some suites may fail while others work.
    still_missing=()
    for package in "${missing[@]}"; do download "$package" || still_missing+=("$package"); done
    missing=("${still_missing[@]}")
done

if ((${#missing[@]} > 0)); then
    echo "error: cannot download the source of ${missing[*]} (see $log)" >&2
    exit 3
fi
for package in "$@"; do print_tarball "$package"; done
