#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The long run: hostile drivers and programs, vanishing devices, logs under load, two processes, and
# every call failing in turn, in rounds for N seconds (1800 unless stated). The first round is the
# largest: devices vanish for a third of the time, and from 1800 s on it has 1,000,000 parameter
# blocks on the guarded heap, from 900 s on as many more and 200,000 requests; with less time
# proportionally fewer. Ends with one report. When something failed the exit code is 1; all output is
# in build/mingw/soak.
# Usage: scripts/soak.sh [--seconds N] [--seed N]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh
source scripts/wine-environment.sh

seconds=1800
seed=$((RANDOM * 32768 + RANDOM))
while (($# > 0)); do
    case $1 in
        --seconds) seconds=${2:?"--seconds wants a number"}; shift 2 ;;
        --seed) seed=${2:?"--seed wants a number"}; shift 2 ;;
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
export QVTEST_SEED QVTEST_FUZZ_BLOCKS QVTEST_REQUESTS QVTEST_VANISH_SECONDS QVTEST_LOG_ERRORS
guarded_blocks=$(share 1000000 1800)
QVTEST_FUZZ_BLOCKS=$(share 1000000 900)
QVTEST_REQUESTS=$(share 200000 900)
# With fewer than in every run, not each kind of request is among them.
((QVTEST_REQUESTS >= 20000)) || QVTEST_REQUESTS=20000
QVTEST_VANISH_SECONDS=$((seconds / 3 + 1))
QVTEST_LOG_ERRORS=$(share 100000 300)

start=$SECONDS
round=0
failures=0

# outcome NAME CODE SECONDS LOG: shows how a part ended, and adds its figures to the report.
outcome() {
    local verdict=passed
    if (($2 == 0)); then
        printf 'passed after %d s\n' "$3"
    else
        verdict="FAILED with $2"
        printf 'FAILED (%d) after %d s: %s\n' "$2" "$3" "$4"
        failures=$((failures + 1))
    fi
    {
        printf '%s, round %d: %s, %d s\n' "$1" "$round" "$verdict" "$3"
        tr -d '\r' <"$4" | grep -aE '^(QVTEST_SEED|crash)|failing calls of|^[0-9]+ [a-z].*,|^the block' |
            sed 's/^/    /' || true
    } >>"$logs/report"
}

# part NAME: runs the test program.
part() {
    local log=$logs/$1-$round.log code=0 began=$SECONDS
    printf '%5d s  %s ' $((SECONDS - start)) "$1"
    # A part that hangs is ended: nothing takes this long.
    timeout $((seconds + 600)) wine "build/mingw/bin/$1.exe" </dev/null >"$log" 2>&1 || code=$?
    outcome "$1" "$code" $((SECONDS - began)) "$log"
}

# The guarded heap never gives an address out twice, so that one process can use so many blocks only.
readonly blocks_of_a_process=40000

# guarded_process LOG FIRST COUNT: uses blocks on the guarded heap, and shows a point for them. The log
# is LOG-FIRST.log.
guarded_process() {
    local code=0 log=$1-$2.log
    # Wine fails to start a program once in some thousand times, without a word.
    for _ in 1 2; do
        code=0
        QVTEST_FUZZ_FIRST=$2 QVTEST_FUZZ_BLOCKS=$3 timeout 1800 \
            wine build/mingw/bin/GuardedDeviceParameterFuzzTest.exe </dev/null >"$log" 2>&1 || code=$?
        [[ -s $log ]] && break
    done
    printf .
    return "$code"
}
export -f guarded_process

# guarded_part COUNT: uses so many blocks, in as many processes at a time as there are processors.
guarded_part() {
    local name=GuardedDeviceParameterFuzzTest code=0 began=$SECONDS first log
    log=$logs/$name-$round.log
    printf '%5d s  %s ' $((SECONDS - start)) "$name"
    for ((first = 0; first < $1; first += blocks_of_a_process)); do
        echo "$first $(($1 - first < blocks_of_a_process ? $1 - first : blocks_of_a_process))"
    done | xargs -P "$(nproc)" -L 1 bash -c 'guarded_process "$@"' guarded_process "${log%.log}" ||
        code=$?
    printf ' '
    # The processes' figures become one, and the seed is the same.
    cat "$logs/$name-$round"-*.log | tr -d '\r' | awk '
        /^QVTEST_SEED/ && seen++ { next }
        /^[0-9]+ blocks, / { blocks += $1; flawless += $3; parameters += $8; next }
        { print }
        END {
            printf "%d blocks, %d of them flawless, with %d parameters\n",
                blocks, flawless, parameters
        }' >"$log"
    outcome "$name" "$code" $((SECONDS - began)) "$log"
}

step "Running for $seconds s at least, in rounds"
while ((round == 0 || SECONDS - start < seconds)); do
    round=$((round + 1))
    QVTEST_SEED=$((seed + round - 1))
    part FailingCallsTest
    part DeviceParameterFuzzTest
    guarded_part "$guarded_blocks"
    part HostileRequestsTest
    part VanishingDevicesTest
    part ErrorLogLoadTest
    part TwoProcessesTest
    # What is left is filled with shorter rounds.
    QVTEST_VANISH_SECONDS=$(((seconds - (SECONDS - start)) / 3))
    ((QVTEST_VANISH_SECONDS > 10)) || QVTEST_VANISH_SECONDS=10
    ((guarded_blocks < blocks_of_a_process)) || guarded_blocks=$blocks_of_a_process
done

step "Report after $((SECONDS - start)) s"
cat "$logs/report"
if ((failures > 0)); then
    echo "error: $failures parts failed; their output is in $logs" >&2
    exit 1
fi
echo "Everything passed."
