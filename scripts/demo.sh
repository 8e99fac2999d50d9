#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds the command-line tool and the sample driver, installs the driver in a Wine prefix of the
# build directory, and shows the main uses of the library with the tool.
# Usage: scripts/demo.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

# qvctl ARGUMENT…: prints the command, then runs it. Each run is a new process, so the values that it
# shows come from the driver.
qvctl() {
    printf '\n$ qvctl'
    printf ' %q' "$@"
    printf '\n'
    wine build/mingw/bin/qvctl.exe "$@" </dev/null
}

# expect_refusal ARGUMENT…: runs qvctl with a command that has to fail.
expect_refusal() {
    local code=0
    qvctl "$@" 2>&1 || code=$?
    if ((code != 1)); then
        echo "error: exit code $code instead of a refusal" >&2
        exit 1
    fi
    echo "(exit code $code)"
}

scripts/build.sh --without-log4cxx mingw qvctl QvSampleDriver

use_wine "$PWD/build/mingw"
trap stop_wine EXIT
stop_wine
step "Starting Wine in build/mingw/wine"
start_wine
step "Installing the sample kernel driver with two devices"
qvctl driver install build/mingw/bin/QvSampleDriver.inf --devices 2

step "The devices that are present"
qvctl list

step "The first device's parameters, loaded from the driver"
qvctl reset
qvctl show

step "A value out of range is refused by the library, and nothing is sent"
expect_refusal set SamplingInterval=-5 Gain=20

step "Several values, checked one by one and sent in one request"
qvctl set SamplingInterval=250 Gain=12 OperatingMode=Triggered "Label=Prüfstand 7"

step "Shown again by a new process: the driver has kept them"
qvctl show SamplingInterval Gain OperatingMode Label

step "10,000 packets, as fast as they are read, with a look at every byte"
qvctl set PacketRate=0
qvctl stream --packets 10000 --verify

if [[ -e build/mingw/bin/log4cxx/x64/Release/log4cxx.dll ]]; then
    step "What the tool does, logged through log4cxx"
    rm -f build/mingw/demo.log
    cat >build/mingw/demo.logcfg <<'END'
log4j.rootLogger=ALL, File
log4j.appender.File=org.apache.log4j.FileAppender
log4j.appender.File.File=build/mingw/demo.log
log4j.appender.File.layout=org.apache.log4j.PatternLayout
log4j.appender.File.layout.ConversionPattern=%d{HH:mm:ss,SSS} %-5p %c - %m%n
END
    qvctl set Gain=20 --log-config build/mingw/demo.logcfg --log-level debug
    expect_refusal set Gain=1000 --log-config build/mingw/demo.logcfg
    printf '\n$ tail -n 4 build/mingw/demo.log\n'
    tail -n 4 build/mingw/demo.log
fi

step "Done. Everything is in build/mingw; the tests are run by scripts/test.sh"
