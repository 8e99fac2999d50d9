#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Cross-builds log4cxx, with APR, APR-util and expat inside one log4cxx.dll, into build/log4cxx.
# Debian has no build of it for Windows, so this one is made from Debian's source packages. It is
# made once, and again when this script changes; what was downloaded is kept in build/downloads, or
# in the directory that QV_DOWNLOADS names, which is looked in first.
# Usage: scripts/build-log4cxx.sh [--sources-only | --build]
#   --sources-only  only sees to it that the sources are there
#   --build         only builds, with all output, from sources that are there
# Exit code: 0 done, 3 the sources cannot be had.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

# Several rows for one package are tried in order. Versions of moving suites disappear: a row with
# a newer one then goes in front.
#   package  version          tarball                      SHA-256 of the tarball
sources=(
    "log4cxx  1.5.0-1         log4cxx_1.5.0.orig.tar.gz    aa23f47c3164aa2cf848c2258b4b4bc372e7964d4a3ed47c2b4a4a915c5dfa37"
    "apr      1.7.2-3+deb12u1 apr_1.7.2.orig.tar.bz2       75e77cc86776c030c0a5c408dfbd0bf2a0b75eed5351e52d5439fa1e5509a43e"
    "apr-util 1.6.3-1         apr-util_1.6.3.orig.tar.bz2  a41076e3710746326c3945042994ad9a4fcac0ce0277dd8fea076fec3c9772b5"
    "expat    2.5.0-1+deb12u2 expat_2.5.0.orig.tar.gz      ab00ee05c7067fd10a35c5d2a4922ebba746ddd50ff83b79c828da17bbdf1757"
)
packages=(log4cxx apr apr-util expat)
suites=(bookworm forky sid)

work=$PWD/build/log4cxx
prefix=$work/prefix
downloads=${QV_DOWNLOADS:-$PWD/build/downloads}
lists=$PWD/build/apt
stamp=$work/.built
log=$work/build.log
recipe=$(sha256sum scripts/build-log4cxx.sh cmake/x86_64-w64-mingw32.cmake | sha256sum | cut -c1-16)

# ---- The sources ----

# has_source TARBALL SHA256: whether the right file has been downloaded.
has_source() {
    [[ -f "$downloads/$1" ]] && echo "$2  $downloads/$1" | sha256sum --check --status
}

# find_source PACKAGE: sets `tarball` to the file that is there; fails when none of its rows is.
find_source() {
    local row name version sum
    for row in "${sources[@]}"; do
        read -r name version tarball sum <<<"$row"
        if [[ "$name" == "$1" ]] && has_source "$tarball" "$sum"; then return 0; fi
    done
    return 1
}

have_all_sources() {
    local package
    for package in "${packages[@]}"; do
        find_source "$package" || return 1
    done
}

