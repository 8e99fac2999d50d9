# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# To be sourced. Gives a build directory a Wine prefix and a Wine server of its own; the user's
# prefix is never touched.

# use_wine BUILD_DIR: points Wine at the prefix of that build directory.
use_wine() {
    export WINEPREFIX="$1/wine"
    export WINEARCH=win64
    export WINEDEBUG=-all
    # No crash dialog, and no offers to install Mono or Gecko.
    export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
    unset DISPLAY
}

# start_wine: starts the prefix's server, detached, unless it runs, and makes the prefix first when
# there is none. A server that the first test starts would keep that test's output pipe open.
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
        # Answers 0 only when it started a server.
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

# start_wine_with_devices BUILD_DIR COUNT: starts Wine anew, until the script ends, and installs the
# sample driver of that build directory with so many devices. Wants scripts/common.sh, too.
start_wine_with_devices() {
    use_wine "$1"
    trap stop_wine EXIT
    stop_wine
    start_wine
    step "Installing the sample driver, devices: $2"
    run_quietly "$1/setup.log" wine "$1/bin/QvSampleSetup.exe" install --devices "$2"
}
