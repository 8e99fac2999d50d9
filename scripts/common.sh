# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# To be sourced. What the scripts share.

# step TEXT: tells what comes next.
step() {
    printf '== %s\n' "$*"
}

# run_quietly LOG COMMAND…: runs a command with its output in a file, which is shown if it fails.
run_quietly() {
    local log=$1
    shift
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 60 "$log" >&2
        printf 'error: failed: %s (all of its output: %s)\n' "$*" "$log" >&2
        return 1
    fi
}