# The archive that this machine's own packages come from, out of its source lists of either format.
own_archive() {
    local file files=() release
    release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources}; do
        [[ -f "$file" ]] && files+=("$file")
    done
    ((${#files[@]} > 0)) || return 1
    awk -v release="$release" '
        function take(candidate) {
            if (answer == "" && candidate ~ /^https?:/) answer = candidate
        }
        $1 == "deb" { sub(/\[[^]]*\]/, ""); if ($3 == release) take($2) }
        FNR == 1 || NF == 0 { uri = ""; found = 0 }
        $1 == "URIs:" { uri = $2 }
        $1 == "Suites:" { for (i = 2; i <= NF; ++i) if ($i == release) found = 1 }
        found && uri != "" { take(uri) }
        END { print answer; exit answer == "" }
    ' "${files[@]}"
}

# private_apt COMMAND…: apt-get on source lists of our own, so that the machine's stay untouched.
private_apt() {
    apt-get -o Dir::Etc::SourceList="$lists/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$lists/lists" -o Dir::Cache::Archives="$lists/archives" \
        -o Dir::Cache::srcpkgcache= -o Dir::Cache::pkgcache= -o APT::Sandbox::User=root \
        -o Acquire::Retries=1 -o Acquire::http::Timeout=15 -o Acquire::https::Timeout=15 \
        "$@" </dev/null >>"$lists/apt.log" 2>&1
}

fetch_sources() {
    local archive suite row name version tarball sum attempt
    mkdir -p "$downloads" "$lists/lists/partial" "$lists/archives/partial"
    : >"$lists/apt.log"
    command -v apt-get >/dev/null || return 1
    archive=$(own_archive) || return 1
    for suite in "${suites[@]}"; do
        echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" \
            "$archive $suite main"
    done >"$lists/sources.list"

    # Single files cannot be had at times.
    for attempt in 1 2 3; do
        echo "-- attempt $attempt" >>"$lists/apt.log"
        private_apt update || true  # Some suites may fail and others do.
        compgen -G "$lists/lists/*_Sources*" >/dev/null || return 1
        for row in "${sources[@]}"; do
            read -r name version tarball sum <<<"$row"
            find_source "$name" && continue
            # Only the tarball: descriptions and signatures of some versions are gone.
            (cd "$downloads" && private_apt source --download-only --tar-only --only-source \
                "$name=$version") || true
        done
        have_all_sources && return 0
        sleep 2
    done
    return 1
}

# ---- The build ----

# unpack PACKAGE: into build/log4cxx/PACKAGE.
unpack() {
    find_source "$1"
    rm -rf "${work:?}/$1"
    mkdir -p "$work/$1/source" "$work/$1/build"
    tar -xf "$downloads/$tarball" -C "$work/$1/source" --strip-components=1
}

# configure PACKAGE SOURCE-FOLDER OPTION…
configure() {
    local package=$1 folder=$2
    shift 2
    cmake -S "$work/$package/source/$folder" -B "$work/$package/build" -G Ninja -Wno-dev \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/x86_64-w64-mingw32.cmake" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DEXPAT_INCLUDE_DIR="$prefix/include" -DEXPAT_LIBRARY="$prefix/lib/libexpat.a" "$@"
}

# What APR's headers take for granted with Microsoft's compiler.
apr_flags="-w -D_WIN32_WINNT=0x0601 -DWIN32_LEAN_AND_MEAN -include winsock2.h -include ws2tcpip.h"
apr_flags+=" -include mswsock.h -include windows.h -include iphlpapi.h"
apr_flags+=" -DHAVE_ATOMIC_BUILTINS=1 -DHAVE_ATOMIC_BUILTINS64=1"

build_expat() {
    unpack expat
    configure expat expat -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_TOOLS=OFF \
        -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
    cmake --build "$work/expat/build" --target install
}

build_apr() {
    unpack apr
    # The table generator has to run here, so it is built for this machine.
    local source=$work/apr/source generator=$work/apr/gen_test_char
    gcc -O1 -w -o "$generator" -DCROSS_COMPILE "$source/tools/gen_test_char.c"
    sed -i "s,COMMAND \$<TARGET_FILE:gen_test_char>,COMMAND $generator," "$source/CMakeLists.txt"
    configure apr . -DINSTALL_PDB=OFF -DMIN_WINDOWS_VER=Windows7 -DAPR_BUILD_TESTAPR=OFF \
        -DCMAKE_C_FLAGS="$apr_flags"
    cmake --build "$work/apr/build" --target apr-1
    mkdir -p "$prefix/include" "$prefix/lib"
    cp "$source"/include/*.h "$source"/include/arch/win32/*.h "$work"/apr/build/*.h \
        "$prefix/include/"
    cp "$work/apr/build/libapr-1.a" "$prefix/lib/"
}

build_apr_util() {
    unpack apr-util
    local source=$work/apr-util/source
    configure apr-util . -DINSTALL_PDB=OFF -DAPU_HAVE_ODBC=OFF -DAPR_HAS_LDAP=OFF \
        -DAPR_BUILD_TESTAPR=OFF -DAPR_INCLUDE_DIR="$prefix/include" \
        -DAPR_LIBRARIES="$prefix/lib/libapr-1.a" -DCMAKE_C_FLAGS="$apr_flags"
    cmake --build "$work/apr-util/build" --target aprutil-1
    cp "$source"/include/*.h "$work"/apr-util/build/*.h "$prefix/include/"
    cp "$work/apr-util/build/libaprutil-1.a" "$prefix/lib/"
}

# replace_line FILE OLD NEW: in log4cxx's sources; fails when the line has changed there.
replace_line() {
    local file=$work/log4cxx/source/src/main/cpp/$1
    if ! grep -qF "$2" "$file"; then
        echo "error: $file does not have the line that is to be replaced" >&2
        return 1
    fi
    python3 - "$file" "$2" "$3" <<'END'
import pathlib
import sys

path = pathlib.Path(sys.argv[1])
path.write_text(path.read_text().replace(sys.argv[2], sys.argv[3]))
END
}

build_log4cxx() {
    unpack log4cxx
    # Header names are not case-sensitive on Windows only.
    sed -i 's,<Heapapi.h>,<heapapi.h>,' "$work/log4cxx/source/src/main/cpp/nteventlogappender.cpp"
    # With events at exit, a process that ends without unloading gets its buffers written. Its other
    # threads are gone by then, and may have left a lock for ever: none is waited for. Whoever
    # unloads log4cxx has stopped its threads before.
    replace_line threadutility.cpp \
        ': atExitRegistryRaii{ [this]{ stopThread(); } }' \
        ': atExitRegistryRaii{ []{} }'
    replace_line ../include/log4cxx/private/writerappender_priv.h \
        ', atExitRegistryRaii{ [this]{ flush(); } }' \
        ', atExitRegistryRaii{ [this]{ if (mutex.try_lock()) { flush(); mutex.unlock(); } } }'
    configure log4cxx . -DAPR_STATIC=ON -DAPU_STATIC=ON -DAPR_CONFIG_EXECUTABLE=/nonexistent \
        -DAPR_UTIL_CONFIG_EXECUTABLE=/nonexistent -DAPR_INCLUDE_DIR="$prefix/include" \
        -DAPR_UTIL_INCLUDE_DIR="$prefix/include" \
        "-DAPR_LIBRARIES:STRING=$prefix/lib/libapr-1.a;iphlpapi" \
        -DAPR_UTIL_LIBRARIES:STRING="$prefix/lib/libaprutil-1.a" \
        -DCMAKE_CXX_STANDARD=17 -DLOG4CXX_EVENTS_AT_EXIT=ON -DBUILD_TESTING=OFF \
        -DBUILD_EXAMPLES=OFF -DCMAKE_SHARED_LIBRARY_PREFIX= -DCMAKE_SHARED_LIBRARY_PREFIX_CXX= \
        -DCMAKE_CXX_FLAGS=-w \
        -DCMAKE_SHARED_LINKER_FLAGS="-static -Wl,--exclude-libs,ALL"
    cmake --build "$work/log4cxx/build" --target install
}

keep_licences() {
    local package=$1 file
    shift
    mkdir -p "$prefix/licenses/$package"
    for file in "$@"; do cp "$work/$package/source/$file" "$prefix/licenses/$package/"; done
}

build_all() {
    rm -rf "$prefix"
    mkdir -p "$prefix"
    build_expat
    build_apr
    build_apr_util
    build_log4cxx
    x86_64-w64-mingw32-strip "$prefix/bin/log4cxx.dll"
    keep_licences expat expat/COPYING
    keep_licences apr LICENSE NOTICE
    keep_licences apr-util LICENSE NOTICE
    keep_licences log4cxx LICENSE NOTICE
    # What is left serves nobody.
    for package in "${packages[@]}"; do rm -rf "${work:?}/$package"; done
    echo "$recipe" >"$stamp"
}

case "${1:-}" in
    --build)
        build_all
        exit 0
        ;;
    --sources-only) ;;
    *) if [[ "$(cat "$stamp" 2>/dev/null)" == "$recipe" ]]; then exit 0; fi ;;
esac

if ! have_all_sources && ! fetch_sources; then
    echo "log4cxx cannot be built, as its sources cannot be had (see build/apt/apt.log):" \
        "loggers will stay empty"
    exit 3
fi
[[ "${1:-}" != "--sources-only" ]] || exit 0

step "Building log4cxx for Windows, once (about two minutes)"
mkdir -p "$work"
rm -f "$stamp"
run_quietly "$log" scripts/build-log4cxx.sh --build
