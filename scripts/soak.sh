#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The long run: hostile drivers and programs, requests that are cut short, vanishing devices, logs
# under load, two processes, and every call failing in turn, in rounds for N seconds (1800 unless
# stated). The first round is the largest: in 1800 s, devices vanish for 600 s, 1,000,000 parameter
# blocks are used on the guarded heap and as many without it, 200,000 files of parameters are read
# on it, more than 100,000 requests run out of time or are cancelled on it, and the driver gets
# 200,000 requests. A shorter run has fewer of each.
# The last output is a table of the results, which is also in build/reliability.md. All output of
# the tests is in build/mingw/soak. The exit code is 1 when a test failed.
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

scripts/build.sh mingw all QvGuardedTests
logs=$PWD/build/mingw/soak
rm -rf "$logs"
mkdir -p "$logs"

start_wine_with_devices "$PWD/build/mingw" 2

# share AMOUNT SECONDS: AMOUNT, or proportionally less in a run that is shorter than SECONDS.
share() {
    echo $((seconds >= $2 ? $1 : $1 * seconds / $2 + 1))
}
export QVTEST_SEED QVTEST_FUZZ_BLOCKS QVTEST_REQUESTS QVTEST_VANISH_SECONDS QVTEST_LOG_ERRORS
export QVTEST_BOUNDED_REQUESTS QVTEST_PLUG_TIMES QVTEST_FAILURES_OF_A_PLACE=100
guarded_blocks=$(share 1000000 1800)
guarded_profiles=$(share 200000 900)
QVTEST_FUZZ_BLOCKS=$(share 1000000 900)
QVTEST_REQUESTS=$(share 200000 900)
# Fewer requests would not include each kind.
((QVTEST_REQUESTS >= 20000)) || QVTEST_REQUESTS=20000
QVTEST_VANISH_SECONDS=$((seconds / 3 + 1))
QVTEST_LOG_ERRORS=$(share 100000 300)
QVTEST_BOUNDED_REQUESTS=$(share 300000 1800)
# Fewer requests would not end in each way.
((QVTEST_BOUNDED_REQUESTS >= 2000)) || QVTEST_BOUNDED_REQUESTS=2000
QVTEST_PLUG_TIMES=$(share 500 300)

start=$SECONDS
round=0
failures=0

# report NAME CODE SECONDS LOG: shows how a part ended, and adds a row with its figures to the
# report.
report() {
    local result=passed figures
    (($2 == 0)) || result="FAILED with $2"
    printf '%s after %d s\n' "$result" "$3"
    [[ "$result" == passed ]] || failures=$((failures + 1))
    # Some programs have none.
    figures=$(tr -d '\r' <"$4" |
        { grep -aE '^(QVTEST_SEED|crash)|failing calls of|^[0-9]+ [a-z].*,|^the block' || true; } |
        paste -sd ';' | sed 's/;/; /g')
    printf '| %s | %d | %s | %d | %s |\n' "$1" "$round" "$result" "$3" "$figures" >>"$report"
}

# part NAME: runs the test program.
part() {
    local log=$logs/$1-$round.log code=0 began=$SECONDS
    printf '%5d s  %s ' $((SECONDS - start)) "$1"
    # Only a test that hangs takes this long.
    run_test_program "$log" $((seconds + 600)) "build/mingw/bin/$1.exe" || code=$?
    report "$1" "$code" $((SECONDS - began)) "$log"
}

# The guarded heap uses no address twice, so one process can use only so many blocks or files.
readonly blocks_of_a_process=40000

# guarded_process NAME LOG FIRST COUNT: uses so many blocks or files on the guarded heap, from FIRST
# on, and prints a point. The log is LOG-FIRST.log.
guarded_process() {
    local code=0
    QVTEST_FUZZ_FIRST=$3 QVTEST_FUZZ_BLOCKS=$4 QVTEST_FUZZ_PROFILES=$4 \
        run_test_program "$2-$3.log" 1800 "build/mingw/bin/$1.exe" || code=$?
    printf .
    return "$code"
}
export -f guarded_process run_test_program

# guarded_part NAME COUNT: uses so many blocks or files, in as many processes at a time as there are
# processors.
guarded_part() {
    local name=$1 code=0 began=$SECONDS first log
    log=$logs/$name-$round.log
    printf '%5d s  %s ' $((SECONDS - start)) "$name"
    for ((first = 0; first < $2; first += blocks_of_a_process)); do
        echo "$first $(($2 - first < blocks_of_a_process ? $2 - first : blocks_of_a_process))"
    done | xargs -P "$(nproc)" -L 1 bash -c 'guarded_process "$@"' guarded_process "$name" \
        "${log%.log}" ||
        code=$?
    printf ' '
    # Adds up the figures of the processes, which share the seed.
    cat "$logs/$name-$round"-*.log | tr -d '\r' | awk '
        /^QVTEST_SEED/ && seen++ { next }
        /^[0-9]+ blocks, / { blocks += $1; flawless += $3; parameters += $8; next }
        /^[0-9]+ profiles, / { profiles += $1; read += $3; next }
        { print }
        END {
            if (blocks) {
                printf "%d blocks, %d of them flawless, with %d parameters\n",
                    blocks, flawless, parameters
            }
            if (profiles) printf "%d profiles, %d of them read\n", profiles, read
        }' >"$log"
    report "$name" "$code" $((SECONDS - began)) "$log"
}

report=build/reliability.md
{
    describe_run "scripts/soak.sh --seconds $seconds --seed $seed"
    printf '| test program | round | result | seconds | figures |\n|---|---:|---|---:|---|\n'
} >"$report"

step "Running for $seconds s at least, in rounds"
while ((round == 0 || SECONDS - start < seconds)); do
    round=$((round + 1))
    QVTEST_SEED=$((seed + round - 1))
    part FailingCallsTest
    part DeviceParameterFuzzTest
    guarded_part GuardedDeviceParameterFuzzTest "$guarded_blocks"
    guarded_part GuardedProfileFuzzTest "$guarded_profiles"
    part HostileRequestsTest
    part GuardedBoundedRequestsTest
    part VanishingDevicesTest
    part PluggedDevicesLoadTest
    part ErrorLogLoadTest
    part TwoProcessesTest
    # Shorter rounds fill the rest of the time.
    QVTEST_VANISH_SECONDS=$(((seconds - (SECONDS - start)) / 3))
    ((QVTEST_VANISH_SECONDS > 10)) || QVTEST_VANISH_SECONDS=10
    ((guarded_blocks < blocks_of_a_process)) || guarded_blocks=$blocks_of_a_process
    ((guarded_profiles < blocks_of_a_process)) || guarded_profiles=$blocks_of_a_process
done

step "Report after $((SECONDS - start)) s"
cat "$report"
if ((failures > 0)); then
    echo "error: $failures test programs failed; their output is in $logs" >&2
    exit 1
fi
echo "Everything passed."
