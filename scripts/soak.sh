#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The long run: hostile drivers and programs, vanishing devices, logs under load, two processes, and
# every call failing in turn, in rounds for N seconds (1800 unless stated). The first round is the
# largest: devices vanish for a third of the time, and from 900 s on it has 1,000,000 parameter
# blocks and 200,000 requests, with less time proportionally fewer. Ends with one report. When
# something failed the exit code is 1; all output is in build/mingw/soak.
# Usage: scripts/soak.sh [--seconds N] [--seed N]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

seconds=1800
while (($# > 0)); do
    case $1 in
        --seconds) seconds=${2:?"--seconds wants a number"}; shift 2 ;;
        --seed) export QVTEST_SEED=${2:?"--seed wants a number"}; shift 2 ;;
        *) echo "Usage: scripts/soak.sh [--seconds N] [--seed N]" >&2; exit 2 ;;
    esac
done

scripts/build.sh mingw
logs=$PWD/build/mingw/soak
rm -rf "$logs"
mkdir -p "$logs"

start_wine_with_devices "$PWD/build/mingw" 2

# What the parts do is in proportion to the time, up to what a full run is meant to do.
share() { # share AMOUNT SECONDS: AMOUNT, or less when there is less time than SECONDS.
    echo $((seconds >= $2 ? $1 : $1 * seconds / $2 + 1))
}
export QVTEST_FUZZ_BLOCKS QVTEST_REQUESTS QVTEST_VANISH_SECONDS QVTEST_LOG_ERRORS
QVTEST_FUZZ_BLOCKS=$(share 1000000 900)
QVTEST_REQUESTS=$(share 200000 900)
QVTEST_VANISH_SECONDS=$((seconds / 3 + 1))
QVTEST_LOG_ERRORS=$(share 100000 300)

start=$SECONDS
round=0
failures=0

# part NAME: runs the test program, shows how it goes on, and adds its figures to the report.
part() {
    local log=$logs/$1-$round.log code=0 began=$SECONDS
    printf '%5d s  %s ' $((SECONDS - start)) "$1"
    # A part that hangs is ended: nothing takes this long.
    timeout $((seconds + 600)) wine "build/mingw/bin/$1.exe" </dev/null >"$log" 2>&1 || code=$?
    if ((code == 0)); then
        printf 'passed after %d s\n' $((SECONDS - began))
    else
        printf 'FAILED (%d) after %d s: %s\n' "$code" $((SECONDS - began)) "$log"
        failures=$((failures + 1))
    fi
    {
        printf '%s, round %d: %s, %d s\n' "$1" "$round" \
            "$( ((code == 0)) && echo passed || echo "FAILED with $code")" $((SECONDS - began))
        tr -d '\r' <"$log" | grep -aE '^(QVTEST_SEED|crash)|failing calls of|^[0-9]+ [a-z].*,|^the block' |
            sed 's/^/    /' || true
    } >>"$logs/report"
}

step "Running for $seconds s at least, in rounds"
while ((round == 0 || SECONDS - start < seconds)); do
    round=$((round + 1))
    part FailingCallsTest
    part DeviceParameterFuzzTest
    part HostileRequestsTest
    part VanishingDevicesTest
    part ErrorLogLoadTest
    part TwoProcessesTest
    # What is left is filled with shorter rounds.
    QVTEST_VANISH_SECONDS=$(((seconds - (SECONDS - start)) / 3))
    ((QVTEST_VANISH_SECONDS > 10)) || QVTEST_VANISH_SECONDS=10
done

step "Report after $((SECONDS - start)) s"
cat "$logs/report"
if ((failures > 0)); then
    echo "error: $failures parts failed; their output is in $logs" >&2
    exit 1
fi
echo "Everything passed."
