#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Tries the packages of scripts/package.sh in a fresh Wine prefix of the build directory: runs the
# installer without questions, uses what it installed, and uninstalls it. Then builds clients of the
# library and the kit with the zip file alone, and follows the guide with it, in another prefix.
# Usage: scripts/test-package.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

work=$PWD/build/mingw/package-test
installers=(build/mingw/dist/QvUserLib-*-win64.exe)
installer=${installers[0]}
archive=${installer%.exe}.zip
if [[ ! -e "$installer" || ! -e "$archive" ]]; then
    echo "error: no packages in build/mingw/dist; scripts/package.sh makes them" >&2
    exit 2
fi

environment='HKLM\System\CurrentControlSet\Control\Session Manager\Environment'
programs='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\QvUserLib'
place='C:\Driver Tools\QvUserLib'

# windows COMMAND…: runs a Windows program and shows its output. The output goes through a file,
# because the program may leave a desktop process behind that would keep a pipe open.
windows() {
    local code=0
    timeout 120 wine "$@" </dev/null >"$work/out" 2>&1 || code=$?
    tr -d '\r' <"$work/out"
    return "$code"
}

fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# expect_text TEXT COMMAND…: fails unless the command succeeds and prints the text.
expect_text() {
    local text=$1 output
    shift
    output=$(windows "$@") || fail "exit code $?: $*: $output"
    [[ "$output" == *"$text"* ]] || fail "'$text' is missing in the output of: $*: $output"
}

# Prints the machine's PATH from the registry.
machine_path() {
    windows reg query "$environment" /v PATH | sed -n 's/^ *PATH *REG_[A-Z_]* *//Ip'
}

set_machine_path() {
    windows reg add "$environment" /v PATH /t REG_EXPAND_SZ /d "$1" /f >/dev/null
}

expect_path() {
    [[ "$(machine_path)" == "$1" ]] || fail "PATH is $(machine_path) instead of $1"
}

is_registered() {
    windows reg query "$programs" >/dev/null
}

rm -rf "$work"
mkdir -p "$work"
use_wine "$work"
trap stop_wine EXIT
step "Starting Wine in a fresh prefix"
start_wine
root=$WINEPREFIX/drive_c
installed="$root/Driver Tools/QvUserLib"

short_path=$(machine_path)
# This PATH is longer than the strings of the installer. Wine passes only its beginning to programs.
long_path=$short_path
for ((i = 0; i < 150; ++i)); do long_path+=";C:\\tools\\number $i"; done
set_machine_path "$long_path"

# The installer takes its directory without quotation marks, so the blank makes two words of it.
read -r -a directory <<<"$place"
directory_option=("/D=${directory[0]}" "${directory[@]:1}")
uninstalled_option=("_?=${directory[0]}" "${directory[@]:1}")

step "Installing without a request for PATH"
windows "$installer" /S "${directory_option[@]}"
[[ -e "$installed/bin/qvctl.exe" ]] || fail "qvctl.exe was not installed"
is_registered || fail "the system's list of programs lacks the library"
expect_path "$long_path"

step "Installing again, with qvctl in PATH"
windows "$installer" /S /ADDPATH=1 "${directory_option[@]}"
expect_path "$long_path;$place\\bin"
set_machine_path "$short_path"
windows "$installer" /S /ADDPATH=1 "${directory_option[@]}"
windows "$installer" /S /ADDPATH=1 "${directory_option[@]}"
expect_path "$short_path;$place\\bin"
for file in share/QvUserLib/driver/src/Driver.c share/licenses/QvUserLib/LICENSE \
    share/man/man1/qvctl.1 share/qvctl/profile.schema.json \
    share/bash-completion/completions/qvctl share/qvctl/qvctl.schema.json; do
    [[ -e "$installed/$file" ]] || fail "$file was not installed"
done
expect_text "QvUserLib" reg query "$programs" /v DisplayName

step "Using what was installed"
expect_text "qvctl " cmd /c qvctl --version
expect_text "  started  " cmd /c qvctl driver install "$place\\bin\\QvSampleDriver.inf"
expect_text '0  \\?\root#qvsample' cmd /c qvctl list
expect_text "Gain: 6 dB -> 12 dB" cmd /c qvctl set Gain=12
expect_text "ok       parameters" cmd /c qvctl doctor
windows cmd /c qvctl save 'C:\profile.json' >/dev/null || fail "no profile was saved"
python3 -W ignore -m jsonschema -i "$root/profile.json" "$installed/share/qvctl/profile.schema.json"
diff <(windows cmd /c qvctl manual) "$installed/share/man/man1/qvctl.1"
# Bash on Windows needs no such mark to run a script.
chmod +x "$installed/bin/qvctl"
# shellcheck disable=SC2016
PATH="$installed/bin:$PATH" timeout 60 bash -c 'source "$1" && complete -p qvctl >/dev/null' bash \
    "$installed/share/bash-completion/completions/qvctl" || fail "bash has no completion for qvctl"
python3 tests/package/check_bill.py "$installed"
expect_text "Removed ROOT" cmd /c qvctl driver remove --id 'ROOT\QVSAMPLE'

step "Uninstalling"
touch "$installed/a file of the user"
# In place: otherwise it returns before it is done.
windows "$place\\Uninstall.exe" /S "${uninstalled_option[@]}"
expect_path "$short_path"
if is_registered; then fail "the system's list of programs still has the library"; fi
rest=$(find "$root/Driver Tools" -type f ! -name Uninstall.exe)
[[ "$rest" == "$installed/a file of the user" ]] || fail "wrong files are left: $rest"

step "Building clients with the zip file"
cmake -E chdir "$work" cmake -E tar xf "$PWD/$archive"
mv "$work/$(basename "$archive" .zip)" "$work/installed"
for script in FindByCMake FindByPkgConfig; do
    cmake -D WORK="$work" -D TOOLCHAIN="$PWD/cmake/x86_64-w64-mingw32.cmake" \
        -D CXX=x86_64-w64-mingw32-g++-posix -D PKG_CONFIG=pkgconf -D EMULATOR=wine \
        -P "tests/package/$script.cmake"
done

step "Doing with the zip file what the guide says"
cmake -D ZIP="$PWD/$archive" -D WORK="$work" -D PYTHON=python3 -P tests/package/FollowGuide.cmake

step "The packages work"
