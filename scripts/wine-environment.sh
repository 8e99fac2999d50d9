# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# To be sourced. Gives each build directory a Wine prefix and a Wine server of its own, and leaves
# the user's prefix alone.

# use_wine BUILD_DIR: points Wine at the prefix of that build directory.
use_wine() {
    export WINEPREFIX="$1/wine"
    export WINEARCH=win64
    export WINEDEBUG=-all
    # No crash dialog, and no offers to install Mono or Gecko.
    export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
    unset DISPLAY
}

# start_wine: makes the prefix if there is none, and starts its server, detached, if it does not run.
# A server that the first test started would keep that test's output pipe open.
start_wine() {
    local ready="$WINEPREFIX/.ready"
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        if [[ ! -e "$ready" ]]; then
            wineboot -i </dev/null >/dev/null 2>&1
            # Services are still starting now; a fresh server finds them settled.
            wineserver -k >/dev/null 2>&1 || true
            wineserver -w >/dev/null 2>&1 || true
            touch "$ready"
        fi
        # The exit code is 0 only when it started a server.
        if wineserver -p120 9>&- </dev/null >/dev/null 2>&1; then
            wine cmd /c exit 9>&- </dev/null >/dev/null 2>&1 || true
        fi
    ) 9>"$WINEPREFIX/.lock"
}

# stop_wine: ends the prefix's server with all its programs.
stop_wine() {
    [[ -d "$WINEPREFIX" ]] || return 0
    wineserver -k >/dev/null 2>&1 || true
    wineserver -w >/dev/null 2>&1 || true
}

# require_log4cxx_if_built: lets tests of logging skip only when log4cxx could not be built.
require_log4cxx_if_built() {
    if [[ -e build/log4cxx/prefix/bin/log4cxx.dll ]]; then export QV_LOG4CXX_REQUIRED=1; fi
}

# run_test_program LOG SECONDS PROGRAM…: runs it for SECONDS at most, with its output in LOG. Once in
# some thousand times Wine does not start a program and prints nothing: then it is run again.
run_test_program() {
    local log=$1 seconds=$2 code
    shift 2
    for _ in 1 2; do
        code=0
        timeout "$seconds" wine "$@" </dev/null >"$log" 2>&1 || code=$?
        [[ ! -s "$log" ]] || break
    done
    return "$code"
}

# start_wine_with_devices BUILD_DIR COUNT: starts Wine anew and installs the sample driver of that
# build directory with COUNT devices. Stops Wine when the script ends. Needs scripts/common.sh.
start_wine_with_devices() {
    use_wine "$1"
    trap stop_wine EXIT
    stop_wine
    start_wine
    step "Installing the sample driver, devices: $2"
    run_quietly "$1/setup.log" wine "$1/bin/qvctl.exe" driver install "$1/bin/QvSampleDriver.inf" \
        --devices "$2"
}
