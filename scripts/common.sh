# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# To be sourced. What several scripts use.

# step TEXT: prints what comes next.
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

# describe_run COMMAND: one paragraph of Markdown that says how figures were made.
describe_run() {
    printf 'Made by `%s` at commit %s, %s, with %s and %s, on %d cores (%s).\n\n' "$1" \
        "$(git describe --always --dirty 2>/dev/null || echo unknown)" "$(date +%F)" \
        "$(wine --version 2>/dev/null)" "$(x86_64-w64-mingw32-g++-posix --version | head -n 1)" \
        "$(nproc)" "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)"
}

# list_sources PATHSPEC…: the names of files that git has or would take, each with a NUL behind it.
list_sources() {
    git ls-files -z --cached --others --exclude-standard -- "$@"
}
