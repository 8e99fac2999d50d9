#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs the unit tests of build/PRESET, built before, at dates and in time zones that programs often
# get wrong. Time goes on from each of these dates.
# Usage: scripts/test-dates.sh [PRESET]      (default: mingw)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

scripts/install-packages.sh --quiet faketime

# The time zones have the form that the C libraries of both systems read. The starts shortly before
# midnight leave time to start Wine. All dates have to be in the future, because faketime also shifts
# the monotonic clock, which must not become negative.
moments=(
    "2036-12-01 10:00:00 UTC0"        # the first of a month
    "2037-03-09 23:59:40 NPT-5:45"    # midnight, from a day with one digit to one with two
    "2037-12-31 23:59:40 IST-5:30"    # New Year
    "2036-02-29 12:00:00 NST3:30NDT"  # the day that only leap years have
    "2038-01-20 12:00:00 LINT-14"     # behind the last second that 32 bits hold
)
# The length of these two tests has nothing to do with the date.
export QVTEST_LOG_ERRORS=2000 QVTEST_FUZZ_BLOCKS=1000

for moment in "${moments[@]}"; do
    read -r date time zone <<<"$moment"
    step "From $date $time on in the time zone $zone"
    TZ=$zone faketime "$date $time" scripts/run-suite.sh "${1:-mingw}" -L unit
done
