#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Installs the Debian packages that building and testing need, and only those that are missing.
# Usage: scripts/install-packages.sh [--quiet] [FURTHER PACKAGE…]
set -euo pipefail

packages=(
    # The cross compiler with the posix thread model, its resource compiler and its headers.
    g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
    # The build itself, and tests of whole programs.
    cmake ninja-build git python3
    # Sources and headers that our own build compiles for Windows.
    googletest libcli11-dev nlohmann-json3-dev
    # What building log4cxx from Debian's sources needs besides.
    gcc libc6-dev bzip2 patch
    # Finds our installed library in a test.
    pkgconf
    # Check the tool's JSON output and its manual page.
    python3-jsonschema groff-base
    # Runs what was built, the kernel driver included.
    wine wine64
    # The checks of scripts/check.sh.
    clang-format-19
    # Lays classes out as MSVC does, to compare the binary interface.
    clang-19
    # The reference, and the spelling of public texts.
    doxygen codespell
)

quiet=false
if [[ "${1:-}" == "--quiet" ]]; then
    quiet=true
    shift
fi
packages+=("$@")

is_installed() {
    [[ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" == "installed" ]]
}

missing=()
for package in "${packages[@]}"; do
    is_installed "$package" || missing+=("$package")
done

if ((${#missing[@]} == 0)); then
    $quiet || echo "All needed packages are installed."
    exit 0
fi

if ! command -v apt-get >/dev/null; then
    echo "error: this machine has no apt-get; please install by hand: ${missing[*]}" >&2
    exit 1
fi

as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "error: not root and no sudo; please install as root: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt_get() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -o DPkg::Lock::Timeout=120 -y "$@" >"$log" 2>&1 </dev/null
}

if ! { apt_get update && apt_get install --no-install-recommends "${missing[@]}"; }; then
    tail -n 20 "$log" >&2
    echo "error: apt-get could not install: ${missing[*]}" >&2
    exit 1
fi
